#pragma once

#include "FrameAnswerer.h"

#include <cstdint>
#include <ostream>
#include <span>
#include <string>
#include <string_view>

/// Writes every frame on one line: seconds of the monotonic clock, direction, the decoded fields,
/// and behind " : " the bytes in hexadecimal. A log without a stream writes nothing and costs
/// nothing. It holds no lock.
class FrameLog
{
public:
    /// The stream, when there is one, outlives the log; each line is flushed.
    explicit FrameLog(std::ostream *stream = nullptr) : _stream(stream) {}

    void request(const Exchange &exchange, const SimulatedDevice &device);
    void answer(RequestKind request, std::span<const std::uint8_t> frame);
    /// An event that is no frame.
    void note(std::string_view text);

private:
    void line(const std::string &text, std::span<const std::uint8_t> frame);

    std::ostream *_stream;
};
