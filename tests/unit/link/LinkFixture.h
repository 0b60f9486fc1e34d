#pragma once

#include "DataManage.h"
#include "support/LinkQueues.h"
#include "support/ScriptedDevice.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

/// A link with waits that the test chooses.
class TestLink : public DataManage
{
public:
    explicit TestLink(const LinkPolicy &policy) : DataManage(policy) {}
};

/// The port's line for a failed receive.
std::string errnoLine(const std::string &text, int code);
std::string timedOutLine();
std::string badAddressLine();
std::string tooLongLine();

/// Attribute words of the four kinds of values.
namespace attribute
{
inline constexpr std::uint16_t unsignedInteger = 0x0000;
inline constexpr std::uint16_t signedInteger = 0x0100;
inline constexpr std::uint16_t string = 0x0200;
inline constexpr std::uint16_t other = 0x0300;
} // namespace attribute

using ObjIds = std::vector<std::uint16_t>;

/// Fresh queues and, once a test has opened it, a link on them. The output of exchanges is
/// captured: `printed` holds that of the last one.
class LinkFixture : public testing::Test
{
public:
    LinkFixture(const LinkFixture &) = delete;
    LinkFixture &operator=(const LinkFixture &) = delete;

protected:
    LinkFixture();
    ~LinkFixture() override;

    /// A link past its start-up: in step, with bounded waits. There is no device afterwards.
    void openLink(const LinkPolicy &policy);
    /// The same with a device that stays.
    void openLinkTo(ScriptedDevice &device, const LinkPolicy &policy);
    /// A link that is still in start-up.
    void openLinkInStartUp(const LinkPolicy &policy);

    std::uint32_t read(std::uint16_t objId);
    std::uint32_t write(std::uint16_t objId, const DeviceValue &toWrite);

    static std::string capture(const std::function<void()> &action);

    std::unique_ptr<TestLink> link;
    DeviceValue value;
    std::string printed;
};
