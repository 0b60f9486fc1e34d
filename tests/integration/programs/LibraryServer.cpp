#include "LibraryServer.h"

#include "DeviceFrame.h"
#include "InputError.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <span>
#include <string>
#include <thread>

namespace
{
constexpr std::array playable{FaultKind::pause, FaultKind::delay, FaultKind::silent,
                              FaultKind::error};

/// A test that asks for more has no meaning.
void requirePlayable(const Faults::Active &faults)
{
    for (const auto &[kind, fault] : faults) {
        if (std::find(playable.begin(), playable.end(), kind) == playable.end()) {
            std::fputs("libraryDevice: the library prevents this fault\n", stderr);
            std::abort();
        }
    }
}

void require(int result, const char *what)
{
    if (result != 0) {
        throw InputError(std::string(what) + ": " + std::strerror(-result));
    }
}

std::vector<std::uint8_t> readRequest(std::uint16_t id)
{
    const auto request = deviceFrame::makeReadRequest(id);
    return {request.begin(), request.end()};
}

std::vector<std::uint8_t> bytesOf(const tarno_value &value)
{
    std::vector<std::uint8_t> bytes(value.width);
    const std::uint32_t number =
        value.kind == TARNO_SIGNED ? static_cast<std::uint32_t>(value.s) : value.u;
    const void *const source = value.kind == TARNO_TEXT || value.kind == TARNO_BYTES
                                   ? static_cast<const void *>(value.data)
                                   : &number;
    std::memcpy(bytes.data(), source, bytes.size());
    return bytes;
}

std::vector<std::uint8_t> writeRequest(std::uint16_t id, const tarno_value &value)
{
    std::vector<std::uint8_t> request{static_cast<std::uint8_t>(deviceFrame::Command::writeRequest),
                                      static_cast<std::uint8_t>(value.width + lengthOverhead),
                                      static_cast<std::uint8_t>(id),
                                      static_cast<std::uint8_t>(id >> 8)};
    const std::vector<std::uint8_t> bytes = bytesOf(value);
    request.insert(request.end(), bytes.begin(), bytes.end());
    return request;
}

void fill(tarno_value &value, std::span<const std::uint8_t> bytes)
{
    if (value.kind == TARNO_TEXT || value.kind == TARNO_BYTES) {
        std::memcpy(value.data, bytes.data(), std::min(bytes.size(), value.width));
        return;
    }
    std::uint32_t number = 0;
    std::memcpy(&number, bytes.data(), std::min(bytes.size(), sizeof number));
    value.u = number;
    value.s = static_cast<std::int32_t>(number);
}
} // namespace

LibraryServer::LibraryServer(SimulatedDevice &device, FrameAnswerer &answerer, FrameLog &log,
                             std::mutex &lock)
    : _device(device), _answerer(answerer), _log(log), _lock(lock),
      _served(tarno_device_new(nullptr))
{
    if (!_served) {
        throw std::bad_alloc();
    }
    for (const auto &[id, object] : _device.objects) {
        declare(object);
    }
    require(tarno_device_open(_served.get()), "message queues");
    require(tarno_device_start(_served.get()), "thread");
}

LibraryServer::~LibraryServer()
{
    tarno_device_join(_served.get());
}

void LibraryServer::declare(const DeviceObject &object)
{
    const bool isWritable = (object.attribute() & writableBit) != 0;
    const tarno_object declared{.id = object.id(),
                                .kind = static_cast<tarno_kind>(object.kind()),
                                .width = object.value().size(),
                                .writable = isWritable ? 1 : 0,
                                .get = get,
                                .set = set,
                                .user = this};
    require(tarno_device_add(_served.get(), &declared, 1), "object");
}

tarno_outcome LibraryServer::get(void *user, std::uint16_t id, tarno_value *value)
{
    auto &self = *static_cast<LibraryServer *>(user);
    const tarno_outcome outcome = self.play(readRequest(id));
    const std::lock_guard lock(self._lock);
    fill(*value, self._device.find(id)->value());
    return outcome;
}

tarno_outcome LibraryServer::set(void *user, std::uint16_t id, const tarno_value *value)
{
    return static_cast<LibraryServer *>(user)->play(writeRequest(id, *value));
}

tarno_outcome LibraryServer::play(const std::vector<std::uint8_t> &request)
{
    std::unique_lock lock(_lock);
    Exchange exchange = _answerer.take(request);
    _log.request(exchange, _device);
    lock.unlock();
    requirePlayable(exchange.faults);
    std::this_thread::sleep_for(exchange.pause);
    lock.lock();
    _answerer.carryOut(exchange);
    lock.unlock();
    std::this_thread::sleep_for(exchange.delay);
    if (exchange.copies == 0) {
        return TARNO_NOT_NOW;
    }
    lock.lock();
    _log.answer(exchange.request, exchange.answer);
    const auto command = static_cast<deviceFrame::Command>(exchange.answer[0]);
    const bool isDone = command == deviceFrame::Command::readAnswer ||
                        command == deviceFrame::Command::writeAccepted;
    return isDone ? TARNO_DONE : TARNO_FAILED;
}
