#include "DataManage.h"

#include "DeviceObjects.h"
#include "SnmpDataBase.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>

#include <unistd.h>

namespace
{
constexpr std::uint32_t exchangeDone = 0;
constexpr std::uint32_t exchangeFailed = 255;
constexpr std::int32_t refused = -1;
constexpr std::size_t answerCapacity = 1024;
constexpr unsigned startUpRetrySeconds = 1;

bool isAnswerTo(std::span<const std::uint8_t> frame, std::uint16_t objId)
{
    const auto answered = deviceFrame::answeredId(frame);
    return answered == objId || answered == deviceObject::onLink(objId);
}

/// Brings an integer of 1, 2 or 4 bytes to a 32-bit word. False for any other length.
bool widen(DeviceValue &value)
{
    const bool isSigned = value.kind() == ValueKind::signedInteger;
    const auto low16 = static_cast<std::uint16_t>(value.word());
    switch (value.len) {
    case deviceFrame::byteLength:
        value.setWord(isSigned ? static_cast<std::uint32_t>(static_cast<std::int8_t>(value.data[0]))
                               : value.data[0]);
        break;
    case deviceFrame::wordLength:
        value.setWord(isSigned ? static_cast<std::uint32_t>(static_cast<std::int16_t>(low16))
                               : low16);
        break;
    case deviceFrame::longLength:
        break;
    default:
        return false;
    }
    value.len = deviceFrame::longLength;
    return true;
}

/// Cuts a 32-bit word to the width of the device's object, which a good read has shown to be 1, 2
/// or 4 bytes; false for a text that the object cannot hold.
bool fit(DeviceValue &value, const DeviceValue &current)
{
    if (current.kind() == ValueKind::string) {
        return value.text().size() + lengthOverhead <= current.len;
    }
    if (current.len == deviceFrame::byteLength) {
        value.setWord(static_cast<std::uint8_t>(value.word()));
    } else if (current.len == deviceFrame::wordLength) {
        value.setWord(static_cast<std::uint16_t>(value.word()));
    }
    return true;
}
} // namespace

DataManage *DataManage::getInstance()
{
    if (s_instance == nullptr) {
        // The third branch that gcov sees is the compiler's, after a constructor that threw.
        s_instance = new DataManage; // GCOVR_EXCL_BR_LINE
    }
    return s_instance;
}

DataManage::DataManage(const LinkPolicy &policy) : _policy(policy)
{
    const Mutex::Guard guard(_mutex);
    _pComPortAdapter = std::make_unique<ComPortAdapter>();
    _pConvertStrategy = std::make_unique<SnmpObjConvertStrategy>();
    _pComPortAdapter->open();
    // Answers that wait already pay for none of the requests that still do.
    const std::uint32_t requests = _pComPortAdapter->waitingRequests();
    if (requests > 0) {
        _owedAnswers.requestsFound(requests + _pComPortAdapter->waitingAnswers());
    }
    std::puts("_pComPortAdapter->open() end....");
}

DataManage::~DataManage()
{
    const Mutex::Guard guard(_mutex);
    _pComPortAdapter.reset();
}

void DataManage::limitWaits()
{
    const Mutex::Guard guard(_mutex);
    _waitsLimited = true;
}

void DataManage::rest()
{
    const Mutex::Guard guard(_mutex);
    _pComPortAdapter->rest();
}

std::uint32_t DataManage::getObjValue(std::uint16_t objId, DeviceValue &out)
{
    const Mutex::Guard guard(_mutex);
    const auto request = deviceFrame::makeReadRequest(deviceObject::onLink(objId));
    std::array<std::uint8_t, answerCapacity> buffer;
    sendRequest(request);
    auto frame = receiveAnswer(objId, buffer);
    // A device application that makes the queues anew as it starts takes the request with them. It
    // gets the time to be done with both before it is asked again.
    while (!frame && !_waitsLimited && errno == EIDRM) {
        sleep(startUpRetrySeconds);
        sendRequest(request);
        frame = receiveAnswer(objId, buffer);
    }
    if (!frame) {
        const bool nobodyAnswered = errno == ETIMEDOUT;
        std::puts("DataManage::getObjValue  readData error!");
        if (nobodyAnswered) {
            out.len = 0;
            out.attr = 0;
        }
        return exchangeFailed;
    }
    return decode(*frame, out);
}

std::uint32_t DataManage::setObjValue(std::uint16_t objId, const DeviceValue &value)
{
    const Mutex::Guard guard(_mutex);
    const auto request = deviceFrame::makeWriteRequest(deviceObject::onLink(objId), value);
    if (!deviceFrame::isWritableLength(value.len)) {
        std::puts("\nDataManage::setObjValue error obj type!");
    }
    const std::uint32_t frameLength = value.len + 1U;
    sendRequest({request.data(), frameLength});
    // Only the arrival of an answer matters, so it is taken off without a buffer. That fails by
    // design: EFAULT says that one was there.
    _pComPortAdapter->read(nullptr, frameLength, answerDeadline());
    if (errno == EFAULT) {
        messagesTaken(1);
    } else if (errno != E2BIG) {
        answerMissed(errno, false);
    }
    return exchangeDone;
}

std::int32_t DataManage::select(DeviceValue &value, SnmpDataBase &database)
{
    getObjValue(value.oid, value);
    SnmpObjInfo info;
    if (database.getSnmpObjInfo(value.oid, info) == -1) {
        return refused;
    }
    switch (value.kind()) {
    case ValueKind::string:
        value.len = static_cast<std::uint8_t>(value.text().size() + lengthOverhead);
        break;
    case ValueKind::unsignedInteger:
    case ValueKind::signedInteger:
        if (!widen(value)) {
            return refused;
        }
        break;
    default:
        break;
    }
    return _pConvertStrategy->toDisplay(info.valueType, value);
}

std::int32_t DataManage::setSnmpValue(DeviceValue &value, SnmpDataBase &database)
{
    DeviceValue current;
    if (getObjValue(value.oid, current) != exchangeDone) {
        return refused;
    }
    value.len = current.len;
    SnmpObjInfo info;
    if (!current.isWritable() || database.getSnmpObjInfo(value.oid, info) == -1 ||
        _pConvertStrategy->fromDisplay(info.valueType, value) == -1 || !fit(value, current)) {
        return refused;
    }
    return static_cast<std::int32_t>(setObjValue(value.oid, value));
}

void DataManage::dump(std::span<const std::uint8_t> bytes)
{
    for (const std::uint8_t byte : bytes) {
        std::printf("%x ", byte);
    }
    std::putchar('\n');
}

void DataManage::sendRequest(std::span<const std::uint8_t> frame)
{
    _owedAnswers.exchangeBegins();
    messagesTaken(_pComPortAdapter->drain());
    const auto length = static_cast<std::uint32_t>(frame.size());
    _pComPortAdapter->write(frame.data(), length);
    while (!_waitsLimited && !_pComPortAdapter->sent()) {
        sleep(startUpRetrySeconds);
        _pComPortAdapter->send(frame.data(), length);
    }
    if (_pComPortAdapter->sent()) {
        _owedAnswers.requestSent();
    }
}

/// The answer to the request just sent; nothing when the read failed, with the port's errno.
std::optional<std::span<const std::uint8_t>> DataManage::receiveAnswer(std::uint16_t objId,
                                                                       AnswerBuffer buffer)
{
    const Deadline deadline = answerDeadline();
    bool discardedSome = false;
    for (;;) {
        const std::int32_t received = _pComPortAdapter->read(
            buffer.data(), static_cast<std::uint32_t>(buffer.size()), deadline);
        if (received == -1) {
            const int error = errno;
            if (error != E2BIG) {
                answerMissed(error, discardedSome);
            } else if (_policy.dropOversizedAnswers) {
                messagesTaken(_pComPortAdapter->dropAnswer());
            }
            errno = error;
            return std::nullopt;
        }
        const auto frame = buffer.first(static_cast<std::size_t>(received));
        const bool late = _owedAnswers.olderAnswersOwed() && !isAnswerTo(frame, objId);
        messagesTaken(1);
        if (!late) {
            return frame;
        }
        discardedSome = true;
    }
}

std::uint32_t DataManage::decode(std::span<const std::uint8_t> frame, DeviceValue &out)
{
    const deviceFrame::Answer answer = deviceFrame::decodeAnswer(frame);
    if (answer.command != static_cast<std::uint8_t>(deviceFrame::Command::readAnswer)) {
        std::printf("ERR: DatabaseFacade::select:  error!  cmd=%x  oid=0x%04x\n", answer.command,
                    answer.objId);
        return exchangeFailed;
    }
    if (!deviceFrame::storeAnswer(answer, out)) {
        std::puts("ERR: DatabaseFacade::select: type unsupported!");
        return exchangeFailed;
    }
    return exchangeDone;
}

Deadline DataManage::answerDeadline() const
{
    const auto wait = _deviceSilent ? _policy.silentAnswerWait : _policy.answerWait;
    if (!_waitsLimited || wait == std::chrono::milliseconds::zero()) {
        return std::nullopt;
    }
    return std::chrono::steady_clock::now() + wait;
}

void DataManage::messagesTaken(std::uint32_t count)
{
    if (count > 0) {
        _deviceSilent = false;
        _owedAnswers.messagesTaken(count);
    }
}

/// The exchange ends without its answer, which may still come. In start-up a queue that was removed
/// counts as having taken the request with it, which is then sent again.
void DataManage::answerMissed(int error, bool discardedSome)
{
    if (error == ETIMEDOUT) {
        _owedAnswers.waitExpired(_pComPortAdapter->sent(), discardedSome);
        _deviceSilent = !discardedSome;
    } else if (error != EIDRM || _waitsLimited) {
        _owedAnswers.answerMissed(_pComPortAdapter->sent());
    }
}
