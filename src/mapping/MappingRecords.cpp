#include "MappingRecords.h"

#include <array>
#include <cstdio>

std::string tableKey(std::string_view tableNode, std::uint8_t instance, std::uint32_t column)
{
    std::array<char, 16> rowAndColumn{};
    std::snprintf(rowAndColumn.data(), rowAndColumn.size(), "%02x%08x", instance, column);
    return std::string(tableNode) + rowAndColumn.data();
}
