#include "DeviceFrame.h"

#include <algorithm>
#include <cstring>

namespace
{
std::uint8_t byteAt(std::span<const std::uint8_t> frame, std::size_t offset) noexcept
{
    return offset < frame.size() ? frame[offset] : std::uint8_t{0};
}

std::uint16_t numberAt(std::span<const std::uint8_t> frame, std::size_t offset) noexcept
{
    const std::array<std::uint8_t, 2> bytes{byteAt(frame, offset), byteAt(frame, offset + 1)};
    return deviceFrame::fromDevice16(std::bit_cast<std::uint16_t>(bytes));
}

template <std::size_t Size>
void putRequestHeader(std::array<std::uint8_t, Size> &frame, deviceFrame::Command command,
                      std::uint8_t length, std::uint16_t linkId) noexcept
{
    const std::uint16_t wireId = deviceFrame::toDevice16(linkId);
    frame[0] = static_cast<std::uint8_t>(command);
    frame[1] = length;
    std::memcpy(&frame[deviceFrame::requestIdOffset], &wireId, sizeof wireId);
}

// Integers go through the byte-order hooks; other values are bytes.
template <typename Number>
void copyNumber(std::uint8_t *to, const std::uint8_t *from,
                Number (*inOrder)(Number) noexcept) noexcept
{
    Number number = 0;
    std::memcpy(&number, from, sizeof number);
    number = inOrder(number);
    std::memcpy(to, &number, sizeof number);
}

std::size_t valueBytes(std::uint8_t length) noexcept
{
    return length < lengthOverhead ? 0U : static_cast<std::size_t>(length - lengthOverhead);
}

bool isIntegerLength(std::uint8_t length) noexcept
{
    return length == deviceFrame::int8Length || length == deviceFrame::int16Length ||
           length == deviceFrame::int32Length;
}
} // namespace

deviceFrame::ReadRequest deviceFrame::makeReadRequest(std::uint16_t linkId) noexcept
{
    ReadRequest frame{};
    putRequestHeader(frame, Command::readRequest, readRequestLength, linkId);
    return frame;
}

deviceFrame::WriteRequest deviceFrame::makeWriteRequest(std::uint16_t linkId,
                                                        const DeviceValue &value) noexcept
{
    WriteRequest frame{};
    putRequestHeader(frame, Command::writeRequest, value.len, linkId);
    std::uint8_t *const to = &frame[writeHeaderSize];
    switch (value.len) {
    case int16Length:
        copyNumber(to, value.data.data(), toDevice16);
        break;
    case int32Length:
        copyNumber(to, value.data.data(), toDevice32);
        break;
    default:
        std::memcpy(to, value.data.data(), std::min(valueBytes(value.len), value.data.size()));
        break;
    }
    return frame;
}

bool deviceFrame::isWritableLength(std::uint8_t length) noexcept
{
    return isIntegerLength(length) || length == blockLength;
}

deviceFrame::Answer deviceFrame::decodeAnswer(std::span<const std::uint8_t> frame) noexcept
{
    return {.command = byteAt(frame, 0),
            .length = byteAt(frame, 1),
            .attribute = numberAt(frame, answerAttributeOffset),
            .objId = numberAt(frame, answerIdOffset),
            .value = frame.subspan(std::min(frame.size(), answerHeaderSize))};
}

bool deviceFrame::mayAnswer(std::span<const std::uint8_t> frame,
                            const RequestName &request) noexcept
{
    const bool isRead = request.command == Command::readRequest;
    const Command otherDirection = isRead ? Command::writeAccepted : Command::readAnswer;
    return byteAt(frame, 0) != static_cast<std::uint8_t>(otherDirection);
}

bool deviceFrame::names(std::span<const std::uint8_t> frame, const RequestName &request) noexcept
{
    const std::size_t offset =
        request.command == Command::readRequest ? answerIdOffset : writeAnswerIdOffset;
    return mayAnswer(frame, request) && frame.size() >= offset + sizeof request.linkId &&
           numberAt(frame, offset) == request.linkId;
}

bool deviceFrame::storeAnswer(const Answer &answer, DeviceValue &out) noexcept
{
    out.len = answer.length;
    out.attr = answer.attribute;
    const bool isText = out.kind() == ValueKind::string;
    const bool known = isText ? answer.length >= lengthOverhead : isIntegerLength(answer.length);
    if (!known || answer.value.size() < valueBytes(answer.length)) {
        return false;
    }
    if (isText) {
        out.data.fill(0);
        std::memcpy(out.data.data(), answer.value.data(),
                    std::min(valueBytes(answer.length), out.data.size()));
    } else if (answer.length == int8Length) {
        out.data[0] = answer.value[0];
    } else if (answer.length == int16Length) {
        copyNumber(out.data.data(), answer.value.data(), fromDevice16);
    } else {
        copyNumber(out.data.data(), answer.value.data(), fromDevice32);
    }
    return true;
}
