#pragma once

#include <pthread.h>

/// A POSIX mutex with default attributes (not recursive) that lives as long as this object. A
/// `Guard` holds it from construction to the end of the scope, on every path out of it; a thread
/// that already holds it must not create another.
class Mutex
{
public:
    Mutex() { pthread_mutex_init(&_mutex, nullptr); }

    ~Mutex() { pthread_mutex_destroy(&_mutex); }

    Mutex(const Mutex &) = delete;
    Mutex &operator=(const Mutex &) = delete;

    /// For an owner that is destroyed while the lock may still be held.
    void unlock() { pthread_mutex_unlock(&_mutex); }

    class Guard
    {
    public:
        explicit Guard(Mutex &mutex) : _mutex(mutex) { pthread_mutex_lock(&_mutex._mutex); }

        ~Guard() { _mutex.unlock(); }

        Guard(const Guard &) = delete;
        Guard &operator=(const Guard &) = delete;

    private:
        Mutex &_mutex;
    };

private:
    pthread_mutex_t _mutex{};
};
