#include "EchoDevice.h"

#include "ComPortAdapter.h"
#include "DeviceFrame.h"

#include <array>
#include <cstring>
#include <limits>
#include <vector>

#include <sys/msg.h>

namespace
{
struct Message {
    long type;
    std::array<std::uint8_t, linkPort::largestSend> payload;
};

constexpr std::uint8_t errorCommand = 0x13;
constexpr std::size_t ids = std::numeric_limits<std::uint16_t>::max() + 1;

/// One frame per id.
std::vector<Frame> answersByIdOf(const std::map<std::uint16_t, Frame> &readAnswers)
{
    std::vector<Frame> answers(ids, Frame{errorCommand, lengthOverhead, 0, 0, 0, 0});
    for (const auto &[id, answer] : readAnswers) {
        answers[id] = answer;
    }
    return answers;
}

std::uint16_t idOf(const Message &request)
{
    std::uint16_t id = 0;
    std::memcpy(&id, &request.payload[deviceFrame::requestIdOffset], sizeof id);
    return id;
}

/// Overwrites a request with its answer; returns the answer's length.
std::size_t answer(Message &message, const std::vector<Frame> &answers)
{
    using deviceFrame::Command;
    if (message.payload[0] == static_cast<std::uint8_t>(Command::writeRequest)) {
        message.payload[0] = static_cast<std::uint8_t>(Command::writeAccepted);
        return deviceFrame::writeHeaderSize;
    }
    const Frame &frame = answers[idOf(message)];
    std::memcpy(message.payload.data(), frame.data(), frame.size());
    return frame.size();
}

void serve(const std::map<std::uint16_t, Frame> &readAnswers)
{
    const std::vector<Frame> answers = answersByIdOf(readAnswers);
    const int requestQueue = msgget(linkPort::requestKey, linkPort::queueFlags);
    const int answerQueue = msgget(linkPort::answerKey, linkPort::queueFlags);
    Message message{};
    while (msgrcv(requestQueue, &message, message.payload.size(), 0, 0) != -1) {
        msgsnd(answerQueue, &message, answer(message, answers), 0);
    }
}
} // namespace

EchoDevice::EchoDevice(const std::map<std::uint16_t, Frame> &readAnswers)
    : _process([&readAnswers] { serve(readAnswers); })
{
}
