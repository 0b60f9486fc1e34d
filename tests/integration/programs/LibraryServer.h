#pragma once

#include "FrameAnswerer.h"
#include "FrameLog.h"
#include "tarnodevice.h"

#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <vector>

/// Serves the objects of a simulated device through the device library, as the application of a
/// maker does. Getters and setters play the faults that an application can have: it is slow, has no
/// answer, or refuses. Any other fault ends the process: the library prevents it. Requests and
/// answers are logged as they would be on the queues.
class LibraryServer
{
public:
    /// All of them must outlive the server; `lock` protects them.
    LibraryServer(SimulatedDevice &device, FrameAnswerer &answerer, FrameLog &log,
                  std::mutex &lock);
    ~LibraryServer();
    LibraryServer(const LibraryServer &) = delete;
    LibraryServer &operator=(const LibraryServer &) = delete;

private:
    struct Free {
        void operator()(tarno_device *device) const { tarno_device_free(device); }
    };

    static tarno_outcome get(void *user, std::uint16_t id, tarno_value *value);
    static tarno_outcome set(void *user, std::uint16_t id, const tarno_value *value);

    void declare(const DeviceObject &object);
    [[nodiscard]] tarno_outcome play(const std::vector<std::uint8_t> &request);

    SimulatedDevice &_device;
    FrameAnswerer &_answerer;
    FrameLog &_log;
    std::mutex &_lock;
    std::unique_ptr<tarno_device, Free> _served;
};
