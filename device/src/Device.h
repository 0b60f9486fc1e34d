#pragma once

#include "Answerer.h"
#include "ObjectTable.h"
#include "Queues.h"
#include "Statistics.h"
#include "WakeTimer.h"
#include "tarnodevice.h"

#include <atomic>

#include <pthread.h>

/// What the C interface points to: queues, objects and counters, and the loop that serves them. The
/// operations are those of tarnodevice.h; errors are errno values.
struct tarno_device {
public:
    explicit tarno_device(const tarno_options &options);
    tarno_device(const tarno_device &) = delete;
    tarno_device &operator=(const tarno_device &) = delete;
    ~tarno_device() = default;

    [[nodiscard]] int add(const tarno_object *objects, std::size_t count);
    [[nodiscard]] int open();
    /// What one step came to; `error` is set if it failed.
    enum class Step { served, idle, stopped, failed };
    [[nodiscard]] Step step(int milliseconds, int &error);
    void serve();
    void stop();
    [[nodiscard]] int start();
    [[nodiscard]] int join();

    [[nodiscard]] tarno_statistics statistics() const noexcept { return _statistics.copy(); }

private:
    struct Wait {
        bool isBounded = false;
        timespec end{};

        [[nodiscard]] bool isOver() const;
    };

    [[nodiscard]] static Wait waitOf(int milliseconds);
    [[nodiscard]] int receive(int milliseconds, tarno::Queues::Bytes &request);
    [[nodiscard]] int receiveUntil(const Wait &wait, bool waits, tarno::Queues::Bytes &request);
    void serveRequest(const tarno::Queues::Bytes &request);
    void discardOldRequests();

    tarno_options _options;
    tarno::ObjectTable _objects;
    tarno::Statistics _statistics;
    tarno::Queues _queues;
    tarno::WakeTimer _wakeTimer;
    tarno::Answerer _answerer;
    bool _wasOpen = false;
    std::atomic<bool> _stopping{false};
    std::atomic<bool> _hasThread{false};
    pthread_t _thread{};
};
