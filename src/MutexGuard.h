#pragma once

#include <pthread.h>

/// Holds a POSIX mutex from construction to the end of the scope, on every path out of it.
/// The mutex must be initialised and outlive the guard; it must not be held by this thread already.
class MutexGuard
{
public:
    explicit MutexGuard(pthread_mutex_t &mutex) : _mutex(mutex) { pthread_mutex_lock(&_mutex); }

    ~MutexGuard() { pthread_mutex_unlock(&_mutex); }

    MutexGuard(const MutexGuard &) = delete;
    MutexGuard &operator=(const MutexGuard &) = delete;

private:
    pthread_mutex_t &_mutex;
};
