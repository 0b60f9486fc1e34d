#pragma once

#include <stdexcept>

/// Invalid input from the user. `what()` is always one line: the reason and the offending text,
/// after file, line and column once they are known.
class InputError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};
