#pragma once

#include "DeviceValue.h"

#include <cstdint>
#include <span>

/// The conversion code of a mapping record: its kind in bits 0-11, a number of decimal places in
/// bits 12-15.
namespace conversion
{
inline constexpr std::uint16_t kindMask = 0x0FFF;
inline constexpr unsigned scaleShift = 12;

inline constexpr std::uint16_t scaledInteger = 0;
inline constexpr std::uint16_t ipv4Text = 1;
inline constexpr std::uint16_t ipv4TextAlternative = 2;
inline constexpr std::uint16_t dateTimeText = 3;
inline constexpr std::uint16_t decimalText = 4;
inline constexpr std::uint16_t unsigned16 = 11;

constexpr std::uint16_t kindOf(std::uint16_t valueType) noexcept
{
    return valueType & kindMask;
}

constexpr unsigned placesOf(std::uint16_t valueType) noexcept
{
    return static_cast<unsigned>(valueType) >> scaleShift;
}

/// What SNMP managers see of a value: the device's form, or always a number or a text.
enum class Result { asStored, number, text };

/// One kind of conversion: everything that depends on the kind, except how it is published.
struct Conversion {
    std::uint16_t kind;
    /// In mapping sources, without and with a number of places; null: not written that way.
    const char *word;
    const char *wordWithPlaces;
    Result result;
    /// How many places a decimal text shows, whatever the code says; 0: no decimal text.
    unsigned shownPlaces;
    /// Device to SNMP, and back. Null: the value stays as it is. The way back returns false for a
    /// value that it rejects.
    void (*toDisplay)(unsigned places, DeviceValue &value);
    bool (*fromDisplay)(unsigned places, DeviceValue &value);

    [[nodiscard]] bool usesPlaces() const noexcept { return wordWithPlaces != nullptr; }

    /// Whether a manager reads something that it cannot set.
    [[nodiscard]] bool isOneWay() const noexcept
    {
        return result == Result::text && fromDisplay == nullptr;
    }
};

[[nodiscard]] std::span<const Conversion> all() noexcept;

/// The conversion of a code; null for an unknown kind, which leaves values as they are.
[[nodiscard]] const Conversion *find(std::uint16_t valueType) noexcept;
} // namespace conversion

/// Converts values in place between the device's raw form and what SNMP managers see, by the
/// conversion code of the object's mapping record. The value kind in `attr` decides whether the
/// 32-bit integer in `data` is signed. Stateless, prints nothing, throws nothing.
class SnmpObjConvertStrategy
{
public:
    SnmpObjConvertStrategy() = default;
    virtual ~SnmpObjConvertStrategy() = default;
    SnmpObjConvertStrategy(const SnmpObjConvertStrategy &) = delete;
    SnmpObjConvertStrategy &operator=(const SnmpObjConvertStrategy &) = delete;

    /// Device to SNMP. Always 0.
    std::int32_t toDisplay(std::uint16_t valueType, DeviceValue &value) const;

    /// SNMP to device. 0, or -1 with the value unchanged if its text is not a decimal number.
    std::int32_t fromDisplay(std::uint16_t valueType, DeviceValue &value) const;

    /// Data bytes 0 to 3 become "a.b.c.d"; `len` becomes the bare text length.
    static void toIpv4Text(DeviceValue &value);

    /// The agent's local time, "h:m:s M/D/YYYY" without padding; `len` becomes text length + 3.
    /// Follows changes of the machine's time zone and works beyond January 2038.
    static void toDateTimeText(DeviceValue &value);

    /// The integer divided by 10 `scale` times, in single precision, with two places; `len` becomes
    /// the bare text length.
    static void toDecimalText(unsigned scale, DeviceValue &value);

    /// Whether `data` holds a text of digits and periods only. All 64 bytes may be text.
    static bool isDecimalText(const DeviceValue &value);

    /// The decimal text in `data`, parsed in single precision and multiplied by 10 `scale` times,
    /// becomes the integer: truncated toward zero, saturated to 32 bits unsigned.
    static void fromDecimalText(unsigned scale, DeviceValue &value);

    /// Multiplies the integer by 10 `scale` times: truncated toward zero, saturated to 32 bits
    /// unsigned.
    static void scaleUp(unsigned scale, DeviceValue &value);
};
