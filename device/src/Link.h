#pragma once

#include "Queues.h"
#include "Statistics.h"
#include "Wait.h"
#include "WakeTimer.h"
#include "tarnodevice.h"

#include <atomic>

namespace tarno
{
/// The queues with waits that end: after a time, or because another thread or a signal handler says
/// so. Errors are errno values. One thread may receive while another sends.
class Link
{
public:
    /// Everything must outlive the link.
    Link(const tarno_options &options, Statistics &statistics, const Queues::Buffers &buffers);

    /// Creates the queues, or finds them. The first time it discards old requests if it shall.
    [[nodiscard]] int open();

    /// Takes the first request, valid until the next call. EINTR: the wait is over or was stopped;
    /// ENOMSG: no request waits, and the wait does not block; EIDRM: the queue was removed, and the
    /// next call finds or creates it.
    [[nodiscard]] int receive(const Wait &wait, Queues::Bytes &request);

    [[nodiscard]] int send(const Queues::Bytes &answer) { return _queues.send(answer); }

    /// Ends the current or the next `receive`. From any thread or signal handler.
    void stop();
    /// Whether there was a `stop`; forgets it.
    [[nodiscard]] bool takeStop();

    /// Call when the thread that received has ended.
    void forgetThread() { _wakeTimer.release(); }

    [[nodiscard]] bool wasOpen() const noexcept { return _wasOpen; }

    [[nodiscard]] int removeOwn() { return _queues.removeOwn(); }

private:
    [[nodiscard]] int receiveUntil(const Wait &wait, Queues::Bytes &request);
    void discardOldRequests();

    bool _discardsOldRequests;
    Statistics &_statistics;
    Queues _queues;
    WakeTimer _wakeTimer;
    bool _wasOpen = false;
    std::atomic<bool> _stopping{false};
};
} // namespace tarno
