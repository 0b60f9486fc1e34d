// Arbitrary: the bytes of an answer, and the previous contents of the record that receives it.
// Must hold: every header field equals its bytes, or 0 if they did not arrive; a value is stored if
// and only if all of it arrived with a length that its kind allows, and then it equals those bytes;
// the rest of the record is unchanged. An answer names one object, in its own direction.

#include "DeviceFrame.h"
#include "support/Invariant.h"

#include <algorithm>
#include <span>

#include <fuzzer/FuzzedDataProvider.h>

namespace
{
unsigned byteOf(std::span<const std::uint8_t> frame, std::size_t position)
{
    return position < frame.size() ? frame[position] : 0U;
}

unsigned numberOf(std::span<const std::uint8_t> frame, std::size_t position)
{
    return byteOf(frame, position) + 256 * byteOf(frame, position + 1);
}

void checkHeader(std::span<const std::uint8_t> frame, const deviceFrame::Answer &answer)
{
    mustHold(answer.command == byteOf(frame, 0), "the command is byte 0");
    mustHold(answer.length == byteOf(frame, 1), "the length is byte 1");
    mustHold(answer.attribute == numberOf(frame, 2), "the attribute is at 2");
    mustHold(answer.objId == numberOf(frame, 4), "the object id is at 4");
    mustHold(answer.value.size() == (frame.size() > 6 ? frame.size() - 6 : 0), "the rest is value");
}

/// An answer to a read has its id after the attribute, one to a write in the attribute's place.
/// Nothing is named by an answer of the other direction or by an id that did not arrive completely.
void checkNames(std::span<const std::uint8_t> frame, const deviceFrame::Answer &answer)
{
    using deviceFrame::Command;
    const bool namesRead = deviceFrame::names(frame, {Command::readRequest, answer.objId});
    const bool namesWrite = deviceFrame::names(frame, {Command::writeRequest, answer.attribute});
    mustHold(namesRead == (frame.size() >= 6 && answer.command != 0x11), "a read answer has an id");
    mustHold(namesWrite == (frame.size() >= 4 && answer.command != 0x12),
             "a write answer has an id");
    const auto otherId = static_cast<std::uint16_t>(answer.objId ^ 1U);
    mustHold(!deviceFrame::names(frame, {Command::readRequest, otherId}), "it names one object");
}

bool mustBeTaken(std::span<const std::uint8_t> frame)
{
    const unsigned length = byteOf(frame, 1);
    const bool isText = (byteOf(frame, 3) & 3U) == 2;
    const bool fits = isText ? length >= 3 : length == 4 || length == 5 || length == 7;
    return fits && (length == 3 || frame.size() >= length + 3);
}

void checkValue(std::span<const std::uint8_t> frame, const DeviceValue &before,
                const DeviceValue &after)
{
    const bool isText = (byteOf(frame, 3) & 3U) == 2;
    const std::size_t carried = std::min<std::size_t>(byteOf(frame, 1) - 3U, 64);
    auto expected = before.data;
    if (isText) {
        expected.fill(0);
    }
    std::copy_n(frame.begin() + std::min<std::ptrdiff_t>(6, std::ssize(frame)), carried,
                expected.begin());
    mustHold(after.data == expected, "the value is the bytes of the frame");
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    FuzzedDataProvider input(bytes, size);
    DeviceValue before;
    input.ConsumeData(&before, sizeof before);
    // A block of exactly its size, so that a read past its end is detected.
    const auto received = input.ConsumeRemainingBytes<std::uint8_t>();
    const std::span<const std::uint8_t> frame(received);
    const deviceFrame::Answer answer = deviceFrame::decodeAnswer(frame);
    checkHeader(frame, answer);
    checkNames(frame, answer);

    DeviceValue after = before;
    const bool taken = deviceFrame::storeAnswer(answer, after);
    mustHold(taken == mustBeTaken(frame), "a whole value of a known length is taken");
    mustHold(after.len == answer.length && after.attr == answer.attribute, "the header is taken");
    mustHold(after.oid == before.oid && after.spare == before.spare, "the rest is left alone");
    if (taken) {
        checkValue(frame, before, after);
    } else {
        mustHold(after.data == before.data, "a refused value changes no data");
    }
    return 0;
}
