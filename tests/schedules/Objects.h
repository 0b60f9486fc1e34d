#pragma once

#include "DeviceValue.h"

#include <array>
#include <cstdint>
#include <span>

/// The device's objects. Each differs from every other in id, width and value bytes, so that an
/// answer shows whose it is; a value also carries the version at which the device answered.
namespace objects
{
enum Index : std::uint8_t { a, b, c, baseOid, tableRows, count };

struct Object {
    const char *name;
    /// The id that the agent uses, and the one on the link.
    std::uint16_t id;
    std::uint16_t onLink;
    std::uint16_t attribute;
    /// 3 + the number of value bytes.
    std::uint8_t length;
    /// What a manager writes.
    std::uint32_t written;
};

/// The third belongs to a group that is requested under the id of another object.
inline constexpr std::array<Object, count> all{{
    {.name = "A", .id = 0x0101, .onLink = 0x0101, .attribute = 0x0010, .length = 7, .written = 81},
    {.name = "B", .id = 0x0202, .onLink = 0x0202, .attribute = 0x0110, .length = 5, .written = 82},
    {.name = "C", .id = 0x0911, .onLink = 0x083A, .attribute = 0x0200, .length = 8, .written = 0},
    {.name = "base OID",
     .id = 0x80BA,
     .onLink = 0x80BA,
     .attribute = 0x0200,
     .length = 24,
     .written = 0},
    {.name = "rows",
     .id = 0x0A41,
     .onLink = 0x0A41,
     .attribute = 0x0000,
     .length = 4,
     .written = 0},
}};

/// The object with this id on the link; `count` if no object has it.
[[nodiscard]] Index find(std::uint16_t onLink) noexcept;

using ValueBytes = std::array<std::uint8_t, 24>;

/// The value bytes at a version below 4096. The base OID and the number of rows never change.
[[nodiscard]] ValueBytes valueOf(Index object, std::uint32_t version) noexcept;

/// Whether a record holds this object's kind, width, writability and one of its values.
[[nodiscard]] bool holdsOwnValue(Index object, const DeviceValue &value) noexcept;
/// Whether that value is the one of this version.
[[nodiscard]] bool holdsVersion(Index object, const DeviceValue &value,
                                std::uint32_t version) noexcept;
/// The object whose value bytes a record holds, for the story.
[[nodiscard]] const char *nameOfHeld(const DeviceValue &value) noexcept;
} // namespace objects
