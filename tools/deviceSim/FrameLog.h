#pragma once

#include "FrameAnswerer.h"

#include <cstdint>
#include <ostream>
#include <span>
#include <string>
#include <string_view>

/// Logs every frame on one line: seconds of the monotonic clock, direction, decoded fields, and
/// after " : " the bytes in hexadecimal. Without a stream it does nothing. Not thread-safe.
class FrameLog
{
public:
    /// The stream may be null; else it must outlive the log. Each line is flushed.
    explicit FrameLog(std::ostream *stream = nullptr) : _stream(stream) {}

    void request(const Exchange &exchange, const SimulatedDevice &device);
    void answer(RequestKind request, std::span<const std::uint8_t> frame);
    /// An event other than a frame.
    void note(std::string_view text);

private:
    void line(const std::string &text, std::span<const std::uint8_t> frame);

    std::ostream *_stream;
};
