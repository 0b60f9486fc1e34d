#include "DeviceObject.h"

#include "InputError.h"
#include "Numbers.h"
#include "Parsing.h"
#include "ValueKindNames.h"

#include <algorithm>
#include <utility>

namespace
{
bool isInteger(ValueKind kind)
{
    return kind == ValueKind::unsignedInteger || kind == ValueKind::signedInteger;
}

std::size_t checkedWidth(ValueKind kind, std::size_t width)
{
    if (isInteger(kind) && width != 1 && width != 2 && width != 4) {
        throw InputError("width " + std::to_string(width) + " of a number is not 1, 2 or 4");
    }
    if (width > DeviceObject::widest) {
        throw InputError("width " + std::to_string(width) + " exceeds " +
                         std::to_string(DeviceObject::widest));
    }
    return width;
}

/// The digits of a decimal number: "4820" for "48.2" with two places. Any other text, and one with
/// more places, stays as it is.
std::string digitsOf(std::string_view text, unsigned places)
{
    std::string digits(text);
    const std::size_t point = text.find('.');
    const std::size_t given = text.size() - point - 1;
    if (point == std::string_view::npos || given == 0 || given > places ||
        text.find_first_not_of("-0123456789.") != std::string_view::npos) {
        return digits;
    }
    return digits.erase(point, 1).append(places - given, '0');
}
} // namespace

std::optional<ValueKind> valueKindNamed(std::string_view name)
{
    const auto *const found = std::find(valueKindNames.begin(), valueKindNames.end(), name);
    return found == valueKindNames.end()
               ? std::nullopt
               : std::optional(static_cast<ValueKind>(found - valueKindNames.begin()));
}

DeviceObject::DeviceObject(std::uint16_t id, ValueKind kind, std::size_t width, bool writable,
                           std::string name)
    : _id(id), _kind(kind), _writable(writable), _name(std::move(name)),
      _value(checkedWidth(kind, width))
{
}

std::uint8_t DeviceObject::length() const noexcept
{
    return static_cast<std::uint8_t>(lengthOverhead + _value.size());
}

std::uint16_t DeviceObject::attribute() const noexcept
{
    const auto kindBits = static_cast<unsigned>(_kind) << valueKindShift;
    return static_cast<std::uint16_t>(kindBits | (_writable ? writableBit : 0U));
}

std::string DeviceObject::text() const
{
    switch (_kind) {
    case ValueKind::string:
        return std::string(characters());
    case ValueKind::other:
        return parsing::hexText(_value);
    case ValueKind::unsignedInteger:
    case ValueKind::signedInteger:
        break;
    }
    return std::to_string(number());
}

std::string DeviceObject::decimalText() const
{
    return isInteger(_kind) && _places > 0 ? numbers::decimalText(number(), _places)
                                           : std::string();
}

void DeviceObject::setText(std::string_view text)
{
    if (isInteger(_kind)) {
        setNumber(text);
        _motion = nullptr;
        return;
    }
    std::vector<std::uint8_t> bytes = _kind == ValueKind::string
                                          ? std::vector<std::uint8_t>(text.begin(), text.end())
                                          : parsing::hexBytes(text);
    if (bytes.size() > _value.size()) {
        throw InputError("value of " + std::to_string(bytes.size()) +
                         " bytes exceeds the width of " + std::to_string(_value.size()));
    }
    bytes.resize(_value.size());
    _value = std::move(bytes);
}

bool DeviceObject::write(std::span<const std::uint8_t> bytes)
{
    if (!_writable || bytes.size() != _value.size()) {
        return false;
    }
    _value.assign(bytes.begin(), bytes.end());
    _motion = nullptr;
    if (_kind == ValueKind::string) {
        // Bytes after the end of the text are not part of it.
        std::fill(std::find(_value.begin(), _value.end(), std::uint8_t{0}), _value.end(),
                  std::uint8_t{0});
    }
    return true;
}

void DeviceObject::startMotion(std::string_view text, const MotionOrigin &origin)
{
    if (!isInteger(_kind)) {
        throw InputError("only numbers can have a motion");
    }
    _motion = motion::parse(text, {.value = number(),
                                   .seed = origin.seed * 0x10000U + _id + 1U,
                                   .directory = origin.directory});
}

void DeviceObject::moveTo(std::chrono::milliseconds time)
{
    if (_motion) {
        putNumber(static_cast<std::uint64_t>(_motion(time)));
    }
}

void DeviceObject::setNumber(std::string_view text)
{
    const std::size_t bits = 8 * _value.size();
    const std::int64_t values = std::int64_t{1} << bits;
    const bool isSigned = _kind == ValueKind::signedInteger;
    const std::int64_t smallest = isSigned ? -values / 2 : 0;
    const std::int64_t largest = (isSigned ? values / 2 : values) - 1;
    putNumber(static_cast<std::uint64_t>(
        numbers::within(digitsOf(text, _places), smallest, largest, "value")));
}

void DeviceObject::putNumber(std::uint64_t number)
{
    for (std::size_t index = 0; index < _value.size(); ++index) {
        _value[index] = static_cast<std::uint8_t>(number >> (8 * index));
    }
}

std::int64_t DeviceObject::number() const
{
    std::int64_t number = 0;
    for (std::size_t index = 0; index < _value.size(); ++index) {
        number |= std::int64_t{_value[index]} << (8 * index);
    }
    const bool isNegative = _kind == ValueKind::signedInteger && (_value.back() & 0x80U) != 0;
    return isNegative ? number - (std::int64_t{1} << (8 * _value.size())) : number;
}

std::string_view DeviceObject::characters() const
{
    const auto end = std::find(_value.begin(), _value.end(), std::uint8_t{0});
    return {reinterpret_cast<const char *>(_value.data()),
            static_cast<std::size_t>(end - _value.begin())};
}
