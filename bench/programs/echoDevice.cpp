#include "benchObjects.h"
#include "benchOptions.h"

#include "Descriptor.h"
#include "DeviceFrame.h"
#include "DeviceObjects.h"
#include "FrameAnswerer.h"
#include "tarnodevice.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>
#include <string_view>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

/// The device of the measurements: computes an answer to each frame and does nothing else. Counts
/// the answered frames of each kind in a shared file.
namespace
{
using deviceFrame::Command;
using Bytes = std::span<const std::uint8_t>;

constexpr std::uint8_t eightRows = 1;
constexpr int untilStopped = -1;
constexpr std::uint16_t textAttribute = static_cast<std::uint16_t>(ValueKind::string)
                                        << valueKindShift;

/// The content of the shared file.
struct Counts {
    std::uint64_t reads;
    std::uint64_t writes;
};

/// Increments in one store, so that a concurrent reader never sees a torn number.
void countOne(std::uint64_t &count)
{
    std::atomic_ref shared(count);
    shared.store(count + 1, std::memory_order_relaxed);
}

class EchoDevice
{
public:
    EchoDevice(const benchStore &store, Counts &counts) : _store(store), _counts(counts) {}

    /// The answer to a request, valid until the next one; empty if it is not a request.
    Bytes answer(Bytes request)
    {
        if (request.size() < deviceFrame::writeHeaderSize) {
            return {};
        }
        std::uint16_t id = 0;
        std::memcpy(&id, &request[deviceFrame::requestIdOffset], sizeof id);
        switch (static_cast<Command>(request[0])) {
        case Command::readRequest:
            countOne(_counts.reads);
            return read(id);
        case Command::writeRequest:
            countOne(_counts.writes);
            return write(id, request.subspan(deviceFrame::writeHeaderSize));
        default:
            return {};
        }
    }

private:
    Bytes read(std::uint16_t id)
    {
        if (id == deviceObject::baseOid) {
            constexpr std::string_view base = BENCH_BASE_TEXT;
            return readAnswer(id, textAttribute, base.data(), base.size());
        }
        if (id == deviceObject::tableRows) {
            return readAnswer(id, 0, &eightRows, sizeof eightRows);
        }
        const long *const stored = benchStored(&_store, id);
        if (stored == nullptr) {
            _answer[0] = refusal::ofRead;
            return header(lengthOverhead, 0, id);
        }
        const auto number = static_cast<std::uint32_t>(*stored);
        return readAnswer(id, writableBit, &number, sizeof number);
    }

    Bytes write(std::uint16_t id, Bytes value)
    {
        long *const stored = benchStored(&_store, id);
        std::uint32_t number = 0;
        const bool accepted = stored != nullptr && value.size() == sizeof number;
        if (accepted) {
            std::memcpy(&number, value.data(), sizeof number);
            *stored = static_cast<long>(number);
        }
        _answer[0] =
            accepted ? static_cast<std::uint8_t>(Command::writeAccepted) : refusal::ofWrite;
        _answer[1] = deviceFrame::int32Length;
        std::memcpy(&_answer[deviceFrame::requestIdOffset], &id, sizeof id);
        return Bytes(_answer).first(deviceFrame::writeHeaderSize);
    }

    Bytes readAnswer(std::uint16_t id, std::uint16_t attribute, const void *value, std::size_t size)
    {
        _answer[0] = static_cast<std::uint8_t>(Command::readAnswer);
        std::memcpy(&_answer[deviceFrame::answerHeaderSize], value, size);
        return header(static_cast<std::uint8_t>(lengthOverhead + size), attribute, id);
    }

    /// The answer with its header filled in after the command.
    Bytes header(std::uint8_t length, std::uint16_t attribute, std::uint16_t id)
    {
        _answer[1] = length;
        std::memcpy(&_answer[deviceFrame::answerAttributeOffset], &attribute, sizeof attribute);
        std::memcpy(&_answer[deviceFrame::answerIdOffset], &id, sizeof id);
        return Bytes(_answer).first(deviceFrame::answerHeaderSize + length - lengthOverhead);
    }

    const benchStore &_store;
    Counts &_counts;
    std::array<std::uint8_t, 64> _answer{};
};

/// Maps the counts in the file for the life of the process; null, with errno set, on failure.
Counts *mapCounts(const char *path)
{
    const Descriptor file(open(path, O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
    if (file.get() < 0 || ftruncate(file.get(), sizeof(Counts)) != 0) {
        return nullptr;
    }
    void *const memory =
        mmap(nullptr, sizeof(Counts), PROT_READ | PROT_WRITE, MAP_SHARED, file.get(), 0);
    return memory == MAP_FAILED ? nullptr : static_cast<Counts *>(memory);
}

/// Serves until the queues are removed.
void serve(tarno_link &link, EchoDevice &device)
{
    const void *request = nullptr;
    std::size_t size = 0;
    while (tarno_link_receive(&link, untilStopped, &request, &size) > 0) {
        const Bytes answer = device.answer({static_cast<const std::uint8_t *>(request), size});
        if (answer.empty()) {
            continue;
        }
        if (const int error = -tarno_link_send(&link, answer.data(), answer.size()); error != 0) {
            std::fprintf(stderr, "echoDevice: answer lost: %s\n", std::strerror(error));
        }
    }
}
} // namespace

int main(int argc, char **argv)
{
    const benchOptions options = readBenchOptions(argc, argv);
    if (options.argument == nullptr) {
        refuseBenchOptions(argv[0]);
    }
    Counts *const counts = mapCounts(options.argument);
    tarno_link *const link = tarno_link_new(nullptr);
    if (counts == nullptr || link == nullptr || tarno_link_open(link) != 0) {
        std::perror("echoDevice");
        return EXIT_FAILURE;
    }
    const benchStore store = makeBenchStore(options.scalars, options.columns);
    EchoDevice device(store, *counts);
    std::puts("ready");
    std::fflush(stdout);
    serve(*link, device);
    tarno_link_free(link);
    return EXIT_SUCCESS;
}
