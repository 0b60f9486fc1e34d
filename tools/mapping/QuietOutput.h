#pragma once

#include <cstdio>

/// Standard output leads nowhere for the time of the scope: the agent's classes print their fixed
/// lines there. Not for use on two threads at once. Where it cannot be redirected it stays.
class QuietOutput
{
public:
    QuietOutput();
    ~QuietOutput();
    QuietOutput(const QuietOutput &) = delete;
    QuietOutput &operator=(const QuietOutput &) = delete;

private:
    int _kept = -1;
};
