#include "SampleMapping.h"

#include "DeviceObjects.h"
#include "support/ScriptedDevice.h"

#include <string>

namespace
{
constexpr std::uint8_t fourRows = 0;

/// The numbers 0, 1, … as a table `n(i)` for the statement that follows.
std::string numbers(int count)
{
    return " WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i < " +
           std::to_string(count - 1) + ") ";
}

Frame integerAnswer(std::uint16_t id)
{
    return ScriptedDevice::readAnswer(id, writableBit, {sampleMapping::value, 0, 0, 0});
}
} // namespace

void sampleMapping::fill(const MappingFile &file, const Size &size)
{
    const std::string text = std::string("'") + size.text + "'";
    file.run("INSERT INTO SNMP_GENERAL_OBJ_TABLE" + numbers(size.scalars) +
             "SELECT printf('%04x', " + std::to_string(firstScalar) + " + i), 0, 0, '2', '3', " +
             std::to_string(scalarNode1) + ", " + std::to_string(scalarNode2) +
             ", i + 1, 0, '5', '0', " + text + ", '0' FROM n");
    // Row by row: cell i is in column 2 + i % columns.
    const std::string columns = std::to_string(size.columns);
    file.run("INSERT INTO SNMP_TABLE_OBJ_TABLE" + numbers(rows * size.columns) +
             "SELECT printf('%04x', " + std::to_string(firstCell) + " + i), 0, 2 + i % " + columns +
             ", 2, 3, '" + tableNode + "', '5', '0', " + text + ", 1 + i / " + columns +
             ", 0, '0', '0' FROM n");
}

std::map<std::uint16_t, Frame> sampleMapping::answers(const Size &size)
{
    std::map<std::uint16_t, Frame> answers;
    answers[deviceObject::tableRows] =
        ScriptedDevice::readAnswer(deviceObject::tableRows, 0, {fourRows});
    for (int scalar = 0; scalar < size.scalars; ++scalar) {
        const auto id = static_cast<std::uint16_t>(firstScalar + scalar);
        answers[id] = integerAnswer(id);
    }
    for (int cell = 0; cell < rows * size.columns; ++cell) {
        const auto id = static_cast<std::uint16_t>(firstCell + cell);
        answers[id] = integerAnswer(id);
    }
    return answers;
}
