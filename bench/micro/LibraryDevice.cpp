#include "LibraryDevice.h"

#include "tarnodevice.h"

#include <cerrno>
#include <csignal>
#include <system_error>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
[[noreturn]] void serve(std::uint16_t objId, std::uint32_t value)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
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
    _exit(ECANCELED);
}
} // namespace

LibraryDevice::LibraryDevice(std::uint16_t objId, std::uint32_t value) : _process(fork())
{
    if (_process == 0) {
        serve(objId, value);
    }
    if (_process == -1) {
        throw std::system_error(errno, std::generic_category(), "fork");
    }
}

LibraryDevice::~LibraryDevice()
{
    kill(_process, SIGKILL);
    waitpid(_process, nullptr, 0);
}
