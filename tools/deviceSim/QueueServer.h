#pragma once

#include "CommandReader.h"
#include "Descriptor.h"
#include "FrameAnswerer.h"
#include "FrameLog.h"
#include "QueuePair.h"

#include <atomic>
#include <chrono>
#include <map>
#include <mutex>

#include <unistd.h>

/// Serves the two queues, the commands on standard input and the signals SIGTERM and SIGINT.
/// Requests are answered on a thread of their own, straight from the queue; delayed answers leave
/// in the order in which they are due while further requests are served. Removed queues are found
/// or made again. Device, answerer and log are used under one lock only.
class QueueServer
{
public:
    enum class Result { stopped, wrongCommand };

    /// All of them outlive the server. Blocks SIGTERM and SIGINT for the process.
    QueueServer(QueuePair &queues, FrameAnswerer &answerer, SimulatedDevice &device, FrameLog &log);

    /// Runs until a signal, `quit` or a wrong command; the end of standard input does not end it.
    Result run(CommandReader &commands);

private:
    using Clock = std::chrono::steady_clock;

    void receiveRequests(const std::atomic<bool> &stopping);
    void serveRequest();
    void reopen();
    void send(const Exchange &exchange);
    void sendDue();
    [[nodiscard]] Clock::duration untilNextDue();
    [[nodiscard]] CommandReader::State readCommands(CommandReader &commands);

    QueuePair &_queues;
    FrameAnswerer &_answerer;
    SimulatedDevice &_device;
    FrameLog &_log;

    std::mutex _mutex;
    std::multimap<Clock::time_point, Exchange> _delayed;

    Descriptor _signals;
    Descriptor _newDelay;
    int _commandInput = STDIN_FILENO;
};
