#include "FrameAnswerer.h"

#include "DeviceFrame.h"

#include <algorithm>
#include <cstring>

namespace
{
using Bytes = std::vector<std::uint8_t>;
using Request = std::span<const std::uint8_t>;

constexpr std::uint8_t extraByte = 0xA5;
/// The answer to a write: command, length byte, object id (2).
constexpr std::size_t writeAnswerIdOffset = deviceFrame::requestIdOffset;

std::uint8_t command(deviceFrame::Command command)
{
    return static_cast<std::uint8_t>(command);
}

void append16(Bytes &frame, std::uint16_t number)
{
    frame.push_back(static_cast<std::uint8_t>(number));
    frame.push_back(static_cast<std::uint8_t>(number >> 8));
}

/// Bytes beyond the end of the frame are skipped.
void overwrite16(Bytes &frame, std::size_t offset, std::uint32_t number)
{
    for (std::size_t index = 0; index < 2 && offset + index < frame.size(); ++index) {
        frame[offset + index] = static_cast<std::uint8_t>(number >> (8 * index));
    }
}

RequestKind kindOf(Request request)
{
    if (request.size() == deviceFrame::readRequestSize &&
        request[0] == command(deviceFrame::Command::readRequest) &&
        request[1] == deviceFrame::readRequestLength) {
        return RequestKind::read;
    }
    if (request.size() >= deviceFrame::writeHeaderSize &&
        request[0] == command(deviceFrame::Command::writeRequest)) {
        return RequestKind::write;
    }
    return RequestKind::malformed;
}

std::uint16_t idOf(Request request)
{
    std::uint16_t id = 0;
    std::memcpy(&id, request.data() + deviceFrame::requestIdOffset, sizeof id);
    return deviceFrame::fromDevice16(id);
}

Bytes readRefusal(std::uint16_t id)
{
    Bytes frame{refusal::ofRead, lengthOverhead, 0, 0};
    append16(frame, id);
    return frame;
}

Bytes readAnswer(const DeviceObject &object)
{
    Bytes frame{command(deviceFrame::Command::readAnswer), object.length()};
    append16(frame, object.attribute());
    append16(frame, object.id());
    frame.insert(frame.end(), object.value().begin(), object.value().end());
    return frame;
}

Bytes writeAnswer(bool accepted, std::uint8_t length, std::uint16_t id)
{
    Bytes frame{accepted ? command(deviceFrame::Command::writeAccepted) : refusal::ofWrite, length};
    append16(frame, id);
    return frame;
}

bool isAccepted(DeviceObject *object, Request request)
{
    return object != nullptr && request.size() == request[1] + std::size_t{1} &&
           object->write(request.subspan(deviceFrame::writeHeaderSize));
}

std::chrono::milliseconds timeOf(FaultKind kind, const Faults::Active &faults)
{
    const auto fault = faults.find(kind);
    return std::chrono::milliseconds(fault == faults.end() ? 0 : fault->second.number.value_or(0));
}
} // namespace

FrameAnswerer::FrameAnswerer(SimulatedDevice &device, std::uint32_t seed)
    : _device(device), _random(seed)
{
}

Exchange FrameAnswerer::take(Request frame)
{
    Exchange exchange;
    exchange.request = kindOf(frame);
    exchange.frame.assign(frame.begin(), frame.end());
    if (exchange.request == RequestKind::malformed) {
        ++_device.malformed;
        return exchange;
    }
    exchange.id = idOf(frame);
    count(exchange);
    exchange.faults = _device.faults.take(exchange.id, exchange.request == RequestKind::read
                                                           ? FaultScope::reads
                                                           : FaultScope::writes);
    exchange.pause = timeOf(FaultKind::pause, exchange.faults);
    exchange.delay = timeOf(FaultKind::delay, exchange.faults);
    return exchange;
}

void FrameAnswerer::carryOut(Exchange &exchange)
{
    if (exchange.request == RequestKind::malformed) {
        return;
    }
    exchange.answer = correctAnswer(exchange);
    exchange.copies = 1;
    applyFaults(exchange);
}

Bytes FrameAnswerer::correctAnswer(const Exchange &exchange)
{
    DeviceObject *const object =
        exchange.faults.contains(FaultKind::error) ? nullptr : _device.find(exchange.id);
    if (exchange.request == RequestKind::write) {
        return writeAnswer(isAccepted(object, exchange.frame), exchange.frame[1], exchange.id);
    }
    return object == nullptr ? readRefusal(exchange.id) : readAnswer(*object);
}

void FrameAnswerer::applyFaults(Exchange &exchange)
{
    Bytes &answer = exchange.answer;
    const std::size_t idOffset =
        exchange.request == RequestKind::read ? deviceFrame::answerIdOffset : writeAnswerIdOffset;
    // In the order of FaultKind: bytes are changed first, then cut off or replaced as a whole.
    for (const auto &[kind, fault] : exchange.faults) {
        const std::uint32_t number = fault.number.value_or(0);
        switch (kind) {
        case FaultKind::pause:
        case FaultKind::delay:
            break;
        case FaultKind::silent:
            exchange.copies = 0;
            break;
        case FaultKind::error:
            answer[0] = static_cast<std::uint8_t>(fault.number.value_or(answer[0]));
            break;
        case FaultKind::length:
            answer[1] = static_cast<std::uint8_t>(number);
            break;
        case FaultKind::wrongId:
            overwrite16(answer, idOffset, number);
            break;
        case FaultKind::extra:
            answer.insert(answer.end(), number, extraByte);
            break;
        case FaultKind::truncate:
            answer.resize(std::min<std::size_t>(answer.size(), number));
            break;
        case FaultKind::raw:
            answer = fault.bytes;
            break;
        case FaultKind::size:
            answer = garbage(number);
            break;
        case FaultKind::duplicate:
            exchange.copies += exchange.copies == 0 ? 0 : fault.number.value_or(1);
            break;
        }
    }
}

void FrameAnswerer::count(const Exchange &exchange)
{
    RequestCounts &ofId = _device.perId[exchange.id];
    const bool isRead = exchange.request == RequestKind::read;
    ++(isRead ? ofId.reads : ofId.writes);
    ++(isRead ? _device.total.reads : _device.total.writes);
    if (_device.find(exchange.id) == nullptr) {
        ++_device.unknown;
    }
}

Bytes FrameAnswerer::garbage(std::size_t size)
{
    Bytes bytes(size);
    for (std::uint8_t &byte : bytes) {
        byte = static_cast<std::uint8_t>(_random() >> 8);
    }
    return bytes;
}
