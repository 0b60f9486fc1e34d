#include "FrameLog.h"

#include "DeviceFrame.h"
#include "Numbers.h"
#include "Parsing.h"
#include "TextForms.h"

#include <array>
#include <cstdio>
#include <ctime>

namespace
{
using Frame = std::span<const std::uint8_t>;

std::string now()
{
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    std::array<char, 48> text{};
    std::snprintf(text.data(), text.size(), "%lld.%06ld", static_cast<long long>(time.tv_sec),
                  time.tv_nsec / 1000);
    return text.data();
}

std::string valueText(Frame value)
{
    return value.empty() ? std::string() : " value=" + parsing::hexText(value);
}

std::string shown(std::string_view text)
{
    return '"' + textForms::oneLine(text, textForms::HexDigits::lowerCase) + '"';
}

std::string headerText(std::uint8_t command, std::uint8_t length)
{
    return " command=" + numbers::hexadecimal(command, 2) + " length=" + std::to_string(length);
}

std::string requestText(const Exchange &exchange, const SimulatedDevice &device)
{
    if (exchange.request == RequestKind::malformed) {
        return "malformed";
    }
    const bool isRead = exchange.request == RequestKind::read;
    std::string text = isRead ? "read" : "write";
    text += " id=" + numbers::objectIdText(exchange.id);
    const auto object = device.objects.find(exchange.id);
    if (object == device.objects.end()) {
        text += " unknown";
    } else if (!object->second.name().empty()) {
        text += " name=" + shown(object->second.name());
    }
    if (!isRead) {
        const Frame frame(exchange.frame);
        text += " length=" + std::to_string(frame[1]) +
                valueText(frame.subspan(deviceFrame::writeHeaderSize));
    }
    return text;
}

std::string readAnswerText(const deviceFrame::Answer &answer)
{
    const std::string text = "read" + headerText(answer.command, answer.length) +
                             " attribute=" + numbers::hexadecimal(answer.attribute, 4) +
                             " id=" + numbers::objectIdText(answer.objId);
    const auto kind = (answer.attribute >> valueKindShift) & valueKindMask;
    if (static_cast<ValueKind>(kind) != ValueKind::string) {
        return text + valueText(answer.value);
    }
    const std::string_view characters(reinterpret_cast<const char *>(answer.value.data()),
                                      answer.value.size());
    return text + " text=" + shown(characters.substr(0, characters.find('\0')));
}

/// A frame that is too short is not decoded.
std::string writeAnswerText(Frame frame)
{
    if (frame.size() < deviceFrame::writeHeaderSize) {
        return "write";
    }
    const auto id = static_cast<std::uint16_t>(frame[2] | (frame[3] << 8U));
    return "write" + headerText(frame[0], frame[1]) + " id=" + numbers::objectIdText(id);
}
} // namespace

void FrameLog::request(const Exchange &exchange, const SimulatedDevice &device)
{
    if (_stream != nullptr) {
        line("request " + requestText(exchange, device), exchange.frame);
    }
}

void FrameLog::answer(RequestKind request, Frame frame)
{
    if (_stream != nullptr) {
        line("answer " + (request == RequestKind::read
                              ? readAnswerText(deviceFrame::decodeAnswer(frame))
                              : writeAnswerText(frame)),
             frame);
    }
}

void FrameLog::note(std::string_view text)
{
    if (_stream != nullptr) {
        *_stream << now() << " note " << text << '\n' << std::flush;
    }
}

void FrameLog::line(const std::string &text, Frame frame)
{
    *_stream << now() << ' ' << text << " : " << parsing::hexText(frame) << '\n' << std::flush;
}
