#pragma once

#include "Answerer.h"
#include "Link.h"
#include "ObjectTable.h"
#include "Statistics.h"
#include "tarnodevice.h"

#include <atomic>

#include <pthread.h>

/// What the C interface points to: the link, objects and counters, and the loop that serves them.
/// The operations are those of tarnodevice.h; errors are errno values.
struct tarno_device {
public:
    explicit tarno_device(const tarno_options &options);
    tarno_device(const tarno_device &) = delete;
    tarno_device &operator=(const tarno_device &) = delete;
    ~tarno_device() = default;

    [[nodiscard]] int add(const tarno_object *objects, std::size_t count);

    [[nodiscard]] int open() { return _link.open(); }

    /// What one step came to; `error` is set if it failed.
    enum class Step { served, idle, stopped, failed };
    [[nodiscard]] Step step(int milliseconds, int &error);
    void serve();

    void stop() { _link.stop(); }

    [[nodiscard]] int start();
    [[nodiscard]] int join();

    [[nodiscard]] tarno_statistics statistics() const noexcept { return _statistics.copy(); }

private:
    [[nodiscard]] int receive(int milliseconds, tarno::Queues::Bytes &request);
    void serveRequest(const tarno::Queues::Bytes &request);

    tarno::ObjectTable _objects;
    tarno::Statistics _statistics;
    tarno::Queues::Message<tarno::Queues::longestRequest + 1> _incoming{};
    tarno::Queues::Message<tarno::Queues::longestAnswer> _outgoing{};
    tarno::Link _link;
    tarno::Answerer _answerer;
    std::atomic<bool> _hasThread{false};
    pthread_t _thread{};
};
