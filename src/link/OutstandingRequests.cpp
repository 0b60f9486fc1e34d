#include "OutstandingRequests.h"

#include <algorithm>

void OutstandingRequests::foundUnnamed(std::uint32_t count) noexcept
{
    _unnamed += count;
}

void OutstandingRequests::begin(const deviceFrame::RequestName &own) noexcept
{
    _own = own;
    _ownIsLast = false;
}

void OutstandingRequests::sent() noexcept
{
    likelyAnswered();
    if (_count == capacity) {
        removeFirst(1);
        ++_unnamed;
    }
    _requests[_count] = {.name = _own};
    ++_count;
    _ownIsLast = true;
}

OutstandingRequests::Match
OutstandingRequests::settle(std::span<const std::uint8_t> message) noexcept
{
    const std::size_t ownCount = _ownIsLast ? 1 : 0;
    if (_unnamed == 0 && _count == ownCount) {
        _count = 0;
        _ownIsLast = false;
        return Match::own;
    }
    if (_unnamed > 0) {
        // The oldest may have been a request for anything, so nothing younger is settled for
        // certain.
        --_unnamed;
        if (!deviceFrame::names(message, _own)) {
            return Match::late;
        }
        likelyAnswered();
        return Match::own;
    }
    const std::size_t at = findSettled(message);
    if (at == _count) {
        return Match::late;
    }
    const Request settled = _requests[at];
    removeFirst(at + 1);
    if (_ownIsLast && _count == 0) {
        _ownIsLast = false;
        return Match::own;
    }
    if (settled.name != _own && deviceFrame::names(message, settled.name)) {
        return Match::late;
    }
    if (settled.isDoubtful) {
        likelyAnswered();
        return Match::own;
    }
    return settled.name == _own ? Match::sameObject : Match::foreign;
}

void OutstandingRequests::likelyAnswered() noexcept
{
    if (_ownIsLast) {
        _requests[_count - 1].isDoubtful = true;
    }
}

void OutstandingRequests::likelyAllAnswered() noexcept
{
    for (std::size_t at = 0; at < _count; ++at) {
        _requests[at].isDoubtful = true;
    }
}

/// The oldest request that the message names, or else the oldest that it may answer.
std::size_t OutstandingRequests::findSettled(std::span<const std::uint8_t> message) const noexcept
{
    const auto outstanding = std::span(_requests).first(_count);
    auto found =
        std::find_if(outstanding.begin(), outstanding.end(), [message](const Request &request) {
            return deviceFrame::names(message, request.name);
        });
    if (found == outstanding.end()) {
        found =
            std::find_if(outstanding.begin(), outstanding.end(), [message](const Request &request) {
                return deviceFrame::mayAnswer(message, request.name);
            });
    }
    return static_cast<std::size_t>(found - outstanding.begin());
}

void OutstandingRequests::removeFirst(std::size_t count) noexcept
{
    std::move(_requests.begin() + count, _requests.begin() + _count, _requests.begin());
    _count -= count;
}
