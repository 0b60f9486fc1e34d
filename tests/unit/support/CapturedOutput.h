#pragma once

#include <string>

/// Captures standard output from construction until `text`, byte for byte. One at a time.
class CapturedOutput
{
public:
    CapturedOutput();
    ~CapturedOutput();
    CapturedOutput(const CapturedOutput &) = delete;
    CapturedOutput &operator=(const CapturedOutput &) = delete;

    /// Ends the capture; further calls return the same text.
    const std::string &text();

private:
    std::string _text;
    bool _isCapturing = true;
};
