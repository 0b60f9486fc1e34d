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

std::uint16_t kindOf(std::uint16_t valueType)
{
    return valueType & conversion::kindMask;
}

unsigned scaleOf(std::uint16_t valueType)
{
    return static_cast<unsigned>(valueType) >> conversion::scaleShift;
}

template <typename Number>
Number numberIn(const DeviceValue &value)
{
    return value.kind() == ValueKind::signedInteger
               ? static_cast<Number>(static_cast<std::int32_t>(value.word()))
               : static_cast<Number>(value.word());
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
    value.setWord(static_cast<std::uint32_t>(std::clamp(number, 0.0, most)));
}
} // namespace

std::int32_t SnmpObjConvertStrategy::toDisplay(std::uint16_t valueType, DeviceValue &value) const
{
    switch (kindOf(valueType)) {
    case conversion::ipv4Text:
    case conversion::ipv4TextAlternative:
        toIpv4Text(value);
        break;
    case conversion::dateTimeText:
        toDateTimeText(value);
        break;
    case conversion::decimalText:
        toDecimalText(scaleOf(valueType), value);
        break;
    case conversion::unsigned16:
        value.setWord(static_cast<std::uint16_t>(value.word()));
        break;
    default:
        break;
    }
    return 0;
}

std::int32_t SnmpObjConvertStrategy::fromDisplay(std::uint16_t valueType, DeviceValue &value) const
{
    switch (kindOf(valueType)) {
    case conversion::scaledInteger:
        if (value.kind() != ValueKind::string) {
            scaleUp(scaleOf(valueType), value);
        }
        return 0;
    case conversion::decimalText:
        if (!isDecimalText(value)) {
            return -1;
        }
        fromDecimalText(scaleOf(valueType), value);
        return 0;
    default:
        return 0;
    }
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
    // localtime_r() alone keeps to the time zone that it found the first time.
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
