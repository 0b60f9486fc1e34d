#include "ServedObjects.h"

#include "Configuration.h"
#include "InputError.h"
#include "Numbers.h"
#include "ObjectNames.h"
#include "ObjectTypes.h"
#include "PublishedConversions.h"
#include "QuietOutput.h"
#include "ServedAlarms.h"
#include "TextForms.h"
#include "TextNumbers.h"

#include <algorithm>
#include <cctype>
#include <limits>
#include <map>
#include <set>
#include <string_view>
#include <tuple>

namespace
{
constexpr std::uint32_t entryArc = 1;
constexpr std::uint32_t rowNumberColumn = 1;

Oid operator+(Oid oid, const Oid &suffix)
{
    oid.insert(oid.end(), suffix.begin(), suffix.end());
    return oid;
}

class Collector
{
public:
    Collector(const MappingDatabase &database, const ServedOptions &options)
        : _agent(database.agent()), _source(database.source()),
          _baseText(baseText(_source.module, options.base)), _rows(rowsOf(options))
    {
        _served.module = _source.module;
        _served.base = numbersIn(_baseText);
        _served.rows = _rows;
    }

    ServedMapping collect()
    {
        const QuietOutput quiet;
        addScalars();
        addRetired();
        std::vector<SnmpTableInfo> tables;
        _agent.getSnmpTableList(tables);
        tables.resize(std::min(tables.size(), servedTables));
        for (const SnmpTableInfo &table : tables) {
            addTable(table.tableNode);
        }
        std::stable_sort(
            _served.objects.begin(), _served.objects.end(),
            [](const ServedObject &a, const ServedObject &b) { return a.oid < b.oid; });
        objectNames::complete(_served);
        _served.alarms = servedAlarms::of(_served, _source.alarms);
        return std::move(_served);
    }

private:
    [[nodiscard]] std::uint8_t rowsOf(const ServedOptions &options) const
    {
        if (options.rows != 0) {
            return static_cast<std::uint8_t>(options.rows);
        }
        const bool hasMany =
            std::any_of(_source.cells.begin(), _source.cells.end(),
                        [](const CellEntry &cell) { return cell.record.instance > fewRows; });
        return hasMany ? manyRows : fewRows;
    }

    void addScalars()
    {
        std::map<std::uint16_t, const ObjectNotes *> notes;
        for (const ScalarEntry &entry : _source.scalars) {
            notes.emplace(entry.record.objId, &entry.notes);
        }
        std::vector<SnmpObjOid> scalars;
        _agent.getSnmpObjOidList(scalars);
        std::set<Oid> taken;
        for (const SnmpObjOid &scalar : scalars) {
            ServedObject object;
            object.oid = _served.base + Oid{scalar.oidArc1, scalar.oidArc2, scalar.oidArc3};
            object.info = static_cast<const SnmpObjInfo &>(scalar);
            object.notes = *notes.at(scalar.objId);
            object.instances.push_back(
                {.oid = object.oid + Oid{0}, .objId = scalar.objId, .row = 0, .notes = {}});
            object.instances.front().notes = object.notes;
            // A second scalar with the same OID ends the registration: the library gives up.
            if (!taken.insert(object.oid).second) {
                return;
            }
            _served.objects.push_back(std::move(object));
        }
    }

    void addRetired()
    {
        for (const ScalarEntry &entry : _source.retired) {
            const SnmpObjOid &scalar = entry.record;
            ServedObject object;
            object.oid = _served.base + Oid{scalar.oidArc1, scalar.oidArc2, scalar.oidArc3};
            object.info = static_cast<const SnmpObjInfo &>(scalar);
            object.notes = entry.notes;
            _served.retired.push_back(std::move(object));
        }
    }

    void addTable(const std::string &node)
    {
        std::vector<SnmpTableOid> columns;
        _agent.getSnmpTableColumns(node, columns);
        ServedTable table;
        table.oid = numbersIn(_baseText + node);
        if (table.oid.size() + cellSuffixLength > longestOid) {
            return;
        }
        const auto notes = std::find_if(_source.tables.begin(), _source.tables.end(),
                                        [&](const TableNotes &each) { return each.node == node; });
        table.notes = *notes;
        table.lastColumn = static_cast<std::uint32_t>(columns.size()) + rowNumberColumn;
        _served.tables.push_back(table);
        for (std::uint32_t column = rowNumberColumn; column <= table.lastColumn; ++column) {
            addColumn(table, column);
        }
        setLifeOfRowNumber();
    }

    /// The row number of the latest table is there as long as any of its columns.
    void setLifeOfRowNumber()
    {
        ServedObject *rowNumber = nullptr;
        std::vector<LifeNotes> lives;
        for (ServedObject &object : _served.objects) {
            if (object.table != _served.tables.size() - 1) {
                continue;
            }
            if (object.isRowNumber()) {
                rowNumber = &object;
            } else {
                lives.push_back(object.notes.life);
            }
        }
        if (rowNumber == nullptr || lives.empty()) {
            return;
        }
        const auto first =
            std::min_element(lives.begin(), lives.end(),
                             [](const auto &a, const auto &b) { return a.since < b.since; });
        const auto last =
            std::min_element(lives.begin(), lives.end(), [](const auto &a, const auto &b) {
                return std::tie(a.status, b.until) < std::tie(b.status, a.until);
            });
        rowNumber->notes.life = *last;
        rowNumber->notes.life.since = first->since;
    }

    void addColumn(const ServedTable &table, std::uint32_t column)
    {
        ServedObject object;
        object.oid = table.oid + Oid{entryArc, column};
        object.table = _served.tables.size() - 1;
        object.column = column;
        for (std::uint8_t row = 1; row <= _rows; ++row) {
            if (column == rowNumberColumn) {
                object.info.asnType = objectType::integer;
                object.info.access = 1;
                object.instances.push_back(
                    {.oid = object.oid + Oid{row, 0}, .objId = {}, .row = row, .notes = {}});
            } else {
                addCell(table.notes.node, column, row, object);
            }
        }
        if (!object.instances.empty()) {
            _served.objects.push_back(std::move(object));
        }
    }

    void addCell(const std::string &node, std::uint32_t column, std::uint8_t row,
                 ServedObject &object)
    {
        SnmpTableOid cell;
        if (_agent.getSnmpTableOid(node, column, row, cell) != 0) {
            return;
        }
        if (object.instances.empty()) {
            object.info = static_cast<const SnmpObjInfo &>(cell);
            SnmpObjInfo known;
            if (_agent.getSnmpObjInfo(cell.objId, known) == 0) {
                object.info.valueType = known.valueType;
            }
            object.notes = notesOf(node, column, row);
        }
        object.instances.push_back({.oid = object.oid + Oid{row, 0},
                                    .objId = cell.objId,
                                    .row = row,
                                    .notes = notesOf(node, column, row)});
    }

    [[nodiscard]] ObjectNotes notesOf(const std::string &node, std::uint32_t column,
                                      std::uint8_t row)
    {
        if (_cellNotes.empty()) {
            for (const CellEntry &entry : _source.cells) {
                const SnmpTableOid &cell = entry.record;
                _cellNotes.emplace(tableKey(cell.tableNode, cell.instance, cell.column),
                                   &entry.notes);
            }
        }
        return *_cellNotes.at(tableKey(node, row, column));
    }

    SnmpDataBase &_agent;
    MappingSource _source;
    std::string _baseText;
    std::uint8_t _rows;
    std::map<std::string, const ObjectNotes *> _cellNotes;
    ServedMapping _served;
};
} // namespace

Oid numbersIn(const std::string &text)
{
    Oid numbers(text.size());
    const std::int32_t count = parseDottedNumbers(text.c_str(), numbers.data(), numbers.size());
    numbers.resize(static_cast<std::size_t>(std::max(count, 0)));
    return numbers;
}

bool fitsNumbers(std::string_view dotted)
{
    for (std::size_t start = dotted.find_first_not_of('.'); start != std::string_view::npos;
         start = dotted.find_first_not_of('.', std::min(dotted.find('.', start), dotted.size()))) {
        const std::string_view number = dotted.substr(start, dotted.find('.', start) - start);
        if (!numbers::unsignedIn(number, std::numeric_limits<std::uint32_t>::max())) {
            return false;
        }
    }
    return true;
}

std::string baseText(const ModuleNotes &module, const std::string &stated)
{
    std::string text = stated.empty() ? module.base : stated;
    if (text.empty()) {
        text = configuration::defaultBaseOid;
    }
    const bool isDotted = text.starts_with('.') && text.back() != '.' &&
                          text.find("..") == std::string::npos &&
                          text.find_first_not_of(".0123456789") == std::string::npos;
    if (!isDotted || numbersIn(text).size() > longestOid) {
        throw InputError("base " + textForms::quoted(text) +
                         " is not dotted numbers with a leading period");
    }
    if (!fitsNumbers(text)) {
        throw InputError("base " + textForms::quoted(text) +
                         " has a number that does not fit in 32 bits");
    }
    return text;
}

std::string oidText(const Oid &oid)
{
    std::string text;
    for (const std::uint32_t number : oid) {
        text += '.' + std::to_string(number);
    }
    return text;
}

bool ServedObject::isWritable() const noexcept
{
    if (isRowNumber()) {
        return false;
    }
    return table ? info.access == columnReadWrite : (info.access & scalarWriteBit) != 0;
}

bool ServedObject::isLabelledNumber() const noexcept
{
    return !notes.labels.empty() && info.asnType == objectType::integer;
}

bool ServedObject::isCounter() const noexcept
{
    return notes.monitoring.isCounter && info.asnType == objectType::integer && !isLabelledNumber();
}

unsigned ServedObject::decimalPlaces() const
{
    return isLabelledNumber() ? 0 : publishedConversion::decimalPlaces(info);
}

bool ServedObject::isRowLabel() const noexcept
{
    return table && notes.monitoring.isLabel && info.asnType == objectType::octetString;
}

std::string tableStem(const ServedTable &table)
{
    constexpr std::string_view ending = "Table";
    const std::string &name = table.notes.name;
    const bool ends = name.size() > ending.size() && name.ends_with(ending);
    return ends ? name.substr(0, name.size() - ending.size()) : name;
}

std::string metricsName(const ModuleNotes &module)
{
    std::string name = module.name;
    std::transform(name.begin(), name.end(), name.begin(), [](unsigned char each) {
        const bool isPlain = each < 0x80 && std::isalnum(each) != 0;
        return isPlain ? static_cast<char>(std::tolower(each)) : '_';
    });
    return name;
}

ServedMapping servedBy(const MappingDatabase &database, const ServedOptions &options)
{
    return Collector(database, options).collect();
}
