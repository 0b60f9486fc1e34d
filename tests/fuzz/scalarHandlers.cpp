// Arbitrary: requests through the agent library to any scalar, of any type, with any name below and
// next to it, several varbinds, any order of phases; calls of the find and the write function with
// any variable, name, type and length; what the device holds and does.
// Must hold: an answer is in the agent's own buffer and has a length that its type allows; the name
// in an answer is the scalar's instance and, for getnext, after the requested name; statuses are
// those of SNMP; and the next good request is answered correctly.

#include "support/HandlerWorld.h"
#include "support/Invariant.h"
#include "support/LibraryRequest.h"

#include <algorithm>
#include <array>
#include <memory>

#include <fuzzer/FuzzedDataProvider.h>

namespace
{
constexpr std::array<int, 6> setPhases{MODE_SET_RESERVE1, MODE_SET_RESERVE2, MODE_SET_ACTION,
                                       MODE_SET_COMMIT,   MODE_SET_FREE,     MODE_SET_UNDO};

Name arbitraryName(FuzzedDataProvider &input, std::size_t most)
{
    Name name(input.ConsumeIntegralInRange<std::size_t>(0, most));
    for (oid &arc : name) {
        arc = input.ConsumeBool() ? input.ConsumeIntegral<std::uint32_t>()
                                  : input.ConsumeIntegralInRange<oid>(0, 3);
    }
    return name;
}

Name scalarName(FuzzedDataProvider &input)
{
    return below(handlerWorld::base(),
                 {1, 1, input.ConsumeIntegralInRange<oid>(1, handlerWorld::scalarCount())});
}

void askTheLibrary(FuzzedDataProvider &input)
{
    const Name scalar = scalarName(input);
    netsnmp_handler_registration *const registration = agentLibrary::registrationAt(scalar);
    mustHold(registration != nullptr, "every scalar is registered");
    LibraryRequest request(*registration);
    // Reads reach a subagent as names without values.
    const bool isSet = input.ConsumeBool();
    for (unsigned varbinds = input.ConsumeIntegralInRange(1U, 3U); varbinds > 0; --varbinds) {
        const Name name =
            input.ConsumeBool() ? below(scalar, {0}) : below(scalar, arbitraryName(input, 4));
        if (isSet) {
            request.add(name, input.ConsumeIntegral<std::uint8_t>(), arbitraryBytes(input));
        } else {
            request.add(name, ASN_NULL, "");
        }
    }
    if (!isSet) {
        request.run(input.ConsumeBool() ? MODE_GET : MODE_GETNEXT);
        return;
    }
    const bool inOrder = input.ConsumeBool();
    // The library always starts with a reserve phase.
    int status = request.run(MODE_SET_RESERVE1);
    for (std::size_t phase = 1; phase < 4 && status == SNMP_ERR_NOERROR; ++phase) {
        status = request.run(inOrder ? setPhases.at(phase) : input.PickValueInArray(setPhases));
    }
    request.run(status == SNMP_ERR_NOERROR ? MODE_SET_COMMIT : MODE_SET_FREE);
}

struct variable arbitraryVariable(FuzzedDataProvider &input)
{
    struct variable variable = {};
    variable.magic = input.ConsumeIntegral<u_char>();
    variable.type = input.ConsumeIntegral<char>();
    variable.findVar = SnmpAgentX::read_Var;
    const Name name = input.ConsumeBool() ? scalarName(input) : arbitraryName(input, MAX_OID_LEN);
    std::copy(name.begin(), name.end(), variable.name);
    variable.namelen = static_cast<u_char>(name.size());
    return variable;
}

void checkAnswer(const u_char *answer, std::size_t length, const struct variable &variable,
                 const Name &instance)
{
    mustHold(answer == Registry::answer.data() && length <= sizeof(DeviceValue::data),
             "an answer lies in its block");
    const std::size_t arcs = std::min<std::size_t>(variable.namelen, MAX_OID_LEN - 1);
    mustHold(instance.size() == arcs + 1 && instance.back() == 0 &&
                 std::equal(variable.name, variable.name + arcs, instance.begin()),
             "the name answered is the instance");
}

void callDirectly(FuzzedDataProvider &input)
{
    struct variable variable = arbitraryVariable(input);
    const bool exact = input.ConsumeBool();
    Name asked(variable.name, variable.name + std::min<int>(variable.namelen, MAX_OID_LEN - 1));
    asked.push_back(0);
    if (input.ConsumeBool()) {
        asked = arbitraryName(input, MAX_OID_LEN);
    }
    Name name = asked;
    name.resize(MAX_OID_LEN);
    std::size_t nameLength = asked.size();
    std::size_t answerLength = 0;
    WriteMethod *write = nullptr;
    const u_char *const answer = SnmpAgentX::read_Var(&variable, name.data(), &nameLength,
                                                      exact ? 1 : 0, &answerLength, &write);
    name.resize(nameLength);
    if (answer != nullptr) {
        checkAnswer(answer, answerLength, variable, name);
        const int order = snmp_oid_compare(asked.data(), asked.size(), name.data(), name.size());
        mustHold(exact ? order == 0 : order < 0, "the name asked for leads to the instance");
    }
    mustHold(write == nullptr || write == SnmpAgentX::write_Var, "there is one write function");
}

void writeDirectly(FuzzedDataProvider &input)
{
    const std::string value = arbitraryBytes(input);
    // A block of exactly its size, so that a read past its end is detected.
    const auto bytes = std::make_unique<u_char[]>(value.size());
    std::copy(value.begin(), value.end(), bytes.get());
    simulatedLink::forgetTraffic();
    const int action = input.ConsumeBool() ? int{ACTION} : input.ConsumeIntegral<int>();
    const int status =
        SnmpAgentX::write_Var(action, input.ConsumeBool() ? bytes.get() : nullptr,
                              input.ConsumeBool() ? ASN_INTEGER : input.ConsumeIntegral<u_char>(),
                              value.size(), nullptr, nullptr, 0);
    mustHold(status == SNMP_ERR_NOERROR || (status == SNMP_ERR_BADVALUE && action == ACTION),
             "a write is done or its value is bad");
    mustHold(action == ACTION || simulatedLink::requests().empty(), "only the action writes");
}

void nextGoodRequestIsRight()
{
    handlerWorld::renew();
    simulatedLink::everyObjectHolds(handlerWorld::writable, {4, 3, 2, 1});
    const Name name = handlerWorld::plainScalar();
    netsnmp_handler_registration &registration =
        *agentLibrary::registrationAt({name.begin(), name.end() - 1});
    LibraryRequest get(registration);
    get.add(name, ASN_NULL, "");
    mustHold(get.run(MODE_GET) == SNMP_ERR_NOERROR, "a good request succeeds");
    mustHold(get.varbind(0).type == ASN_INTEGER && *get.varbind(0).val.integer == 0x01020304,
             "a good request gives the value");

    LibraryRequest set(registration);
    const long number = 0x05060708;
    set.add(name, ASN_INTEGER, {reinterpret_cast<const char *>(&number), sizeof number});
    for (const int phase :
         {MODE_SET_RESERVE1, MODE_SET_RESERVE2, MODE_SET_ACTION, MODE_SET_COMMIT}) {
        mustHold(set.run(phase) == SNMP_ERR_NOERROR, "a good set succeeds");
    }
    const Frame written{1, 7, 0x00, 0x01, 8, 7, 6, 5};
    const auto &sent = simulatedLink::requests();
    mustHold(std::find(sent.begin(), sent.end(), written) != sent.end(), "a good set arrives");
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int * /*argc*/, char *** /*argv*/)
{
    handlerWorld::start();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    FuzzedDataProvider input(bytes, size);
    handlerWorld::renew();
    handlerWorld::misbehave(input);
    for (unsigned steps = input.ConsumeIntegralInRange(1U, 3U); steps > 0; --steps) {
        switch (input.ConsumeIntegralInRange(0, 2)) {
        case 1:
            callDirectly(input);
            break;
        case 2:
            writeDirectly(input);
            break;
        default:
            askTheLibrary(input);
            break;
        }
    }
    nextGoodRequestIsRight();
    return 0;
}
