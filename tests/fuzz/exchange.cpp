// Arbitrary: up to four reads and writes, raw and as SNMP sees them, of any object with any value
// and any conversion; everything that the system calls of the link return and everything that the
// device answers.
// Must hold: what is sent is a well-formed request to the right object; a value that is handed out
// stands in the message taken last; a refused write sends none; no exchange lasts longer than it
// may; and the next good exchange reads and writes rightly, so no lock is held.

#include "DataManage.h"
#include "SnmpDataBase.h"
#include "support/Invariant.h"
#include "support/MappingFile.h"
#include "support/SimulatedLink.h"

#include <algorithm>
#include <chrono>

#include <fuzzer/FuzzedDataProvider.h>

namespace
{
using std::chrono::milliseconds;

constexpr std::uint32_t failed = 255;
constexpr std::uint16_t plainObject = 0x0106;
constexpr std::uint16_t writable = 0x0010;
constexpr std::uint16_t firstOfGroups = 0x0910;
constexpr std::uint16_t conversionKind = 0x0FFF;

/// Nearly every object is mapped, with its own id as its conversion code: so all codes are.
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

/// Two groups of four ids have one object each behind them.
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

/// The length byte of a write says one less than the frame has; too short a value cuts the frame.
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

/// What the device sent last, held against what was made of it.
void checkRead(const DeviceValue &value)
{
    const Frame &answer = simulatedLink::lastTaken();
    // An empty text needs no more than its kind; its object id may be missing.
    mustHold(answer.size() >= 4 && answer[0] == 0x12, "a value comes from a read answer");
    mustHold(value.len == answer[1] && value.attr == (answer[2] | answer[3] << 8),
             "length and attribute are the answer's");
    const std::ptrdiff_t carried = std::min<std::ptrdiff_t>(value.len - 3, 64);
    mustHold(carried == 0 || std::ssize(answer) >= 6 + carried, "all of the value has arrived");
    mustHold(carried == 0 ||
                 std::equal(value.data.begin(), value.data.begin() + carried, answer.begin() + 6),
             "the bytes are the answer's");
}

/// A read answered with an error goes on with the old value, so its length may be of another kind.
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

void perform(Link &link, FuzzedDataProvider &input)
{
    DeviceValue value;
    const unsigned operation = input.ConsumeIntegralInRange(0U, 3U);
    input.ConsumeData(&value, sizeof value);
    if (input.ConsumeBool()) {
        value.oid = static_cast<std::uint16_t>(firstOfGroups | (value.oid & 0xFU));
    }
    const std::uint16_t objId = value.oid;
    simulatedLink::forgetRequests();
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
}

/// A set makes two exchanges.
void performInTime(Link &link, FuzzedDataProvider &input, milliseconds longest)
{
    const auto begin = simulatedLink::now();
    perform(link, input);
    mustHold(simulatedLink::timersFailed() || simulatedLink::now() - begin <= 2 * longest,
             "an exchange ends in time");
}

void nextGoodExchangeIsRight(Link &link)
{
    simulatedLink::reset();
    link.limitWaits();
    simulatedLink::everyObjectHolds(writable, {1, 2, 3, 4});
    DeviceValue value;
    mustHold(link.getObjValue(plainObject, value) == 0, "a good read succeeds");
    mustHold(value.word() == 0x04030201 && value.len == 7, "a good read gives the value");
    value.oid = plainObject;
    value.setWord(0x0a0b0c0d);
    mustHold(link.setSnmpValue(value, mapping()) == 0, "a good write succeeds");
    const Frame written{1, 7, 0x06, 0x01, 0x0d, 0x0c, 0x0b, 0x0a};
    mustHold(simulatedLink::requests().back() == written, "a good write arrives");
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    FuzzedDataProvider input(bytes, size);
    simulatedLink::reset();
    const bool waitsLimited = input.ConsumeBool();
    const LinkPolicy policy{.answerWait = milliseconds(input.PickValueInArray({3000, 0, 40})),
                            .silentAnswerWait = milliseconds(input.PickValueInArray({40, 0})),
                            .dropOversizedAnswers = input.ConsumeBool()};
    simulatedLink::everyObjectHolds(input);
    simulatedLink::follow(input);
    Link link(policy);
    if (waitsLimited) {
        link.limitWaits();
    }
    const bool isBounded =
        waitsLimited && policy.answerWait.count() > 0 && policy.silentAnswerWait.count() > 0;
    const milliseconds longest =
        isBounded ? std::max(policy.answerWait, policy.silentAnswerWait) : std::chrono::hours(24);
    for (unsigned operations = input.ConsumeIntegralInRange(1U, 4U); operations > 0; --operations) {
        performInTime(link, input, longest);
    }
    nextGoodExchangeIsRight(link);
    return 0;
}
