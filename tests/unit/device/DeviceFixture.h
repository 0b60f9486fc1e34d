#pragma once

#include "support/LinkQueues.h"
#include "tarnodevice.h"

#include <cstdint>
#include <memory>
#include <vector>

#include <gtest/gtest.h>

/// A device of the library on the real queues, with the agent's side played by hand.
class DeviceFixture : public testing::Test
{
public:
    DeviceFixture(const DeviceFixture &) = delete;
    DeviceFixture &operator=(const DeviceFixture &) = delete;

protected:
    static constexpr std::uint16_t id = 0x0123;

    DeviceFixture();
    ~DeviceFixture() override;

    /// Starts anew, without objects.
    void isMadeWith(const tarno_options &options);

    /// Fails the test unless the object can be declared.
    void declares(const tarno_object &object);
    /// Declares a variable of the test.
    void declaresNumber(tarno_kind kind, std::size_t width, void *variable, bool writable = false);

    /// One step that does not wait.
    int step();
    /// Sends a request and serves it. Returns the answer, or an empty frame if none was sent.
    Frame answerTo(const Frame &request);

    [[nodiscard]] tarno_statistics statistics() const;

    static Frame readOf(std::uint16_t object);
    static Frame writeOf(std::uint16_t object, const Frame &value);

    struct Free {
        void operator()(tarno_device *made) const { tarno_device_free(made); }
    };

    std::unique_ptr<tarno_device, Free> device;
};
