#pragma once

#include "DeviceValue.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>

/// The frames of one object read or write, each the payload of one queue message. Building and
/// decoding only: nothing here accesses a queue. Multi-byte fields are in host byte order, which is
/// little-endian on every supported target. Decoding never reads beyond what was received.
namespace deviceFrame
{
static_assert(std::endian::native == std::endian::little);

/// First byte of every frame.
enum class Command : std::uint8_t {
    writeRequest = 1,
    readRequest = 2,
    writeAccepted = 0x11,
    readAnswer = 0x12
};

/// Length bytes of the value widths with a meaning of their own: 3 + the number of value bytes.
inline constexpr std::uint8_t int8Length = 4;
inline constexpr std::uint8_t int16Length = 5;
inline constexpr std::uint8_t int32Length = 7;
inline constexpr std::uint8_t blockLength = 23;

/// Read request: command, length byte 7, object id (2), four zero bytes.
inline constexpr std::size_t readRequestSize = 8;
inline constexpr std::uint8_t readRequestLength = 7;
/// Write request: command, length byte L, object id (2), then L - 3 value bytes.
inline constexpr std::size_t writeHeaderSize = 4;
/// The longest write request: with a length byte of 255 the frame has 256 bytes.
inline constexpr std::size_t longestWriteRequest = 256;
/// Answer to a read: command, length byte L, attribute word (2), object id (2), L - 3 value bytes.
/// Answer to a write: command, length byte, object id (2).
inline constexpr std::size_t answerHeaderSize = 6;

/// Offsets of the fields after the command and the length byte.
inline constexpr std::size_t requestIdOffset = 2;
inline constexpr std::size_t answerAttributeOffset = 2;
inline constexpr std::size_t answerIdOffset = 4;
inline constexpr std::size_t writeAnswerIdOffset = 2;

/// The link uses the host's byte order; a port to a device with another one changes it here.
constexpr std::uint16_t toDevice16(std::uint16_t number) noexcept
{
    return number;
}

constexpr std::uint32_t toDevice32(std::uint32_t number) noexcept
{
    return number;
}

constexpr std::uint16_t fromDevice16(std::uint16_t number) noexcept
{
    return number;
}

constexpr std::uint32_t fromDevice32(std::uint32_t number) noexcept
{
    return number;
}

using ReadRequest = std::array<std::uint8_t, readRequestSize>;
/// A write request uses the first `length byte + 1` bytes; the rest is zero.
using WriteRequest = std::array<std::uint8_t, longestWriteRequest>;

/// The request to read an object, given by its id on the link.
[[nodiscard]] ReadRequest makeReadRequest(std::uint16_t linkId) noexcept;

/// The request to write `value` to an object, given by its id on the link. Copies at most the 64
/// data bytes, and none if `len` is below 3.
[[nodiscard]] WriteRequest makeWriteRequest(std::uint16_t linkId,
                                            const DeviceValue &value) noexcept;

/// Whether the device accepts a write with this length byte.
[[nodiscard]] bool isWritableLength(std::uint8_t length) noexcept;

/// An answer as received. Header bytes that did not arrive are 0; `value` holds the value bytes
/// that did.
struct Answer {
    std::uint8_t command = 0;
    std::uint8_t length = 0;
    std::uint16_t attribute = 0;
    std::uint16_t objId = 0;
    std::span<const std::uint8_t> value;
};

/// Splits a received frame; the result points into it.
[[nodiscard]] Answer decodeAnswer(std::span<const std::uint8_t> frame) noexcept;

/// What distinguishes requests on the link: the direction and the object's id there.
struct RequestName {
    Command command = Command::readRequest;
    std::uint16_t linkId = 0;

    bool operator==(const RequestName &) const = default;
};

/// Whether an answer's direction fits the request. Error answers have no direction, so they may
/// answer any.
[[nodiscard]] bool mayAnswer(std::span<const std::uint8_t> frame,
                             const RequestName &request) noexcept;

/// Whether an answer names a request: by its direction, and by the object id if answers of that
/// direction carry one.
[[nodiscard]] bool names(std::span<const std::uint8_t> frame, const RequestName &request) noexcept;

/// Stores length, attribute word and value of an answer in `out`; `oid` is left alone. False if the
/// value's length does not fit its kind or part of it did not arrive; length and attribute word are
/// stored all the same.
[[nodiscard]] bool storeAnswer(const Answer &answer, DeviceValue &out) noexcept;
} // namespace deviceFrame
