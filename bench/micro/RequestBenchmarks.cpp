#include "DataManage.h"
#include "EchoDevice.h"
#include "Measuring.h"
#include "QuietOutput.h"
#include "RawQueues.h"
#include "SampleMapping.h"
#include "SnmpAgentX.h"
#include "agent/AgentLibrary.h"

#include <algorithm>
#include <array>
#include <vector>

#include <benchmark/benchmark.h>

namespace
{
using measuring::measure;

const Name base = {1, 3, 6, 1, 4, 1, 32473, 8, 2, 2, 3, 8};
const Name scalarVariable = below(base, {1, 2, 1});
const Name scalar = below(scalarVariable, {0});
const Name cellEntry = below(base, {3, 1, 1});
const Name rowNumber = below(cellEntry, {1, 1, 0});
const Name cell = below(cellEntry, {2, 1, 0});
/// Next to what the agent registers.
const Name constantVariable = below(base, {9, 1, 1});
const Name constant = below(constantVariable, {0});
const Name queueVariable = below(base, {9, 1, 2});
const Name queue = below(queueVariable, {0});

/// Returns the value that the baseline's find functions serve.
u_char *serveInteger(const struct variable *variable, oid *name, size_t *length,
                     size_t *valueLength)
{
    static std::array<u_char, sizeof(long)> s_answer{sampleMapping::value};
    std::copy_n(variable->name, variable->namelen, name);
    name[variable->namelen] = 0;
    *length = variable->namelen + 1U;
    *valueLength = sizeof(std::int32_t);
    return s_answer.data();
}

u_char *serveConstant(struct variable *variable, oid *name, size_t *length, int /*exact*/,
                      size_t *valueLength, WriteMethod ** /*writeMethod*/)
{
    return serveInteger(variable, name, length, valueLength);
}

u_char *serveAfterExchange(struct variable *variable, oid *name, size_t *length, int /*exact*/,
                           size_t *valueLength, WriteMethod ** /*writeMethod*/)
{
    static RawQueues s_queues;
    static const Frame s_request = {2, 7, 0, 0x10, 0, 0, 0, 0};
    s_queues.exchange(s_request);
    return serveInteger(variable, name, length, valueLength);
}

void registerMeasures()
{
    static std::array<struct variable3, 2> s_variables{
        {{1, ASN_INTEGER, RONLY, serveConstant, 3, {9, 1, 1}},
         {2, ASN_INTEGER, RONLY, serveAfterExchange, 3, {9, 1, 2}}}};
    register_mib("measures", reinterpret_cast<struct variable *>(s_variables.data()),
                 sizeof(struct variable3), s_variables.size(), base.data(), base.size());
}

/// Records with a text too long for a string's inline buffer, so that each copy of one allocates.
constexpr sampleMapping::Size size{.text = "a text of more than a few characters"};

/// Registers everything that the agent registers, once: its classes and the library keep it.
void startAgent()
{
    [[maybe_unused]] static const bool s_started = [] {
        const QuietOutput quiet;
        const EchoDevice device(sampleMapping::answers(size));
        const MappingFile file;
        sampleMapping::fill(file, size);
        agentLibrary::start();
        SnmpAgentX::getInstance(file.path());
        SnmpAgentX::registerScalarObjects();
        SnmpAgentX::getInstance()->registerTableObjects();
        registerMeasures();
        DataManage::getInstance()->limitWaits();
        return true;
    }();
}

/// The find function of the scalars alone, without the library around it.
void findVariable(benchmark::State &state)
{
    startAgent();
    const QuietOutput quiet;
    const EchoDevice device(sampleMapping::answers(size));
    // As the library passes it: with the whole name.
    struct variable variable = {};
    variable.magic = 1;
    std::copy(scalarVariable.begin(), scalarVariable.end(), variable.name);
    variable.namelen = static_cast<u_char>(scalarVariable.size());
    std::array<oid, MAX_OID_LEN> name{};
    const u_char *answer = nullptr;
    measure(
        state,
        [&] {
            std::copy(scalar.begin(), scalar.end(), name.begin());
            std::size_t length = scalar.size();
            std::size_t valueLength = 0;
            WriteMethod *writeMethod = nullptr;
            answer = SnmpAgentX::read_Var(&variable, name.data(), &length, 1, &valueLength,
                                          &writeMethod);
        },
        [&] { return answer != nullptr && answer[0] == sampleMapping::value; });
}

void get(benchmark::State &state, const Name &name, long expected)
{
    startAgent();
    const QuietOutput quiet;
    const EchoDevice device(sampleMapping::answers(size));
    long value = 0;
    measure(
        state,
        [&] {
            ManagerRequest request;
            request.asksFor(name);
            request.run(MODE_GET);
            value = request.integer(0);
        },
        [&] { return value == expected; });
}

void set(benchmark::State &state, const Name &name)
{
    startAgent();
    const QuietOutput quiet;
    const EchoDevice device(sampleMapping::answers(size));
    int status = 0;
    measure(
        state,
        [&] {
            ManagerRequest request;
            request.setsInteger(name, sampleMapping::value);
            status = request.runSet();
        },
        [&] { return status == SNMP_ERR_NOERROR; });
}

BENCHMARK(findVariable)->UseRealTime();
BENCHMARK_CAPTURE(get, constant, constant, sampleMapping::value)->UseRealTime();
BENCHMARK_CAPTURE(get, constantAndRawExchange, queue, sampleMapping::value)->UseRealTime();
BENCHMARK_CAPTURE(get, scalar, scalar, sampleMapping::value)->UseRealTime();
BENCHMARK_CAPTURE(get, rowNumber, rowNumber, 1)->UseRealTime();
BENCHMARK_CAPTURE(get, cell, cell, sampleMapping::value)->UseRealTime();
BENCHMARK_CAPTURE(set, scalar, scalar)->UseRealTime();
BENCHMARK_CAPTURE(set, cell, cell)->UseRealTime();
} // namespace
