#include "DeviceFrame.h"
#include "Measuring.h"
#include "SampleMapping.h"
#include "SnmpDataBase.h"

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <sqlite3.h>

namespace
{
using measuring::measure;
using sampleMapping::firstCell;
using sampleMapping::firstScalar;
using sampleMapping::Size;
using sampleMapping::tableNode;

constexpr const char *shortText = "a short text";
constexpr const char *longText = "a text that a string does not hold in itself";
constexpr int largest = 1000;

/// A loaded mapping in a file of its own.
class Mapping
{
public:
    explicit Mapping(const Size &size) : _size(size)
    {
        sampleMapping::fill(_file, _size);
        _pDatabase = std::make_unique<SnmpDataBase>(_file.path());
    }

    explicit Mapping(const benchmark::State &state, const char *text = shortText)
        : Mapping(Size{.scalars = static_cast<int>(state.range(0)), .text = text})
    {
    }

    [[nodiscard]] SnmpDataBase &database() const { return *_pDatabase; }

    [[nodiscard]] const char *path() const { return _file.path(); }

    [[nodiscard]] std::uint16_t lastScalar() const
    {
        return static_cast<std::uint16_t>(firstScalar + _size.scalars - 1);
    }

    [[nodiscard]] std::uint16_t lastCell() const
    {
        return static_cast<std::uint16_t>(firstCell + sampleMapping::rows * _size.columns - 1);
    }

    [[nodiscard]] std::uint32_t lastColumn() const
    {
        return static_cast<std::uint32_t>(_size.columns) + 1;
    }

private:
    Size _size;
    MappingFile _file;
    std::unique_ptr<SnmpDataBase> _pDatabase;
};

void makeTableKey(benchmark::State &state)
{
    std::string key;
    measure(
        state, [&] { key = tableKey(tableNode, 4, 7); },
        [&] { return key == std::string(tableNode) + "0400000007"; });
}

void findObject(benchmark::State &state, const char *text, bool isCell)
{
    const Mapping mapping(state, text);
    const std::uint16_t id = isCell ? mapping.lastCell() : mapping.lastScalar();
    std::int32_t status = -1;
    SnmpObjInfo info;
    measure(
        state,
        [&] {
            SnmpObjInfo found;
            status = mapping.database().getSnmpObjInfo(id, found);
            info.asnType = found.asnType;
            benchmark::DoNotOptimize(found);
        },
        [&] { return status == 0 && info.asnType == 2; });
}

void findCell(benchmark::State &state, const char *text)
{
    const Mapping mapping(Size{.columns = static_cast<int>(state.range(0)), .text = text});
    const std::string node = tableNode;
    std::int32_t status = -1;
    std::uint16_t objId = 0;
    measure(
        state,
        [&] {
            SnmpTableOid cell;
            status = mapping.database().getSnmpTableOid(node, mapping.lastColumn(),
                                                        sampleMapping::rows, cell);
            objId = cell.objId;
        },
        [&] { return status == 0 && objId == mapping.lastCell(); });
}

void findScalar(benchmark::State &state)
{
    const Mapping mapping(state);
    SnmpObjOid scalar;
    std::int32_t status = -1;
    measure(
        state,
        [&] {
            scalar.objId = mapping.lastScalar();
            status = mapping.database().getSnmpObjOid(scalar);
        },
        [&] { return status == 0 && scalar.oidArc3 == state.range(0); });
}

void listScalars(benchmark::State &state)
{
    const Mapping mapping(state);
    std::size_t count = 0;
    measure(
        state,
        [&] {
            std::vector<SnmpObjOid> list;
            mapping.database().getSnmpObjOidList(list);
            count = list.size();
        },
        [&] { return static_cast<std::int64_t>(count) == state.range(0); });
}

void listColumns(benchmark::State &state)
{
    const Mapping mapping(Size{.columns = static_cast<int>(state.range(0))});
    std::size_t count = 0;
    measure(
        state,
        [&] {
            std::vector<SnmpTableOid> list;
            mapping.database().getSnmpTableColumns(tableNode, list);
            count = list.size();
        },
        [&] { return static_cast<std::int64_t>(count) == state.range(0); });
}

/// SQLite's cost of the rows of both tables: the baseline of `load`.
void readBySqlite(benchmark::State &state)
{
    const Mapping mapping(state);
    int rows = 0;
    measure(
        state,
        [&] {
            sqlite3 *connection = nullptr;
            sqlite3_open(mapping.path(), &connection);
            for (const char *const statement :
                 {"SELECT * FROM SNMP_TABLE_OBJ_TABLE", "SELECT * FROM SNMP_GENERAL_OBJ_TABLE"}) {
                char **cells = nullptr;
                int columns = 0;
                sqlite3_get_table(connection, statement, &cells, &rows, &columns, nullptr);
                sqlite3_free_table(cells);
            }
            sqlite3_close(connection);
        },
        [&] { return rows == state.range(0); });
}

void load(benchmark::State &state)
{
    const Mapping mapping(state);
    measure(
        state, [&] { mapping.database().loadDataBase(mapping.path()); },
        [&] {
            SnmpObjInfo info;
            return mapping.database().getSnmpObjInfo(mapping.lastScalar(), info) == 0;
        });
}

/// A record without strings is copied as one block: the baseline of the others.
void copyValue(benchmark::State &state)
{
    const DeviceValue source{.len = deviceFrame::blockLength};
    DeviceValue copied;
    measure(
        state,
        [&] {
            copied = source;
            benchmark::DoNotOptimize(copied);
        },
        [&] { return copied.len == source.len; });
}

template <class Record>
void copyRecord(benchmark::State &state, const char *text)
{
    Record source;
    source.text = text;
    std::size_t length = 0;
    measure(
        state,
        [&] {
            Record copied(source);
            benchmark::DoNotOptimize(copied);
            length = copied.text.size();
        },
        [&] { return length == std::strlen(text); });
}

void copyObject(benchmark::State &state, const char *text)
{
    copyRecord<SnmpObjInfo>(state, text);
}

void copyCell(benchmark::State &state, const char *text)
{
    copyRecord<SnmpTableOid>(state, text);
}

BENCHMARK(makeTableKey);
BENCHMARK_CAPTURE(findObject, scalarShortText, shortText, false)->Arg(10)->Arg(largest);
BENCHMARK_CAPTURE(findObject, scalarLongText, longText, false)->Arg(largest);
BENCHMARK_CAPTURE(findObject, cellShortText, shortText, true)->Arg(largest);
BENCHMARK_CAPTURE(findCell, shortText, shortText)->Arg(2)->Arg(20);
BENCHMARK_CAPTURE(findCell, longText, longText)->Arg(20);
BENCHMARK(findScalar)->Arg(10)->Arg(largest);
BENCHMARK(listScalars)->Arg(10)->Arg(largest);
BENCHMARK(listColumns)->Arg(2)->Arg(20);
BENCHMARK(readBySqlite)->Arg(10)->Arg(largest);
BENCHMARK(load)->Arg(10)->Arg(largest);
BENCHMARK(copyValue);
BENCHMARK_CAPTURE(copyObject, shortText, shortText);
BENCHMARK_CAPTURE(copyObject, longText, longText);
BENCHMARK_CAPTURE(copyCell, shortText, shortText);
BENCHMARK_CAPTURE(copyCell, longText, longText);
} // namespace
