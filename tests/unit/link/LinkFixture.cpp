#include "link/LinkFixture.h"

#include "DeviceObjects.h"
#include "support/CapturedOutput.h"
#include "support/SystemCalls.h"

std::string errnoLine(const std::string &text, int code)
{
    return "called, failed: errno: " + text + ", error code:" + std::to_string(code) + "\n";
}

std::string timedOutLine()
{
    return errnoLine("Connection timed out", 110);
}

std::string badAddressLine()
{
    return errnoLine("Bad address", 14);
}

std::string tooLongLine()
{
    return errnoLine("Argument list too long", 7);
}

LinkFixture::LinkFixture()
{
    systemCalls::reset();
    linkQueues::remove();
}

LinkFixture::~LinkFixture()
{
    systemCalls::reset();
    linkQueues::remove();
}

void LinkFixture::openLink(const LinkPolicy &policy)
{
    ScriptedDevice device;
    openLinkTo(device, policy);
}

void LinkFixture::openLinkTo(ScriptedDevice &device, const LinkPolicy &policy)
{
    openLinkInStartUp(policy);
    capture([this] {
        for (const std::uint16_t id : {deviceObject::baseOid, deviceObject::tableRows}) {
            link->getObjValue(id, value);
        }
    });
    device.forgetRequests();
    value = {};
    link->limitWaits();
}

void LinkFixture::openLinkInStartUp(const LinkPolicy &policy)
{
    printed = capture([&] { link = std::make_unique<TestLink>(policy); });
}

std::uint32_t LinkFixture::read(std::uint16_t objId)
{
    std::uint32_t status = 0;
    printed = capture([&] { status = link->getObjValue(objId, value); });
    return status;
}

std::uint32_t LinkFixture::write(std::uint16_t objId, const DeviceValue &toWrite)
{
    std::uint32_t status = 0;
    printed = capture([&] { status = link->setObjValue(objId, toWrite); });
    return status;
}

std::string LinkFixture::capture(const std::function<void()> &action)
{
    CapturedOutput output;
    action();
    return output.text();
}
