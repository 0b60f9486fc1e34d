#include "DeviceFixture.h"

#include "support/SystemCalls.h"

namespace
{
constexpr std::uint8_t readRequest = 2;
constexpr std::uint8_t writeRequest = 1;
constexpr std::uint8_t readLength = 7;
constexpr std::size_t lengthOverhead = 3;

std::uint8_t low(std::uint16_t number)
{
    return static_cast<std::uint8_t>(number);
}

std::uint8_t high(std::uint16_t number)
{
    return static_cast<std::uint8_t>(number >> 8);
}
} // namespace

DeviceFixture::DeviceFixture()
{
    systemCalls::reset();
    linkQueues::remove();
    device.reset(tarno_device_new(nullptr));
}

DeviceFixture::~DeviceFixture()
{
    device.reset();
    systemCalls::reset();
    linkQueues::remove();
}

void DeviceFixture::isMadeWith(const tarno_options &options)
{
    device.reset(tarno_device_new(&options));
}

void DeviceFixture::declares(const tarno_object &object)
{
    ASSERT_EQ(tarno_device_add(device.get(), &object, 1), 0);
}

void DeviceFixture::declaresNumber(tarno_kind kind, std::size_t width, void *variable,
                                   bool writable)
{
    declares({.id = id,
              .kind = kind,
              .width = width,
              .writable = writable ? 1 : 0,
              .get = nullptr,
              .set = nullptr,
              .user = variable});
}

int DeviceFixture::step()
{
    return tarno_device_step(device.get(), 0);
}

Frame DeviceFixture::answerTo(const Frame &request)
{
    linkQueues::putRequest(request);
    EXPECT_EQ(step(), 1);
    return linkQueues::takeAnswer().value_or(Frame());
}

tarno_statistics DeviceFixture::statistics() const
{
    tarno_statistics copy{};
    tarno_device_statistics(device.get(), &copy);
    return copy;
}

Frame DeviceFixture::readOf(std::uint16_t object)
{
    return {readRequest, readLength, low(object), high(object), 0, 0, 0, 0};
}

Frame DeviceFixture::writeOf(std::uint16_t object, const Frame &value)
{
    Frame frame{writeRequest, static_cast<std::uint8_t>(value.size() + lengthOverhead), low(object),
                high(object)};
    frame.insert(frame.end(), value.begin(), value.end());
    return frame;
}
