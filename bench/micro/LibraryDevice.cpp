#include "LibraryDevice.h"

#include "tarnodevice.h"

namespace
{
void serve(std::uint16_t objId, std::uint32_t value)
{
    const tarno_object object{.id = objId,
                              .kind = TARNO_UNSIGNED,
                              .width = sizeof value,
                              .writable = 0,
                              .get = nullptr,
                              .set = nullptr,
                              .user = &value};
    tarno_device *const device = tarno_device_new(nullptr);
    if (device != nullptr && tarno_device_add(device, &object, 1) == 0) {
        tarno_device_serve(device);
    }
}
} // namespace

LibraryDevice::LibraryDevice(std::uint16_t objId, std::uint32_t value)
    : _process([=] { serve(objId, value); })
{
}
