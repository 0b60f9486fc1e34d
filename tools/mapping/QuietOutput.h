#pragma once

#include <cstdio>

/// Discards standard output within a scope, because the agent's classes print messages there. Not
/// thread-safe. If standard output cannot be redirected, it stays as it is.
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
