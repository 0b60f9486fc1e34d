#include "support/LinkQueues.h"

#include "ComPortAdapter.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>

#include <gtest/gtest.h>
#include <sys/msg.h>

namespace
{
struct Message {
    long type;
    std::array<std::uint8_t, 8192> payload;
};

long s_typeOfLastRequest = 0;

int queue(key_t key)
{
    return msgget(key, linkPort::queueFlags);
}

bool put(key_t key, const Frame &payload, long type)
{
    Message message{};
    message.type = type;
    std::copy(payload.begin(), payload.end(), message.payload.begin());
    return msgsnd(queue(key), &message, payload.size(), IPC_NOWAIT) == 0;
}

std::optional<Frame> take(key_t key)
{
    Message message{};
    const ssize_t size = msgrcv(queue(key), &message, message.payload.size(), 0, IPC_NOWAIT);
    if (size == -1) {
        return std::nullopt;
    }
    s_typeOfLastRequest = message.type;
    return Frame(message.payload.begin(), message.payload.begin() + size);
}

/// From the kernel's own table: an emulator may put the count of msgctl(2) elsewhere.
std::size_t waiting(key_t key)
{
    std::ifstream table("/proc/sysvipc/msg");
    std::string heads;
    std::getline(table, heads);
    const int wanted = queue(key);
    for (std::string line; std::getline(table, line);) {
        std::istringstream columns(line);
        int found = 0;
        int id = -1;
        std::size_t mode = 0;
        std::size_t bytes = 0;
        std::size_t messages = 0;
        if (columns >> found >> id >> mode >> bytes >> messages && id == wanted) {
            return messages;
        }
    }
    return 0;
}
} // namespace

void linkQueues::remove()
{
    ComPortAdapter().removeQueues();
}

void linkQueues::putAnswer(const Frame &payload, long type)
{
    ASSERT_TRUE(put(linkPort::answerKey, payload, type)) << std::strerror(errno);
}

void linkQueues::putRequest(const Frame &payload)
{
    ASSERT_TRUE(put(linkPort::requestKey, payload, linkPort::messageType)) << std::strerror(errno);
}

std::optional<Frame> linkQueues::takeRequest(std::chrono::milliseconds within)
{
    const auto end = std::chrono::steady_clock::now() + within;
    auto request = take(linkPort::requestKey);
    while (!request && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        request = take(linkPort::requestKey);
    }
    return request;
}

long linkQueues::typeOfLastRequest()
{
    return s_typeOfLastRequest;
}

std::optional<Frame> linkQueues::takeAnswer()
{
    return take(linkPort::answerKey);
}

std::size_t linkQueues::waitingAnswers()
{
    return waiting(linkPort::answerKey);
}

std::size_t linkQueues::waitingRequests()
{
    return waiting(linkPort::requestKey);
}

void linkQueues::fillRequestQueue()
{
    while (put(linkPort::requestKey, Frame(1024), linkPort::messageType)) {
    }
    while (put(linkPort::requestKey, Frame(1), linkPort::messageType)) {
    }
}

void linkQueues::emptyRequestQueue()
{
    while (take(linkPort::requestKey)) {
    }
}
