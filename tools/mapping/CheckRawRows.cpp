#include "CheckedMapping.h"
#include "MappingWords.h"
#include "TextForms.h"
#include "TextNumbers.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace
{
using mappingSchema::Column;
using mappingSchema::Reading;
using Row = std::vector<std::optional<std::string>>;

bool isKnownType(std::uint32_t type)
{
    return type <= 0xFF &&
           !mappingWords::snmpType(static_cast<std::uint16_t>(type)).starts_with("0x");
}

bool isReadable(const RawTable *table)
{
    return table != nullptr &&
           (table->rows.empty() || table->columnNames.size() >= mappingSchema::columnsRead);
}

/// A number as the agent reads it: blanks, a sign and digits of its base. A plus sign has no
/// effect.
struct ReadNumber {
    bool isNumber;
    bool hasSign;
    bool hasRest;
    bool isTooWide;
    std::uint32_t value;
};

ReadNumber readNumber(const std::string &text, const Column &column)
{
    const int base = column.reading == Reading::hexadecimal ? 16 : 10;
    char *end = nullptr;
    errno = 0;
    const std::uint64_t whole = std::strtoull(text.c_str(), &end, base);
    const bool isOutOfRange = errno == ERANGE;
    const std::size_t start = text.find_first_not_of(" \t\n\v\f\r");
    const std::string_view rest = end;
    return {.isNumber = end != text.c_str(),
            .hasSign = start != std::string::npos && text[start] == '-',
            .hasRest = rest.find_first_not_of(" \t\n\v\f\r") != std::string_view::npos,
            .isTooWide = isOutOfRange || (whole >> column.bits) != 0,
            .value = parseUnsigned(text.c_str(), base)};
}

bool isRowNumber(const FindingPlace &place)
{
    return place.table == mappingSchema::cellTable && std::string_view(place.column) == "instance";
}

void checkNumber(const std::optional<std::string> &cell, const Column &column,
                 const FindingPlace &place, Findings &findings)
{
    if (!cell) {
        findings.add("TM201", place, "NULL");
        return;
    }
    const ReadNumber number = readNumber(*cell, column);
    const std::string shown = textForms::quoted(*cell);
    const char *const base = column.reading == Reading::hexadecimal ? "a hexadecimal" : "a decimal";
    if (!number.isNumber) {
        findings.add("TM202", place, shown + " is not " + base + " number");
    } else if (number.hasSign) {
        findings.add("TM205", place, shown + " is negative");
    } else if (number.hasRest) {
        findings.add("TM203", place, shown + " has trailing characters after " + base + " number");
    } else if (number.isTooWide && isRowNumber(place)) {
        findings.add("TM807", place, "row " + shown);
    } else if (number.isTooWide) {
        findings.add("TM204", place,
                     shown + " does not fit in " + std::to_string(column.bits) + " bits");
    }
}

/// Finds a type that is valid only in the base of the other table's column.
void checkTypeBase(const std::optional<std::string> &cell, const Column &column,
                   const FindingPlace &place, Findings &findings)
{
    if (!cell) {
        return;
    }
    const bool isScalar = column.reading == Reading::hexadecimal;
    Column otherWay = column;
    otherWay.reading = isScalar ? Reading::decimal : Reading::hexadecimal;
    const ReadNumber read = readNumber(*cell, column);
    const ReadNumber other = readNumber(*cell, otherWay);
    const bool isMeantOtherwise = other.isNumber && !other.hasRest && isKnownType(other.value);
    const bool isRight = read.isNumber && !read.hasRest && isKnownType(read.value);
    if (isMeantOtherwise && !isRight) {
        findings.add(isScalar ? "TM206" : "TM207", place,
                     "type " + textForms::quoted(*cell) + " would be " +
                         mappingWords::snmpType(static_cast<std::uint16_t>(other.value)) +
                         (isScalar ? " in decimal" : " in hexadecimal"));
    }
}

template <typename Record>
void checkRow(const char *table, const mappingSchema::Columns<Record> &columns, const Row &row,
              std::size_t rowNumber, Findings &findings)
{
    for (std::size_t index = 0; index < columns.size(); ++index) {
        const Column &column = columns[index];
        const FindingPlace place{.table = table, .row = rowNumber, .column = column.name};
        if (column.bits != 0) {
            checkNumber(row[index], column, place, findings);
        }
        if (std::string_view(column.name) == "asnType") {
            checkTypeBase(row[index], column, place, findings);
        }
    }
}

void checkText(const std::optional<std::string> &cell, const FindingPlace &place,
               Findings &findings)
{
    if (!cell) {
        findings.add("TM209", place, "NULL");
        return;
    }
    if (!textForms::isUtf8(*cell)) {
        findings.add("TM210", place, textForms::quoted(*cell));
    }
}

void checkTextsOf(const RawTable *table, const char *name, std::size_t textColumn,
                  Findings &findings)
{
    if (!isReadable(table)) {
        return;
    }
    for (std::size_t row = 0; row < table->rows.size(); ++row) {
        checkText(table->rows[row][textColumn], {.table = name, .row = row + 1, .column = "text"},
                  findings);
    }
}

void checkSchemaOf(const RawTable *table, const char *name, const char *missing, const char *narrow,
                   Findings &findings)
{
    if (table == nullptr) {
        findings.add(missing, {.table = name, .row = 0, .column = {}}, "no such table");
    } else if (!isReadable(table)) {
        findings.add(narrow, {.table = name, .row = 0, .column = {}},
                     std::to_string(table->columnNames.size()) + " columns instead of " +
                         std::to_string(mappingSchema::columnsRead));
    }
}
} // namespace

void checkSchema(const CheckedMapping &mapping, Findings &findings)
{
    const RawTable *const scalars = mapping.database.scalars();
    const RawTable *const cells = mapping.database.cells();
    checkSchemaOf(scalars, mappingSchema::scalarTable, "TM101", "TM103", findings);
    checkSchemaOf(cells, mappingSchema::cellTable, "TM102", "TM104", findings);
    if (scalars != nullptr && scalars->rows.empty() && cells != nullptr && cells->rows.empty()) {
        findings.add("TM105", {}, "no scalars and no cells");
    }
}

void checkNumbers(const CheckedMapping &mapping, Findings &findings)
{
    const RawTable *const scalars = mapping.database.scalars();
    for (std::size_t row = 0; isReadable(scalars) && row < scalars->rows.size(); ++row) {
        checkRow(mappingSchema::scalarTable, mappingSchema::scalarColumns, scalars->rows[row],
                 row + 1, findings);
    }
    const RawTable *const cells = mapping.database.cells();
    for (std::size_t row = 0; isReadable(cells) && row < cells->rows.size(); ++row) {
        checkRow(mappingSchema::cellTable, mappingSchema::cellColumns, cells->rows[row], row + 1,
                 findings);
    }
}

void checkTexts(const CheckedMapping &mapping, Findings &findings)
{
    checkTextsOf(mapping.database.scalars(), mappingSchema::scalarTable,
                 mappingSchema::scalarPosition::text, findings);
    checkTextsOf(mapping.database.cells(), mappingSchema::cellTable,
                 mappingSchema::cellPosition::text, findings);
}
