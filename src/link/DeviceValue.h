#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

/// How to interpret the bytes of a value: bits 8 and 9 of the attribute word.
enum class ValueKind : std::uint16_t {
    unsignedInteger = 0,
    signedInteger = 1,
    string = 2,
    other = 3
};

inline constexpr std::uint16_t valueKindShift = 8;
inline constexpr std::uint16_t valueKindMask = 0x3;
/// Bit 4 of the attribute word: the object is writable.
inline constexpr std::uint16_t writableBit = 0x0010;

/// `len` is this plus the number of value bytes; so are the length bytes of the frames.
inline constexpr std::uint8_t lengthOverhead = 3;

/// The value of one device object on its way between the SNMP handlers and the device link. Packed
/// to 70 bytes and copied as one block. Integers are at the start of `data` in host byte order;
/// text is NUL-terminated unless it fills `data`. A new record is all zero.
struct [[gnu::packed]] DeviceValue {
    /// 3 + the number of value bytes: 4, 5 or 7 for integers of 1, 2 or 4 bytes, 23 for a block.
    std::uint8_t len = 0;
    /// The device object id.
    std::uint16_t oid = 0;
    /// The device's attribute word: value kind and writability.
    std::uint16_t attr = 0;
    std::uint8_t spare = 0;
    std::array<std::uint8_t, 64> data{};

    [[nodiscard]] ValueKind kind() const noexcept;
    [[nodiscard]] bool isWritable() const noexcept;

    /// The first four bytes of `data` as an integer in host byte order.
    [[nodiscard]] std::uint32_t int32() const noexcept;
    void setInt32(std::uint32_t number) noexcept;

    /// The text in `data`: up to its NUL, at most all 64 bytes. Valid while the record is
    /// unchanged.
    [[nodiscard]] std::string_view text() const noexcept;
    /// Clears `data` and copies the first 64 bytes of the text there; `len` is left alone.
    void setText(std::string_view text) noexcept;
};

static_assert(sizeof(DeviceValue) == 70);
static_assert(offsetof(DeviceValue, oid) == 1);
static_assert(offsetof(DeviceValue, attr) == 3);
static_assert(offsetof(DeviceValue, data) == 6);
