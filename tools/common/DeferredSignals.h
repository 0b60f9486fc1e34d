#pragma once

#include <csignal>

/// Defers the signals that end the program while there is a temporary file to remove. The
/// destructor lets a deferred one through.
class DeferredSignals
{
public:
    DeferredSignals();
    ~DeferredSignals();
    DeferredSignals(const DeferredSignals &) = delete;
    DeferredSignals &operator=(const DeferredSignals &) = delete;

private:
    sigset_t _previous{};
};
