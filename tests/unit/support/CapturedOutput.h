#pragma once

#include <string>

/// Standard output from construction until `text`, byte for byte. One at a time.
class CapturedOutput
{
public:
    CapturedOutput();
    ~CapturedOutput();
    CapturedOutput(const CapturedOutput &) = delete;
    CapturedOutput &operator=(const CapturedOutput &) = delete;

    /// Ends the capture; the same text again on a further call.
    const std::string &text();

private:
    std::string _text;
    bool _isCapturing = true;
};
