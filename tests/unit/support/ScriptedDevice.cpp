#include "support/ScriptedDevice.h"

#include "ComPortAdapter.h"
#include "DeviceFrame.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include <sys/msg.h>

namespace
{
constexpr long stopType = 7;
constexpr std::uint8_t errorCommand = 0x13;

struct Message {
    long type;
    std::array<std::uint8_t, 4096> payload;
};

std::uint16_t idOf(const Frame &request)
{
    return static_cast<std::uint16_t>(request.at(2) | request.at(3) << 8);
}

Frame bytesOf(std::uint16_t number)
{
    return {static_cast<std::uint8_t>(number), static_cast<std::uint8_t>(number >> 8)};
}

void append(Frame &frame, const Frame &more)
{
    frame.insert(frame.end(), more.begin(), more.end());
}
} // namespace

ScriptedDevice::ScriptedDevice() : _thread([this] { serve(); }) {}

ScriptedDevice::~ScriptedDevice()
{
    linkQueues::emptyRequestQueue();
    Message stop{};
    stop.type = stopType;
    msgsnd(msgget(linkPort::requestKey, linkPort::queueFlags), &stop, 0, 0);
    _thread.join();
}

void ScriptedDevice::holdsInteger(std::uint16_t id, std::uint32_t value, int bytes, ValueKind kind)
{
    const std::lock_guard guard(_mutex);
    Object &object = _objects[id];
    object.attribute = static_cast<std::uint16_t>(static_cast<unsigned>(kind) << valueKindShift);
    object.value.clear();
    for (int byte = 0; byte < bytes; ++byte) {
        object.value.push_back(static_cast<std::uint8_t>(value >> (8 * byte)));
    }
}

void ScriptedDevice::holdsText(std::uint16_t id, const std::string &text, std::size_t size)
{
    const std::lock_guard guard(_mutex);
    Object &object = _objects[id];
    object.attribute =
        static_cast<std::uint16_t>(static_cast<unsigned>(ValueKind::string) << valueKindShift);
    object.value.assign(text.begin(), text.end());
    object.value.resize(std::max(size, text.size()));
}

void ScriptedDevice::makesWritable(std::uint16_t id)
{
    const std::lock_guard guard(_mutex);
    _objects[id].attribute |= writableBit;
}

void ScriptedDevice::answersReadsWith(std::uint16_t id, const Frame &answer)
{
    const std::lock_guard guard(_mutex);
    _objects[id].readAnswer = answer;
}

void ScriptedDevice::isSilentAbout(std::uint16_t id)
{
    const std::lock_guard guard(_mutex);
    _objects[id].isSilent = true;
}

void ScriptedDevice::sendsLateAnswers(const std::vector<Frame> &answers)
{
    const std::lock_guard guard(_mutex);
    _lateAnswers = answers;
}

void ScriptedDevice::answersWritesWith(const Frame &answer)
{
    const std::lock_guard guard(_mutex);
    _writeAnswer = answer;
}

std::vector<Frame> ScriptedDevice::requests() const
{
    const std::lock_guard guard(_mutex);
    return _requests;
}

std::vector<Frame> ScriptedDevice::writes() const
{
    std::vector<Frame> writes = requests();
    std::erase_if(writes, [](const Frame &request) { return request.at(0) != 1; });
    return writes;
}

void ScriptedDevice::forgetRequests()
{
    const std::lock_guard guard(_mutex);
    _requests.clear();
}

Frame ScriptedDevice::readAnswer(std::uint16_t id, std::uint16_t attribute, const Frame &value)
{
    Frame answer{0x12, static_cast<std::uint8_t>(value.size() + lengthOverhead)};
    append(answer, bytesOf(attribute));
    append(answer, bytesOf(id));
    append(answer, value);
    return answer;
}

void ScriptedDevice::serve()
{
    for (;;) {
        Message message{};
        const int requests = msgget(linkPort::requestKey, linkPort::queueFlags);
        const ssize_t size = msgrcv(requests, &message, message.payload.size(), 0, 0);
        if (size == -1) {
            continue;
        }
        if (message.type == stopType) {
            return;
        }
        for (const Frame &answer :
             answersTo(Frame(message.payload.begin(), message.payload.begin() + size))) {
            linkQueues::putAnswer(answer, linkPort::messageType);
        }
    }
}

std::vector<Frame> ScriptedDevice::answersTo(const Frame &request)
{
    const std::lock_guard guard(_mutex);
    _requests.push_back(request);
    std::vector<Frame> answers = std::exchange(_lateAnswers, {});
    if (request.size() < deviceFrame::writeHeaderSize || _objects[idOf(request)].isSilent) {
        return answers;
    }
    const std::uint16_t id = idOf(request);
    answers.push_back(request[0] == 1 ? answerToWrite(id, request) : answerToRead(id));
    return answers;
}

Frame ScriptedDevice::answerToRead(std::uint16_t id)
{
    const Object &object = _objects[id];
    if (!object.readAnswer.empty()) {
        return object.readAnswer;
    }
    if (object.value.empty()) {
        Frame error = readAnswer(id, 0, {});
        error[0] = errorCommand;
        return error;
    }
    return readAnswer(id, object.attribute, object.value);
}

Frame ScriptedDevice::answerToWrite(std::uint16_t id, const Frame &request)
{
    _objects[id].value.assign(request.begin() + deviceFrame::writeHeaderSize, request.end());
    if (!_writeAnswer.empty()) {
        return _writeAnswer;
    }
    Frame accepted{0x11, request[1]};
    append(accepted, bytesOf(id));
    return accepted;
}
