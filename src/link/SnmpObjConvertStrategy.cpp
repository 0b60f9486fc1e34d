#include "SnmpObjConvertStrategy.h"

#include "TextNumbers.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>
#include <limits>

static_assert(sizeof(std::time_t) == 8, "the date-time text would end in January 2038");

namespace
{
using TextBuffer = std::array<char, 64>;

template <typename Number>
Number numberIn(const DeviceValue &value)
{
    return value.kind() == ValueKind::signedInteger
               ? static_cast<Number>(static_cast<std::int32_t>(value.int32()))
               : static_cast<Number>(value.int32());
}

void setShownText(DeviceValue &value, const TextBuffer &text, std::uint8_t lengthAdded)
{
    value.setText(text.data());
    value.len = static_cast<std::uint8_t>(value.text().size() + lengthAdded);
}

void setScaledUp(double number, unsigned scale, DeviceValue &value)
{
    for (unsigned place = 0; place < scale; ++place) {
        number *= 10.0;
    }
    constexpr double most = std::numeric_limits<std::uint32_t>::max();
    value.setInt32(static_cast<std::uint32_t>(std::clamp(number, 0.0, most)));
}

void showIpv4(unsigned /*places*/, DeviceValue &value)
{
    SnmpObjConvertStrategy::toIpv4Text(value);
}

void showDateTime(unsigned /*places*/, DeviceValue &value)
{
    SnmpObjConvertStrategy::toDateTimeText(value);
}

void showUnsigned16(unsigned /*places*/, DeviceValue &value)
{
    value.setInt32(static_cast<std::uint16_t>(value.int32()));
}

bool takeScaled(unsigned places, DeviceValue &value)
{
    if (value.kind() != ValueKind::string) {
        SnmpObjConvertStrategy::scaleUp(places, value);
    }
    return true;
}

bool takeDecimal(unsigned places, DeviceValue &value)
{
    if (!SnmpObjConvertStrategy::isDecimalText(value)) {
        return false;
    }
    SnmpObjConvertStrategy::fromDecimalText(places, value);
    return true;
}

using conversion::Conversion;
using conversion::Result;

constexpr std::array conversions{
    Conversion{conversion::scaledInteger, "raw", "scaled", Result::asStored, 0, nullptr,
               takeScaled},
    Conversion{conversion::ipv4Text, "ipv4", nullptr, Result::text, 0, showIpv4, nullptr},
    Conversion{conversion::ipv4TextAlternative, "ipv4Alternative", nullptr, Result::text, 0,
               showIpv4, nullptr},
    Conversion{conversion::dateTimeText, "dateTime", nullptr, Result::text, 0, showDateTime,
               nullptr},
    Conversion{conversion::decimalText, nullptr, "decimal", Result::text, 2,
               SnmpObjConvertStrategy::toDecimalText, takeDecimal},
    Conversion{conversion::unsigned16, "uint16", nullptr, Result::number, 0, showUnsigned16,
               nullptr},
};
} // namespace

std::span<const conversion::Conversion> conversion::all() noexcept
{
    return conversions;
}

const conversion::Conversion *conversion::find(std::uint16_t valueType) noexcept
{
    const auto *const found = std::find_if(
        conversions.begin(), conversions.end(),
        [kind = kindOf(valueType)](const Conversion &each) { return each.kind == kind; });
    return found == conversions.end() ? nullptr : found;
}

std::int32_t SnmpObjConvertStrategy::toDisplay(std::uint16_t valueType, DeviceValue &value) const
{
    const conversion::Conversion *const found = conversion::find(valueType);
    if (found != nullptr && found->toDisplay != nullptr) {
        found->toDisplay(conversion::placesOf(valueType), value);
    }
    return 0;
}

std::int32_t SnmpObjConvertStrategy::fromDisplay(std::uint16_t valueType, DeviceValue &value) const
{
    const conversion::Conversion *const found = conversion::find(valueType);
    const bool isTaken = found == nullptr || found->fromDisplay == nullptr ||
                         found->fromDisplay(conversion::placesOf(valueType), value);
    return isTaken ? 0 : -1;
}

void SnmpObjConvertStrategy::toIpv4Text(DeviceValue &value)
{
    TextBuffer text{};
    std::snprintf(text.data(), text.size(), "%d.%d.%d.%d", value.data[0], value.data[1],
                  value.data[2], value.data[3]);
    setShownText(value, text, 0);
}

void SnmpObjConvertStrategy::toDateTimeText(DeviceValue &value)
{
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    // localtime_r() alone keeps using the time zone that it found first.
    tzset();
    localtime_r(&now, &local);
    TextBuffer text{};
    std::snprintf(text.data(), text.size(), "%d:%d:%d %d/%d/%d", local.tm_hour, local.tm_min,
                  local.tm_sec, local.tm_mon + 1, local.tm_mday, local.tm_year + 1900);
    setShownText(value, text, lengthOverhead);
}

void SnmpObjConvertStrategy::toDecimalText(unsigned scale, DeviceValue &value)
{
    auto shown = numberIn<float>(value);
    for (unsigned place = 0; place < scale; ++place) {
        shown /= 10.0F;
    }
    TextBuffer text{};
    std::snprintf(text.data(), text.size(), "%.2f", static_cast<double>(shown));
    setShownText(value, text, 0);
}

bool SnmpObjConvertStrategy::isDecimalText(const DeviceValue &value)
{
    const std::string_view text = value.text();
    return !text.empty() && text.find_first_not_of("0123456789.") == std::string_view::npos;
}

void SnmpObjConvertStrategy::fromDecimalText(unsigned scale, DeviceValue &value)
{
    std::array<char, sizeof value.data + 1> text{};
    std::copy(value.data.begin(), value.data.end(), text.begin());
    setScaledUp(static_cast<double>(parseDecimal(text.data())), scale, value);
}

void SnmpObjConvertStrategy::scaleUp(unsigned scale, DeviceValue &value)
{
    setScaledUp(numberIn<double>(value), scale, value);
}
