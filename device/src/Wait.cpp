#include "Wait.h"

namespace
{
constexpr long millisecondsPerSecond = 1000;
constexpr long nanosecondsPerMillisecond = 1'000'000;
constexpr long nanosecondsPerSecond = 1'000'000'000;

timespec now()
{
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return time;
}

timespec after(timespec time, int milliseconds)
{
    time.tv_sec += milliseconds / millisecondsPerSecond;
    time.tv_nsec += milliseconds % millisecondsPerSecond * nanosecondsPerMillisecond;
    if (time.tv_nsec >= nanosecondsPerSecond) {
        time.tv_nsec -= nanosecondsPerSecond;
        ++time.tv_sec;
    }
    return time;
}
} // namespace

namespace tarno
{
Wait::Wait(int milliseconds) : _milliseconds(milliseconds)
{
    if (isTimed()) {
        _end = after(now(), milliseconds);
    }
}

bool Wait::isOver() const
{
    if (!isTimed()) {
        return !blocks();
    }
    const timespec time = now();
    return time.tv_sec > _end.tv_sec ||
           (time.tv_sec == _end.tv_sec && time.tv_nsec >= _end.tv_nsec);
}
} // namespace tarno
