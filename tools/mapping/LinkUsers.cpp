#include "LinkUsers.h"

#include <chrono>
#include <fstream>
#include <sstream>

#include <unistd.h>

namespace
{
using Seconds = std::chrono::duration<double>;

/// Fields of /proc/PID/stat, see proc(5). They follow the name of the program.
constexpr int stateField = 3;
constexpr int startField = 22;
/// The queues count whole seconds of a clock that is some milliseconds late.
constexpr double inexactness = 2;

double secondsOf(clockid_t clock)
{
    timespec now{};
    clock_gettime(clock, &now);
    return Seconds(std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec))
        .count();
}

/// Since 1970, from ticks since the start of the machine.
double startOf(const std::string &ticks)
{
    const double sinceBoot =
        static_cast<double>(std::stoull(ticks)) / static_cast<double>(sysconf(_SC_CLK_TCK));
    return secondsOf(CLOCK_REALTIME) - secondsOf(CLOCK_BOOTTIME) + sinceBoot;
}

/// The process with this id if it was there at that time: ids are used again.
std::optional<LinkUser> userOf(pid_t process, std::time_t used)
{
    if (process == 0 || process == getpid()) {
        return std::nullopt;
    }
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    // The name of a program may have a newline.
    std::string line;
    std::getline(file, line, '\0');
    const std::size_t open = line.find('(');
    const std::size_t close = line.rfind(')');
    if (open == std::string::npos || close == std::string::npos) {
        return std::nullopt;
    }
    std::istringstream rest(line.substr(close + 1));
    std::string state;
    std::string start;
    rest >> state;
    for (int field = stateField; field < startField; ++field) {
        rest >> start;
    }
    if (!rest || state == "Z" || startOf(start) > static_cast<double>(used) + inexactness) {
        return std::nullopt;
    }
    return LinkUser{.process = process, .program = line.substr(open + 1, close - open - 1)};
}
} // namespace

std::string LinkUser::text() const
{
    return program + " (process " + std::to_string(process) + ')';
}

LinkUsers linkUsers(const QueueState &requests, const QueueState &answers)
{
    LinkUsers users;
    users.device = userOf(answers.lastSender, answers.lastSent);
    if (!users.device) {
        users.device = userOf(requests.lastReceiver, requests.lastReceived);
    }
    // A device application may empty its queues when it starts.
    const auto isOfDevice = [&](pid_t process) {
        return process == requests.lastReceiver || process == answers.lastSender;
    };
    if (!isOfDevice(requests.lastSender)) {
        users.agent = userOf(requests.lastSender, requests.lastSent);
    }
    if (!users.agent && !isOfDevice(answers.lastReceiver)) {
        users.agent = userOf(answers.lastReceiver, answers.lastReceived);
    }
    return users;
}
