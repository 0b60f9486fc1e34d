#pragma once

#include <cstdint>

/// The device objects whose ids the agent itself knows.
namespace deviceObject
{
/// Text: the base OID in dotted form, with a leading period.
inline constexpr std::uint16_t baseOid = 0x80BA;
/// One byte: the number of rows of every table (0: 4 rows, 1: 8 rows, anything else: none).
inline constexpr std::uint16_t tableRows = 0x0A41;

/// The device keeps one object for each of two groups of four ids.
inline constexpr std::uint16_t firstGroupStart = 0x0910;
inline constexpr std::uint16_t firstGroupEnd = 0x0913;
inline constexpr std::uint16_t firstGroupObject = 0x083A;
inline constexpr std::uint16_t secondGroupStart = 0x0914;
inline constexpr std::uint16_t secondGroupEnd = 0x0917;
inline constexpr std::uint16_t secondGroupObject = 0x083B;

/// The id that requests an object on the link.
constexpr std::uint16_t onLink(std::uint16_t objId) noexcept
{
    if (objId >= firstGroupStart && objId <= firstGroupEnd) {
        return firstGroupObject;
    }
    if (objId >= secondGroupStart && objId <= secondGroupEnd) {
        return secondGroupObject;
    }
    return objId;
}
} // namespace deviceObject
