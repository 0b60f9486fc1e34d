#pragma once

#include <stdexcept>
#include <string>

/// Invalid input from the user. `what()` has one line per error: the reason and the offending text,
/// after file, line and column once they are known.
class InputError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// The lines that a program prints when it fails: each line of `what()`, prefixed with "error: ".
[[nodiscard]] std::string errorLines(const std::exception &error);
