#include "Wait.h"

#include <cstdint>

namespace
{
constexpr std::int64_t nanosecondsPerMillisecond = 1'000'000;
constexpr std::int64_t nanosecondsPerSecond = 1'000'000'000;

std::int64_t nanosecondsOf(const timespec &time)
{
    return time.tv_sec * nanosecondsPerSecond + time.tv_nsec;
}

std::int64_t now()
{
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return nanosecondsOf(time);
}
} // namespace

namespace tarno
{
Wait::Wait(int milliseconds) : _milliseconds(milliseconds)
{
    if (isTimed()) {
        const std::int64_t end = now() + milliseconds * nanosecondsPerMillisecond;
        _end = {.tv_sec = static_cast<time_t>(end / nanosecondsPerSecond),
                .tv_nsec = static_cast<long>(end % nanosecondsPerSecond)};
    }
}

bool Wait::isOver() const
{
    return isTimed() ? now() >= nanosecondsOf(_end) : !blocks();
}
} // namespace tarno
