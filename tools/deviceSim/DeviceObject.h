#pragma once

#include "DeviceValue.h"
#include "Motion.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// The kind for the user's "unsigned", "signed", "string" or "other".
[[nodiscard]] std::optional<ValueKind> valueKindNamed(std::string_view name);

/// One object of the simulated device: its properties, and its value as the bytes of a frame.
/// Integers have 1, 2 or 4 bytes, little-endian; text and blocks have a fixed width of up to 252
/// bytes, text padded with zeros. The length byte is always 3 + width, which the agent takes as the
/// room for a text that it writes. User input that does not fit throws InputError. A number may
/// change by itself, wrapping at its width, until it is set or written. It may have decimal places,
/// which only the user sees: 482 with one place can be set as "48.2".
class DeviceObject
{
public:
    static constexpr std::size_t widest = 252;

    /// The initial value is all zeros.
    DeviceObject(std::uint16_t id, ValueKind kind, std::size_t width, bool writable,
                 std::string name = {});

    [[nodiscard]] std::uint16_t id() const noexcept { return _id; }

    [[nodiscard]] const std::string &name() const noexcept { return _name; }

    void setPlaces(unsigned places) noexcept { _places = places; }

    [[nodiscard]] ValueKind kind() const noexcept { return _kind; }

    [[nodiscard]] std::uint8_t length() const noexcept;
    [[nodiscard]] std::uint16_t attribute() const noexcept;

    /// The bytes for a frame.
    [[nodiscard]] std::span<const std::uint8_t> value() const noexcept { return _value; }

    /// The value as the user writes it: a decimal number, a text or hexadecimal bytes.
    [[nodiscard]] std::string text() const;
    /// A number with its decimal point; empty for anything without decimal places.
    [[nodiscard]] std::string decimalText() const;
    /// Sets the value as the user writes it, whether or not the object is writable.
    void setText(std::string_view text);

    /// Stores the value bytes of a write request. Returns false and changes nothing if the object
    /// is not writable or the number of bytes differs from its width.
    bool write(std::span<const std::uint8_t> bytes);

    /// From now on the value moves as the text describes. Throws InputError if it is not a number.
    void startMotion(std::string_view text, const MotionOrigin &origin);
    /// Moves the value to that time since the start.
    void moveTo(std::chrono::milliseconds time);

private:
    void setNumber(std::string_view text);
    void putNumber(std::uint64_t number);
    [[nodiscard]] std::int64_t number() const;
    [[nodiscard]] std::string_view characters() const;

    std::uint16_t _id;
    ValueKind _kind;
    bool _writable;
    std::string _name;
    unsigned _places = 0;
    std::vector<std::uint8_t> _value;
    Motion _motion;
};
