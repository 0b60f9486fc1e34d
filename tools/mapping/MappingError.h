#pragma once

#include <stdexcept>

/// Input that cannot be used: `what()` names the file, where there are any the line and column, and
/// the reason with the offending text. Always one line.
class MappingError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// A file that is no mapping database, or a damaged one.
class UnreadableDatabase : public MappingError
{
public:
    using MappingError::MappingError;
};
