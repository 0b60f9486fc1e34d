#include "VerifyFrames.h"

#include "DeviceFrame.h"
#include "Exchange.h"
#include "Numbers.h"

#include <algorithm>

namespace
{
using deviceFrame::Answer;
using deviceFrame::Command;

constexpr std::size_t shownBytes = 16;
/// The answer to a write: command, length byte and id.
constexpr std::size_t writeAnswerSize =
    deviceFrame::writeAnswerIdOffset + sizeof(deviceFrame::RequestName::linkId);

std::string bytes(std::size_t count)
{
    return std::to_string(count) + (count == 1 ? " byte" : " bytes");
}

std::string shown(std::span<const std::uint8_t> frame)
{
    return "the answer is " + verifyFrames::hexadecimal(frame);
}

bool isNumber(const Answer &answer)
{
    DeviceValue value;
    value.attr = answer.attribute;
    return value.kind() == ValueKind::unsignedInteger || value.kind() == ValueKind::signedInteger;
}

std::optional<FrameFault> faultOfSize(const Answer &answer, std::size_t width)
{
    const std::size_t there = answer.value.size();
    const std::size_t said =
        answer.length < lengthOverhead ? 0U : answer.length - std::size_t{lengthOverhead};
    const std::string both = "the length byte " + std::to_string(answer.length) + " stands for " +
                             bytes(said) + ", and the value has " + bytes(there);
    const bool isOfRightWidth = width != 0 && there == width && there != said;
    if (answer.length < lengthOverhead || there < said || isOfRightWidth) {
        return FrameFault{"TV204", both};
    }
    if (there > said) {
        return FrameFault{"TV206", both};
    }
    if (isNumber(answer) && said != 1 && said != 2 && said != 4) {
        return FrameFault{"TV204", "a number has " + bytes(said)};
    }
    return std::nullopt;
}
} // namespace

std::optional<FrameFault> verifyFrames::faultOfRead(std::span<const std::uint8_t> frame,
                                                    std::uint16_t linkId, std::size_t width)
{
    if (frame.size() > Exchange::answerCapacity) {
        return FrameFault{"TV207", "the answer has " + bytes(frame.size())};
    }
    const Answer answer = deviceFrame::decodeAnswer(frame);
    const bool isOwn = deviceFrame::names(frame, {Command::readRequest, linkId});
    const bool isRead = answer.command == static_cast<std::uint8_t>(Command::readAnswer);
    if (isRead && frame.size() < deviceFrame::answerHeaderSize) {
        return FrameFault{"TV205", "the answer has " + bytes(frame.size()) + " of its header's " +
                                       std::to_string(deviceFrame::answerHeaderSize)};
    }
    if (!isRead && isOwn && frame.size() == deviceFrame::answerHeaderSize) {
        return FrameFault{"TV202", shown(frame)};
    }
    if (!isRead) {
        return FrameFault{frame.empty() ? "TV205" : "TV212", shown(frame)};
    }
    if (!isOwn) {
        return FrameFault{"TV203", "the answer is for " + numbers::objectIdText(answer.objId)};
    }
    return faultOfSize(answer, width);
}

std::optional<FrameFault> verifyFrames::faultOfWrite(std::span<const std::uint8_t> frame,
                                                     std::span<const std::uint8_t> request)
{
    if (frame.size() > request.size()) {
        return FrameFault{"TV605", "the answer has " + bytes(frame.size()) + ", its request " +
                                       std::to_string(request.size())};
    }
    const bool isAccepted =
        !frame.empty() && frame.front() == static_cast<std::uint8_t>(Command::writeAccepted);
    if (!frame.empty() && !isAccepted) {
        return FrameFault{"TV602", shown(frame)};
    }
    const bool isRight = frame.size() == writeAnswerSize &&
                         std::equal(frame.begin() + 1, frame.end(), request.begin() + 1);
    return isRight ? std::nullopt : std::optional(FrameFault{"TV604", shown(frame)});
}

std::string verifyFrames::hexadecimal(std::span<const std::uint8_t> frame)
{
    std::string text;
    for (const std::uint8_t byte : frame.first(std::min(frame.size(), shownBytes))) {
        text += (text.empty() ? "" : " ") + numbers::hexadecimal(byte, 2).substr(2);
    }
    if (text.empty()) {
        return "empty";
    }
    return frame.size() > shownBytes ? text + " ..." : text;
}
