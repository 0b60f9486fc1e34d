#include "Objects.h"

#include <algorithm>
#include <cstring>

namespace
{
constexpr std::uint32_t versionMask = 0xFFF;
constexpr std::uint32_t tagOfA = 0xA5A5A000;
constexpr std::uint16_t tagOfB = 0xB000;
constexpr std::array<std::uint8_t, 21> baseText{'.', '1', '.', '3', '.', '6', '.',
                                                '1', '.', '4', '.', '1', '.', '3',
                                                '2', '4', '7', '3', '.', '8', '0'};

std::uint32_t versionIn(objects::Index object, const DeviceValue &value)
{
    switch (object) {
    case objects::a:
    case objects::b:
        return value.int32() & versionMask;
    case objects::c:
        return static_cast<std::uint32_t>(value.data[1] << 8 | value.data[2]) & versionMask;
    default:
        return 0;
    }
}

std::size_t sizeOf(objects::Index object)
{
    return static_cast<std::size_t>(objects::all[object].length) - lengthOverhead;
}

bool holdsBytes(objects::Index object, const DeviceValue &value)
{
    const auto expected = objects::valueOf(object, versionIn(object, value));
    return std::memcmp(expected.data(), value.data.data(), sizeOf(object)) == 0;
}
} // namespace

objects::Index objects::find(std::uint16_t onLink) noexcept
{
    const auto *const found = std::find_if(
        all.begin(), all.end(), [onLink](const Object &each) { return each.onLink == onLink; });
    return static_cast<Index>(found - all.begin());
}

objects::ValueBytes objects::valueOf(Index object, std::uint32_t version) noexcept
{
    ValueBytes bytes{};
    const std::uint32_t word = tagOfA | version;
    const auto half = static_cast<std::uint16_t>(tagOfB | version);
    switch (object) {
    case a:
        std::memcpy(bytes.data(), &word, sizeof word);
        break;
    case b:
        std::memcpy(bytes.data(), &half, sizeof half);
        break;
    case c:
        // No byte of a text is zero.
        bytes = {'C', static_cast<std::uint8_t>(0x70U | version >> 8),
                 static_cast<std::uint8_t>(version), 'c', 'c'};
        break;
    case baseOid:
        std::copy(baseText.begin(), baseText.end(), bytes.begin());
        break;
    default:
        bytes[0] = 1;
        break;
    }
    return bytes;
}

bool objects::holdsOwnValue(Index object, const DeviceValue &value) noexcept
{
    return value.len == all[object].length && value.attr == all[object].attribute &&
           holdsBytes(object, value);
}

bool objects::holdsVersion(Index object, const DeviceValue &value, std::uint32_t version) noexcept
{
    return versionIn(object, value) == version;
}

const char *objects::nameOfHeld(const DeviceValue &value) noexcept
{
    for (const Index each : {a, b, c, baseOid, tableRows}) {
        if (holdsBytes(each, value)) {
            return all[each].name;
        }
    }
    return "no object";
}
