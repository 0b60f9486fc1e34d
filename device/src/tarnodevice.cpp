#include "tarnodevice.h"

#include "Device.h"
#include "Version.h"

#include <cerrno>
#include <cstdlib>
#include <new>

const char *tarno_version(void)
{
    return TARNO_LIBRARY_VERSION;
}

tarno_device *tarno_device_new(const tarno_options *options)
{
    void *const memory = std::malloc(sizeof(tarno_device));
    return memory == nullptr ? nullptr
                             : new (memory)
                                   tarno_device(options == nullptr ? tarno_options{} : *options);
}

void tarno_device_free(tarno_device *device)
{
    if (device != nullptr) {
        device->~tarno_device();
        std::free(device);
    }
}

int tarno_device_add(tarno_device *device, const tarno_object *objects, size_t count)
{
    return -device->add(objects, count);
}

int tarno_device_open(tarno_device *device)
{
    return -device->open();
}

int tarno_device_step(tarno_device *device, int milliseconds)
{
    int error = 0;
    switch (device->step(milliseconds, error)) {
    case tarno_device::Step::served:
        return 1;
    case tarno_device::Step::failed:
        return -error;
    default:
        return 0;
    }
}

int tarno_device_serve(tarno_device *device)
{
    device->serve();
    return 0;
}

void tarno_device_stop(tarno_device *device)
{
    device->stop();
}

int tarno_device_start(tarno_device *device)
{
    return -device->start();
}

int tarno_device_join(tarno_device *device)
{
    return -device->join();
}

void tarno_device_statistics(const tarno_device *device, tarno_statistics *statistics)
{
    *statistics = device->statistics();
}
