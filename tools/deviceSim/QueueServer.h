#pragma once

#include "CommandReader.h"
#include "Descriptor.h"
#include "FrameAnswerer.h"
#include "FrameLog.h"
#include "InterruptibleThread.h"
#include "tarnodevice.h"

#include <atomic>
#include <cstdint>
#include <list>
#include <mutex>
#include <span>

#include <unistd.h>

/// Serves the two queues, commands on standard input, and the signals SIGTERM and SIGINT. One
/// thread serves requests strictly one after another: the next one stays in the queue until the
/// answer to the one before has been sent. On a concurrent device, a request that is held up gets
/// its own thread, so others can overtake it. Removed queues are found or created again. One lock
/// protects device, answerer and log.
class QueueServer
{
public:
    enum class Result { stopped, wrongCommand };

    /// All of them must outlive the server. Blocks SIGTERM and SIGINT in the process.
    QueueServer(tarno_link &link, FrameAnswerer &answerer, SimulatedDevice &device, FrameLog &log);

    /// Runs until a signal, `quit` or the failure of the commands; continues after the end of
    /// standard input.
    Result run(CommandReader &commands);

private:
    using Request = std::span<const std::uint8_t>;
    using Threads = std::list<InterruptibleThread>;

    void receiveRequests(const std::atomic<bool> &stopping);
    void serveRequest(Request frame, Threads &heldUp, const std::atomic<bool> &stopping);
    [[nodiscard]] Exchange takeRequest(Request frame);
    void answer(Exchange &exchange, const std::atomic<bool> &stopping);
    void send(const Exchange &exchange);
    void reopen();
    [[nodiscard]] CommandReader::State readCommands(CommandReader &commands);

    tarno_link &_link;
    FrameAnswerer &_answerer;
    SimulatedDevice &_device;
    FrameLog &_log;

    std::mutex _mutex;
    Descriptor _signals;
    int _commandInput = STDIN_FILENO;
};
