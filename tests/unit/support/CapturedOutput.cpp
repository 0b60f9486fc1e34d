#include "support/CapturedOutput.h"

#include <gtest/gtest.h>

CapturedOutput::CapturedOutput()
{
    testing::internal::CaptureStdout();
}

CapturedOutput::~CapturedOutput()
{
    text();
}

const std::string &CapturedOutput::text()
{
    if (_isCapturing) {
        _text = testing::internal::GetCapturedStdout();
        _isCapturing = false;
    }
    return _text;
}
