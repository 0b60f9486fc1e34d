#pragma once

#include <stdexcept>

/// Input of the user that cannot be used. `what()` is always one line: the reason with the text
/// that is wrong, behind the file, line and column once they are known.
class InputError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};
