#pragma once

#include "ObjectTable.h"
#include "Queues.h"
#include "Statistics.h"
#include "Values.h"

#include <cstddef>
#include <cstdint>

namespace tarno
{
/// Turns one request frame into its answer, by way of getters and setters. Never reads beyond the
/// frame, whatever it says of its length.
class Answerer
{
public:
    Answerer(const ObjectTable &objects, Statistics &statistics)
        : _objects(objects), _statistics(statistics)
    {
    }

    /// The answer, valid until the next call; empty if the request gets none.
    [[nodiscard]] Queues::Bytes answer(const Queues::Bytes &request);

private:
    [[nodiscard]] Queues::Bytes answerRead(std::uint16_t id);
    [[nodiscard]] Queues::Bytes answerWrite(const Queues::Bytes &request, std::uint16_t id);
    [[nodiscard]] tarno_outcome carryOut(const Queues::Bytes &request, const tarno_object *object);
    [[nodiscard]] const tarno_object *find(std::uint16_t id);
    [[nodiscard]] Queues::Bytes finish(tarno_outcome outcome, std::size_t size);

    const ObjectTable &_objects;
    Statistics &_statistics;
    values::Room _room;
    std::uint8_t _answer[Queues::longestAnswer]{};
};
} // namespace tarno
