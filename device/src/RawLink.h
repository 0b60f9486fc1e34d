#pragma once

#include "Link.h"
#include "Statistics.h"
#include "Wait.h"
#include "tarnodevice.h"

#include <cerrno>

/// The link as the C interface offers it to programs that make their own answers: with room for the
/// longest messages. The operations are those of tarnodevice.h; errors are errno values.
struct tarno_link {
public:
    explicit tarno_link(const tarno_options &options)
        : _link(options, _statistics, {.incoming = _incoming.room(), .outgoing = _outgoing.room()})
    {
    }

    tarno_link(const tarno_link &) = delete;
    tarno_link &operator=(const tarno_link &) = delete;
    ~tarno_link() = default;

    [[nodiscard]] int open() { return _link.open(); }

    [[nodiscard]] int receive(int milliseconds, tarno::Queues::Bytes &request)
    {
        const int error = _link.receive(tarno::Wait(milliseconds), request);
        return error != 0 && _link.takeStop() ? EINTR : error;
    }

    [[nodiscard]] int send(const tarno::Queues::Bytes &answer) { return _link.send(answer); }

    void stop() { _link.stop(); }

    [[nodiscard]] int removeOwn() { return _link.removeOwn(); }

private:
    tarno::Statistics _statistics;
    tarno::Queues::Message<TARNO_LONGEST_MESSAGE> _incoming{};
    tarno::Queues::Message<TARNO_LONGEST_MESSAGE> _outgoing{};
    tarno::Link _link;
};
