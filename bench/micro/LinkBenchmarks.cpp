#include "DataManage.h"
#include "DeviceFrame.h"
#include "EchoDevice.h"
#include "Measuring.h"
#include "QuietOutput.h"
#include "RawQueues.h"
#include "SampleMapping.h"
#include "SnmpDataBase.h"

#include <chrono>

#include <benchmark/benchmark.h>

namespace
{
using measuring::measure;
using sampleMapping::firstScalar;

constexpr std::ptrdiff_t answerSize = 10;

/// A link past its start-up.
class Link : public DataManage
{
public:
    explicit Link(const LinkPolicy &policy = {}) : DataManage(policy) { limitWaits(); }
};

Frame readRequest()
{
    const auto request = deviceFrame::makeReadRequest(firstScalar);
    return {request.begin(), request.end()};
}

/// The baseline of all that follow: the kernel's cost of one message each way.
void rawExchange(benchmark::State &state)
{
    const EchoDevice device(sampleMapping::answers({}));
    RawQueues queues;
    const Frame request = readRequest();
    std::ptrdiff_t received = 0;
    measure(
        state, [&] { received = queues.exchange(request); },
        [&] { return received == answerSize; });
}

/// With the other calls that the link has to make.
void rawDrainedExchange(benchmark::State &state)
{
    const EchoDevice device(sampleMapping::answers({}));
    RawQueues queues;
    const Frame request = readRequest();
    std::ptrdiff_t received = 0;
    measure(
        state, [&] { received = queues.drainedExchange(request); },
        [&] { return received == answerSize; });
}

void readObject(benchmark::State &state, const LinkPolicy &policy)
{
    const QuietOutput quiet;
    const EchoDevice device(sampleMapping::answers({}));
    Link link(policy);
    DeviceValue value;
    std::uint32_t status = 0;
    measure(
        state, [&] { status = link.getObjValue(firstScalar, value); },
        [&] { return status == 0 && value.int32() == sampleMapping::value; });
}

void writeObject(benchmark::State &state)
{
    const QuietOutput quiet;
    const EchoDevice device(sampleMapping::answers({}));
    Link link;
    DeviceValue value;
    value.len = deviceFrame::int32Length;
    std::uint32_t status = 0;
    measure(
        state, [&] { status = link.setObjValue(firstScalar, value); }, [&] { return status == 0; });
}

/// A read as SNMP sees the object: with the mapping's record and the conversion.
void select(benchmark::State &state)
{
    const QuietOutput quiet;
    const EchoDevice device(sampleMapping::answers({}));
    const MappingFile file;
    sampleMapping::fill(file, {});
    SnmpDataBase database(file.path());
    Link link;
    DeviceValue value;
    value.oid = firstScalar;
    std::int32_t status = 0;
    measure(
        state, [&] { status = link.select(value, database); },
        [&] { return status == 0 && value.int32() == sampleMapping::value; });
}

constexpr LinkPolicy unbounded{.answerWait = std::chrono::milliseconds(0),
                               .silentAnswerWait = std::chrono::milliseconds(0)};

BENCHMARK(rawExchange)->UseRealTime();
BENCHMARK(rawDrainedExchange)->UseRealTime();
BENCHMARK_CAPTURE(readObject, waitUnbounded, unbounded)->UseRealTime();
BENCHMARK_CAPTURE(readObject, waitBounded, LinkPolicy{})->UseRealTime();
BENCHMARK(select)->UseRealTime();
BENCHMARK(writeObject)->UseRealTime();
} // namespace
