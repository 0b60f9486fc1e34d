#include "OwedAnswers.h"

#include <algorithm>

void OwedAnswers::requestsFound(std::uint32_t count) noexcept
{
    _owed += count;
}

void OwedAnswers::exchangeBegins() noexcept
{
    _own = 0;
}

void OwedAnswers::requestSent() noexcept
{
    if (_owed > 0) {
        ++_owed;
        _own = 1;
    }
}

void OwedAnswers::messagesTaken(std::uint32_t count) noexcept
{
    _owed -= std::min(_owed, count);
}

void OwedAnswers::answerMissed(bool requestWasSent) noexcept
{
    if (_owed == 0 && requestWasSent) {
        _owed = 1;
    }
}

void OwedAnswers::waitExpired(bool requestWasSent, bool discardedSome) noexcept
{
    if (discardedSome) {
        _owed = 0;
    } else {
        answerMissed(requestWasSent);
    }
}
