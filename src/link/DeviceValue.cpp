#include "DeviceValue.h"

#include <algorithm>
#include <cstring>

ValueKind DeviceValue::kind() const noexcept
{
    return static_cast<ValueKind>((attr >> valueKindShift) & valueKindMask);
}

bool DeviceValue::isWritable() const noexcept
{
    return (attr & writableBit) != 0;
}

std::uint32_t DeviceValue::int32() const noexcept
{
    std::uint32_t number = 0;
    std::memcpy(&number, data.data(), sizeof number);
    return number;
}

void DeviceValue::setInt32(std::uint32_t number) noexcept
{
    std::memcpy(data.data(), &number, sizeof number);
}

std::string_view DeviceValue::text() const noexcept
{
    const auto *const end = std::find(data.begin(), data.end(), std::uint8_t{0});
    return {reinterpret_cast<const char *>(data.data()),
            static_cast<std::size_t>(end - data.begin())};
}

void DeviceValue::setText(std::string_view text) noexcept
{
    data.fill(0);
    text.copy(reinterpret_cast<char *>(data.data()), data.size());
}
