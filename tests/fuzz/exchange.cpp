// Arbitrary: up to four reads and writes, raw and as SNMP sees them, of any object with any value
// and any conversion; every return value of the link's system calls and every answer of the device.
// Or up to sixteen with objects that name themselves and a device that keeps its order: any delay,
// requests that die with it, lost queues, and leftovers of an earlier run.
// Must hold: what is sent is a well-formed request to the right object, never sent again while it
// is still queued; a returned value comes from a message of its exchange; a rejected write sends
// none; no exchange exceeds its deadline; and the next good exchange reads and writes correctly, so
// no lock is held. With a device in order: value, kind, width and write permission are always those
// of the object, and once it has caught up, the first read of each object succeeds.

#include "DataManage.h"
#include "SnmpDataBase.h"
#include "support/Invariant.h"
#include "support/MappingFile.h"
#include "support/SimulatedLink.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <map>

#include <fuzzer/FuzzedDataProvider.h>

namespace
{
using std::chrono::milliseconds;

constexpr std::uint32_t failed = 255;
/// One of the four operations makes two exchanges.
constexpr unsigned setOperation = 3;
constexpr std::uint16_t plainObject = 0x0106;
constexpr std::uint16_t writable = 0x0010;
constexpr std::uint16_t firstOfGroups = 0x0910;
constexpr std::uint16_t conversionKind = 0x0FFF;

/// Nearly every object is mapped, with its own id as conversion code, so every code is used.
bool isMapped(std::uint16_t objId)
{
    return objId % 16 != 5;
}

SnmpDataBase &mapping()
{
    static SnmpDataBase *const s_mapping = [] {
        const MappingFile file;
        file.run("WITH RECURSIVE Ids(id) AS (SELECT 0 UNION ALL SELECT id + 1 FROM Ids WHERE id < "
                 "65535) INSERT INTO SNMP_GENERAL_OBJ_TABLE SELECT printf('%04x', id), 0, 0, '2', "
                 "'3', 1, 1, id, 0, printf('%04x', id), '0', NULL, '0' FROM Ids WHERE id % 16 <> "
                 "5");
        return new SnmpDataBase(file.path());
    }();
    return *s_mapping;
}

class Link : public DataManage
{
public:
    explicit Link(const LinkPolicy &policy) : DataManage(policy) {}
};

/// The device keeps one object for each of two groups of four ids.
std::uint16_t onLink(std::uint16_t objId)
{
    if ((objId & 0xFFF8U) != firstOfGroups) {
        return objId;
    }
    return objId < 0x0914 ? 0x083A : 0x083B;
}

std::uint16_t idIn(const Frame &request)
{
    return static_cast<std::uint16_t>(request[2] | request[3] << 8);
}

/// The length byte of a write is one less than the frame's length; a value that is too short
/// truncates the frame.
void checkRequest(const Frame &request, std::uint16_t objId)
{
    mustHold(!request.empty(), "a request has bytes");
    if (request[0] == 2) {
        mustHold(request.size() == 8 && request[1] == 7, "a read request has 8 bytes");
    } else {
        mustHold(request[0] == 1, "a request reads or writes");
        mustHold(request.size() < 2 || request.size() == request[1] + 1U, "a write has its length");
    }
    mustHold(request.size() < 4 || idIn(request) == onLink(objId), "a request names the object");
}

bool writeWasSent()
{
    const auto &sent = simulatedLink::requests();
    return std::any_of(sent.begin(), sent.end(), [](const Frame &frame) { return frame[0] == 1; });
}

/// An empty text needs only its kind; the object id may be missing.
bool carries(const Frame &answer, const DeviceValue &value)
{
    if (answer.size() < 4 || answer[0] != 0x12 || value.len != answer[1] ||
        value.attr != (answer[2] | answer[3] << 8)) {
        return false;
    }
    const std::ptrdiff_t carried = std::min<std::ptrdiff_t>(value.len - 3, 64);
    return carried == 0 ||
           (std::ssize(answer) >= 6 + carried &&
            std::equal(value.data.begin(), value.data.begin() + carried, answer.begin() + 6));
}

void checkRead(const DeviceValue &value)
{
    const auto &answers = simulatedLink::answers();
    mustHold(std::any_of(answers.begin(), answers.end(),
                         [&value](const Frame &answer) { return carries(answer, value); }),
             "a value comes from a read answer of its exchange");
}

/// A read answered with an error continues with the old value, so its length may belong to another
/// kind.
void checkSelected(const DeviceValue &value, std::uint16_t objId, std::int32_t status)
{
    mustHold(status == 0 || status == -1, "a select succeeds or is refused");
    mustHold(status == -1 || isMapped(objId), "only what is mapped is selected");
    const bool staysInteger = (objId & conversionKind) > 11;
    const bool isInteger =
        value.kind() == ValueKind::unsignedInteger || value.kind() == ValueKind::signedInteger;
    mustHold(status == -1 || !staysInteger || !isInteger || value.len == 7,
             "an integer becomes a word");
}

void checkSet(std::uint16_t objId, std::int32_t status)
{
    mustHold(status == 0 || status == -1, "a set is done or refused");
    mustHold(status == -1 || isMapped(objId), "only what is mapped is set");
    mustHold(status == 0 || !writeWasSent(), "a refused set writes nothing");
}

int performAny(Link &link, FuzzedDataProvider &input)
{
    DeviceValue value;
    const unsigned operation = input.ConsumeIntegralInRange(0U, setOperation);
    input.ConsumeData(&value, sizeof value);
    if (input.ConsumeBool()) {
        value.oid = static_cast<std::uint16_t>(firstOfGroups | (value.oid & 0xFU));
    }
    const std::uint16_t objId = value.oid;
    std::uint32_t status = 0;
    switch (operation) {
    case 0:
        status = link.getObjValue(objId, value);
        mustHold(status == 0 || status == failed, "a read is done or fails");
        if (status == 0) {
            checkRead(value);
        }
        break;
    case 1:
        mustHold(link.setObjValue(objId, value) == 0, "a write is always done");
        break;
    case 2:
        checkSelected(value, objId, link.select(value, mapping()));
        break;
    default:
        checkSet(objId, link.setSnmpValue(value, mapping()));
        break;
    }
    mustHold(value.oid == objId, "the record keeps its object");
    mustHold(simulatedLink::allRequestsHadTheType(), "every request has the agreed type");
    for (const Frame &request : simulatedLink::requests()) {
        checkRequest(request, objId);
    }
    return operation == setOperation ? 2 : 1;
}

/// What a calm device does with an object that names itself.
struct Expected {
    DeviceValue read;
    DeviceValue selected;
    std::int32_t selectStatus = 0;
};

/// Of all kinds, widths and permissions; of both groups; converted; not mapped.
constexpr std::array<std::uint16_t, 16> selfNaming{0x0110, 0x0204, 0x0318, 0x0421, 0x0519, 0x0612,
                                                   0x0702, 0x0813, 0x0910, 0x0913, 0x0914, 0x0A24,
                                                   0x0B35, 0x1004, 0x2001, 0x3008};

const std::map<std::uint16_t, Expected> &expectations()
{
    static const std::map<std::uint16_t, Expected> s_expectations = [] {
        simulatedLink::reset();
        simulatedLink::everyObjectNamesItself();
        Link link({});
        std::map<std::uint16_t, Expected> all;
        for (const std::uint16_t objId : selfNaming) {
            Expected &expected = all[objId];
            expected.read.oid = expected.selected.oid = objId;
            mustHold(link.getObjValue(objId, expected.read) == 0, "a calm read succeeds");
            expected.selectStatus = link.select(expected.selected, mapping());
        }
        return all;
    }();
    return s_expectations;
}

bool isSame(const DeviceValue &one, const DeviceValue &other)
{
    return std::memcmp(&one, &other, sizeof one) == 0;
}

/// An integer is written in the object's width, a text only if it fits the object.
void checkWrites(const Expected &object)
{
    for (const Frame &request : simulatedLink::requests()) {
        const bool isText = object.read.kind() == ValueKind::string;
        mustHold(request[0] != 1 || object.read.isWritable(), "only what is writable is written");
        mustHold(request[0] != 1 || request[1] == object.read.len ||
                     (isText && request[1] < object.read.len),
                 "a write has the object's width");
    }
}

DeviceValue newValue(std::uint16_t objId, FuzzedDataProvider &input)
{
    DeviceValue value;
    value.oid = objId;
    value.len = input.PickValueInArray<std::uint8_t>({7, 4, 5, 23});
    value.setInt32(input.ConsumeIntegral<std::uint32_t>());
    return value;
}

int performInOrder(Link &link, FuzzedDataProvider &input)
{
    const std::uint16_t objId = input.PickValueInArray(selfNaming);
    const Expected &expected = expectations().at(objId);
    DeviceValue value;
    value.oid = objId;
    const unsigned operation = input.ConsumeIntegralInRange(0U, setOperation);
    std::uint32_t status = 0;
    switch (operation) {
    case 0:
        status = link.getObjValue(objId, value);
        mustHold(status != 0 || isSame(value, expected.read), "a value read is the object's own");
        break;
    case 1:
        link.setObjValue(objId, newValue(objId, input));
        break;
    case 2:
        status = static_cast<std::uint32_t>(link.select(value, mapping()));
        mustHold(status != 0 || expected.selectStatus == 0, "only what can be shown is selected");
        mustHold(status != 0 || isSame(value, expected.selected),
                 "a value selected is the object's own");
        break;
    default:
        value = newValue(objId, input);
        checkSet(objId, link.setSnmpValue(value, mapping()));
        checkWrites(expected);
        break;
    }
    for (const Frame &request : simulatedLink::requests()) {
        checkRequest(request, objId);
    }
    return operation == setOperation ? 2 : 1;
}

/// Returns how many exchanges it makes at most.
using Performance = int (*)(Link &, FuzzedDataProvider &);

void performInTime(Link &link, FuzzedDataProvider &input, Performance performance,
                   milliseconds longest)
{
    simulatedLink::forgetTraffic();
    const auto begin = simulatedLink::now();
    const int exchanges = performance(link, input);
    mustHold(simulatedLink::timersFailed() || simulatedLink::now() - begin <= exchanges * longest,
             "an exchange ends in time");
}

std::vector<Frame> earlierRequests(FuzzedDataProvider &input)
{
    std::vector<Frame> requests(input.ConsumeIntegralInRange<std::size_t>(0, 4));
    for (Frame &request : requests) {
        const std::uint16_t id = onLink(input.PickValueInArray(selfNaming));
        const std::array<std::uint8_t, 2> wireId{static_cast<std::uint8_t>(id),
                                                 static_cast<std::uint8_t>(id >> 8)};
        const std::uint8_t command = input.ConsumeBool() ? 1 : 2;
        request = {command, 7, wireId[0], wireId[1], 0, 0, 0, 0};
    }
    return requests;
}

void everyObjectIsReadAtOnce(Link &link)
{
    simulatedLink::calmDown();
    link.limitWaits();
    for (const auto &[objId, expected] : expectations()) {
        simulatedLink::forgetTraffic();
        DeviceValue value;
        value.oid = objId;
        mustHold(link.getObjValue(objId, value) == 0, "a device that caught up is read");
        mustHold(isSame(value, expected.read), "what is read then is the object's own");
    }
}

void nextGoodExchangeIsRight(Link &link)
{
    simulatedLink::reset();
    link.limitWaits();
    simulatedLink::everyObjectHolds(writable, {1, 2, 3, 4});
    DeviceValue value;
    mustHold(link.getObjValue(plainObject, value) == 0, "a good read succeeds");
    mustHold(value.int32() == 0x04030201 && value.len == 7, "a good read gives the value");
    value.oid = plainObject;
    value.setInt32(0x0a0b0c0d);
    mustHold(link.setSnmpValue(value, mapping()) == 0, "a good write succeeds");
    const Frame written{1, 7, 0x06, 0x01, 0x0d, 0x0c, 0x0b, 0x0a};
    mustHold(simulatedLink::requests().back() == written, "a good write arrives");
}

milliseconds longestExchange(const LinkPolicy &policy, bool waitsLimited)
{
    const bool isBounded =
        waitsLimited && policy.answerWait.count() > 0 && policy.silentAnswerWait.count() > 0;
    return isBounded ? std::max(policy.answerWait, policy.silentAnswerWait)
                     : std::chrono::hours(24);
}

/// Start-up ends somewhere between the exchanges.
void runInOrder(const LinkPolicy &policy, FuzzedDataProvider &input)
{
    simulatedLink::everyObjectNamesItself();
    simulatedLink::followInOrder(input, earlierRequests(input));
    Link link(policy);
    bool waitsLimited = false;
    for (unsigned operations = input.ConsumeIntegralInRange(1U, 16U); operations > 0;
         --operations) {
        if (!waitsLimited && input.ConsumeIntegralInRange(0, 2) == 0) {
            link.limitWaits();
            waitsLimited = true;
        }
        performInTime(link, input, performInOrder, longestExchange(policy, waitsLimited));
        simulatedLink::pass(milliseconds(input.PickValueInArray({0, 1, 45, 3000})));
    }
    everyObjectIsReadAtOnce(link);
}

void runArbitrary(const LinkPolicy &policy, FuzzedDataProvider &input)
{
    const bool waitsLimited = input.ConsumeBool();
    simulatedLink::everyObjectHolds(input);
    simulatedLink::follow(input);
    Link link(policy);
    if (waitsLimited) {
        link.limitWaits();
    }
    for (unsigned operations = input.ConsumeIntegralInRange(1U, 4U); operations > 0; --operations) {
        performInTime(link, input, performAny, longestExchange(policy, waitsLimited));
    }
    nextGoodExchangeIsRight(link);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    expectations();
    FuzzedDataProvider input(bytes, size);
    simulatedLink::reset();
    const LinkPolicy policy{.answerWait = milliseconds(input.PickValueInArray({3000, 0, 40})),
                            .silentAnswerWait = milliseconds(input.PickValueInArray({40, 0})),
                            .dropOversizedAnswers = input.ConsumeBool()};
    if (input.ConsumeBool()) {
        runInOrder(policy, input);
    } else {
        runArbitrary(policy, input);
    }
    return 0;
}
