#pragma once

#include <ctime>

namespace tarno
{
/// How long to wait for a message: not at all, until a point in time, or until somebody ends it.
class Wait
{
public:
    /// From now on; negative: without limit.
    explicit Wait(int milliseconds);

    [[nodiscard]] bool blocks() const noexcept { return _milliseconds != 0; }

    /// Whether it ends by itself after a while.
    [[nodiscard]] bool isTimed() const noexcept { return _milliseconds > 0; }

    [[nodiscard]] bool isOver() const;

    /// CLOCK_MONOTONIC; meaningless without a limit.
    [[nodiscard]] const timespec &end() const noexcept { return _end; }

private:
    int _milliseconds;
    timespec _end{};
};
} // namespace tarno
