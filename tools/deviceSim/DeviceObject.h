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

/// The kind that a user calls "unsigned", "signed", "string" or "other".
[[nodiscard]] std::optional<ValueKind> valueKindNamed(std::string_view name);

/// One object of the simulated device: what it is, and its value as the bytes that go into a frame.
/// Integers are 1, 2 or 4 bytes, little-endian; texts and blocks have a fixed width of up to 252
/// bytes, texts padded with zeros. Its length byte is always 3 + width: the agent takes it as the
/// room that a text to be written has. Texts of the user that do not fit throw InputError.
/// A number may move by itself, until something else gives it a value: it wraps at its width.
class DeviceObject
{
public:
    static constexpr std::size_t widest = 252;

    /// The value starts as all zero.
    DeviceObject(std::uint16_t id, ValueKind kind, std::size_t width, bool writable,
                 std::string name = {});

    [[nodiscard]] std::uint16_t id() const noexcept { return _id; }

    [[nodiscard]] const std::string &name() const noexcept { return _name; }

    [[nodiscard]] ValueKind kind() const noexcept { return _kind; }

    [[nodiscard]] std::uint8_t length() const noexcept;
    [[nodiscard]] std::uint16_t attribute() const noexcept;

    /// The one place from which a frame takes the value.
    [[nodiscard]] std::span<const std::uint8_t> value() const noexcept { return _value; }

    /// The value as the user writes it: a decimal number, a text, or hexadecimal bytes.
    [[nodiscard]] std::string text() const;
    /// Takes a value as the user writes it, whether or not the object is writable.
    void setText(std::string_view text);

    /// Takes the value bytes of a write request. False, and nothing changed, when the object is not
    /// writable or the number of bytes is not its width.
    bool write(std::span<const std::uint8_t> bytes);

    /// From now on the value moves, as the text says. InputError when it is no number.
    void startMotion(std::string_view text, const MotionOrigin &origin);
    /// Takes the value that a moving object has at that time since the start.
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
    std::vector<std::uint8_t> _value;
    Motion _motion;
};
