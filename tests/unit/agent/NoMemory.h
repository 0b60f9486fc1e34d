#pragma once

/// While it lives, this thread gets no memory from `new`; other threads do.
class NoMemory
{
public:
    NoMemory();
    ~NoMemory();
    NoMemory(const NoMemory &) = delete;
    NoMemory &operator=(const NoMemory &) = delete;
};
