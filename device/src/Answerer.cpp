#include "Answerer.h"

namespace
{
enum Command : std::uint8_t {
    writeRequest = 0x01,
    readRequest = 0x02,
    writeAccepted = 0x11,
    readAnswer = 0x12,
    readRefused = 0x13,
    writeRefused = 0x14
};

// Read request: command, 7, id (2), four zeros. Write request: command, L, id (2), value (L - 3).
constexpr std::size_t readRequestSize = 8;
constexpr std::uint8_t readRequestLength = 7;
constexpr std::size_t idOffset = 2;
constexpr std::size_t writeHeaderSize = 4;
// Answer to a read: command, L, attribute (2), id (2), value (L - 3). To a write: command, L, id
// (2).
constexpr std::size_t readHeaderSize = 6;
constexpr std::size_t lengthOverhead = 3;

// The attribute word: the kind in bits 8 and 9, writability in bit 4.
constexpr std::uint8_t writableBit = 0x10;

constexpr unsigned bitsOfByte = 8;

std::uint16_t idOf(const tarno::Queues::Bytes &request)
{
    return static_cast<std::uint16_t>(request.data[idOffset] | request.data[idOffset + 1]
                                                                   << bitsOfByte);
}

void putId(std::uint8_t *at, std::uint16_t id)
{
    at[0] = static_cast<std::uint8_t>(id);
    at[1] = static_cast<std::uint8_t>(id >> bitsOfByte);
}

bool isRead(const tarno::Queues::Bytes &request)
{
    return request.size == readRequestSize && request.data[0] == readRequest &&
           request.data[1] == readRequestLength;
}

bool isWrite(const tarno::Queues::Bytes &request)
{
    return request.size >= writeHeaderSize && request.data[0] == writeRequest;
}
} // namespace

namespace tarno
{
Queues::Bytes Answerer::answer(const Queues::Bytes &request)
{
    if (request.size > Queues::longestRequest) {
        _statistics.oversized.increment();
        return {};
    }
    if (isRead(request)) {
        _statistics.reads.increment();
        return answerRead(idOf(request));
    }
    if (isWrite(request)) {
        _statistics.writes.increment();
        return answerWrite(request, idOf(request));
    }
    _statistics.malformed.increment();
    return {};
}

Queues::Bytes Answerer::answerRead(std::uint16_t id)
{
    const tarno_object *const object = find(id);
    const tarno_outcome outcome =
        object == nullptr ? TARNO_FAILED : values::get(*object, _room, _answer + readHeaderSize);
    const bool isDone = outcome == TARNO_DONE;
    const std::size_t width = isDone ? object->width : 0;
    _answer[0] = isDone ? readAnswer : readRefused;
    _answer[1] = static_cast<std::uint8_t>(width + lengthOverhead);
    _answer[2] = isDone && object->writable != 0 ? writableBit : std::uint8_t{0};
    _answer[3] = isDone ? static_cast<std::uint8_t>(object->kind) : std::uint8_t{0};
    putId(_answer + 4, id);
    return finish(outcome, readHeaderSize + width);
}

Queues::Bytes Answerer::answerWrite(const Queues::Bytes &request, std::uint16_t id)
{
    const tarno_outcome outcome = carryOut(request, find(id));
    _answer[0] = outcome == TARNO_DONE ? writeAccepted : writeRefused;
    _answer[1] = request.data[1];
    putId(_answer + idOffset, id);
    return finish(outcome, writeHeaderSize);
}

tarno_outcome Answerer::carryOut(const Queues::Bytes &request, const tarno_object *object)
{
    if (object == nullptr || object->writable == 0) {
        return TARNO_FAILED;
    }
    const std::size_t width = request.size - writeHeaderSize;
    if (width != object->width || request.data[1] != width + lengthOverhead) {
        return TARNO_FAILED;
    }
    return values::set(*object, _room, request.data + writeHeaderSize);
}

const tarno_object *Answerer::find(std::uint16_t id)
{
    const tarno_object *const object = _objects.find(id);
    if (object == nullptr) {
        _statistics.unknown.increment();
    }
    return object;
}

Queues::Bytes Answerer::finish(tarno_outcome outcome, std::size_t size)
{
    if (outcome == TARNO_NOT_NOW) {
        _statistics.unanswered.increment();
        return {};
    }
    if (outcome != TARNO_DONE) {
        _statistics.errors.increment();
    }
    return {.data = _answer, .size = size};
}
} // namespace tarno
