#include "tarnodevice.h"

#include "Device.h"
#include "RawLink.h"
#include "Version.h"

#include <cerrno>
#include <cstdlib>
#include <new>

namespace
{
/// Null if memory is exhausted: `new` needs the C++ runtime.
template <typename Made>
Made *make(const tarno_options *options)
{
    void *const memory = std::malloc(sizeof(Made));
    return memory == nullptr ? nullptr
                             : new (memory) Made(options == nullptr ? tarno_options{} : *options);
}

template <typename Made>
void destroy(Made *made)
{
    if (made != nullptr) {
        made->~Made();
        std::free(made);
    }
}
} // namespace

const char *tarno_version(void)
{
    return TARNO_LIBRARY_VERSION;
}

tarno_device *tarno_device_new(const tarno_options *options)
{
    return make<tarno_device>(options);
}

void tarno_device_free(tarno_device *device)
{
    destroy(device);
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

tarno_link *tarno_link_new(const tarno_options *options)
{
    return make<tarno_link>(options);
}

void tarno_link_free(tarno_link *link)
{
    destroy(link);
}

int tarno_link_open(tarno_link *link)
{
    return -link->open();
}

int tarno_link_receive(tarno_link *link, int milliseconds, const void **request, size_t *size)
{
    tarno::Queues::Bytes bytes;
    const int error = link->receive(milliseconds, bytes);
    if (error == 0) {
        *request = bytes.data;
        *size = bytes.size;
        return 1;
    }
    return error == EINTR || error == ENOMSG ? 0 : -error;
}

int tarno_link_send(tarno_link *link, const void *answer, size_t size)
{
    return -link->send({.data = static_cast<const std::uint8_t *>(answer), .size = size});
}

void tarno_link_stop(tarno_link *link)
{
    link->stop();
}

int tarno_link_remove_own(tarno_link *link)
{
    return -link->removeOwn();
}
