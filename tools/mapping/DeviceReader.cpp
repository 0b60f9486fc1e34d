#include "DeviceReader.h"

#include "DeviceFrame.h"
#include "LinkUsers.h"
#include "VerifyExchange.h"
#include "VerifyFrames.h"
#include "VerifyQueues.h"
#include "VerifyTimes.h"

#include <algorithm>
#include <thread>

namespace
{
using namespace std::chrono_literals;
using deviceFrame::Command;
using Clock = VerifyExchange::Clock;
using Outcome = VerifyExchange::Outcome;

constexpr unsigned requestsInRow = 200;
constexpr int mostTries = 3;
/// How long requests of an earlier program may wait.
constexpr auto takingLimit = 3000ms;
constexpr auto takingStep = 10ms;
/// The first of the ids that are tried as an unknown one.
constexpr std::uint16_t unlikelyId = 0xFFFE;

void requireAlone(const VerifyQueues &queues, DeviceReadings &readings)
{
    const LinkUsers users = linkUsers(queues.requests(), queues.answers());
    if (users.agent) {
        throw UnusableLink("the link is in use by " + users.agent->text() +
                           ": stop it first, because only one program can use the link");
    }
    if (users.device) {
        readings.device = users.device->text();
    }
}

/// Whether the device takes what an earlier program has left in the queue.
bool isTakingRequests(const VerifyQueues &queues)
{
    const auto end = Clock::now() + takingLimit;
    while (queues.requests().waiting != 0) {
        if (Clock::now() >= end) {
            return false;
        }
        std::this_thread::sleep_for(takingStep);
    }
    return true;
}

bool isGoodRead(const DeviceReading &reading, std::uint16_t linkId)
{
    return reading.isAnswered() && reading.again == 0 && !reading.isOutOfOrder &&
           !verifyFrames::faultOfRead(reading.frame, linkId, 0);
}

/// One reading of a device.
class Reader
{
public:
    Reader(VerifyQueues &queues, const DeviceQuestions &questions, DeviceReadings &readings)
        : _queues(queues), _exchange(queues), _questions(questions), _readings(readings),
          _end(Clock::now() + questions.limit)
    {
    }

    void read()
    {
        readAll();
        _exchange.settle();
        takeLate();
        if (isAnyAnswered()) {
            readAll();
            readSlowAgain();
            countRepetitions();
            write();
            probe();
            readInRow();
        }
        _exchange.finish();
        takeLate();
        countRepetitions();
        nameDevice();
    }

private:
    /// Those that have no answer yet, in the order of the questions.
    void readAll()
    {
        for (const std::uint16_t linkId : _questions.objects) {
            DeviceReading &reading = _readings.objects[linkId];
            if (reading.outcome != Outcome::unknown) {
                continue;
            }
            if (isOver()) {
                _readings.isCutShort = true;
                return;
            }
            take(reading, _exchange.read(linkId));
            takeLate();
        }
    }

    /// The machine may have been busy: the fastest of three times counts.
    void readSlowAgain()
    {
        for (const std::uint16_t linkId : _questions.objects) {
            DeviceReading &reading = _readings.objects[linkId];
            if (!reading.isAnswered() || reading.worst > verifyTimes::repetition) {
                continue;
            }
            for (int tries = 1;
                 tries < mostTries && reading.time > verifyTimes::silentWait && !isOver();
                 ++tries) {
                const VerifyExchange::Answer answer = _exchange.read(linkId);
                const bool isAnswered = answer.outcome == Outcome::answered;
                const std::chrono::microseconds time =
                    isAnswered ? answer.time : verifyTimes::answerWait;
                reading.time = std::min(reading.time, time);
                reading.worst = std::max(reading.worst, time);
            }
        }
    }

    void write()
    {
        for (const std::uint16_t linkId : _questions.writable) {
            if (_questions.isWriting && !isOver() &&
                isGoodRead(_readings.objects[linkId], linkId)) {
                writeAndRead(linkId);
            }
        }
    }

    /// What was just read: the value may have changed since it was read first.
    void writeAndRead(std::uint16_t linkId)
    {
        DeviceReading now;
        take(now, _exchange.read(linkId));
        DeviceValue value;
        if (!isGoodRead(now, linkId) ||
            !deviceFrame::storeAnswer(deviceFrame::decodeAnswer(now.frame), value) ||
            !value.isWritable() || !isWhole(value)) {
            return;
        }
        DeviceWriting &writing = _readings.writings[linkId];
        writing.answer = writeBack(linkId, value, writing.request);
        writing.before = std::move(now.frame);
        writing.after = _exchange.read(linkId).frame;
    }

    /// A longer value would be written back cut off.
    static bool isWhole(const DeviceValue &value)
    {
        return value.len <= value.data.size() + lengthOverhead;
    }

    DeviceReading writeBack(std::uint16_t linkId, const DeviceValue &value,
                            std::vector<std::uint8_t> &request)
    {
        const auto frame = deviceFrame::makeWriteRequest(linkId, value);
        request.assign(frame.begin(), frame.begin() + value.len + 1);
        DeviceReading answer;
        take(answer, _exchange.ask({Command::writeRequest, linkId}, request));
        return answer;
    }

    void probe()
    {
        if (!_questions.isProbing || isOver()) {
            return;
        }
        std::uint16_t linkId = unlikelyId;
        while (_readings.objects.contains(linkId)) {
            --linkId;
        }
        _readings.unknownId = DeviceProbe{.linkId = linkId, .answer = {}};
        take(_readings.unknownId->answer, _exchange.read(linkId));
        probeReadOnly();
    }

    /// Writes its own value to the first object that the device does not let be written.
    void probeReadOnly()
    {
        for (const std::uint16_t linkId : _questions.objects) {
            const DeviceReading &reading = _readings.objects[linkId];
            DeviceValue value;
            if (isGoodRead(reading, linkId) &&
                deviceFrame::storeAnswer(deviceFrame::decodeAnswer(reading.frame), value) &&
                !value.isWritable() && isWhole(value)) {
                std::vector<std::uint8_t> request;
                _readings.readOnly = DeviceProbe{.linkId = linkId, .answer = {}};
                _readings.readOnly->answer = writeBack(linkId, value, request);
                return;
            }
        }
    }

    /// Only objects without a fault of their own.
    void readInRow()
    {
        countRepetitions();
        std::vector<std::uint16_t> good;
        for (const std::uint16_t linkId : _questions.objects) {
            const DeviceReading &reading = _readings.objects[linkId];
            if (isGoodRead(reading, linkId) && reading.worst <= verifyTimes::repetition) {
                good.push_back(linkId);
            }
        }
        if (!good.empty() && !isOver()) {
            _readings.row = _exchange.readInRow(good, requestsInRow);
        }
    }

    static void take(DeviceReading &reading, VerifyExchange::Answer answer)
    {
        reading.outcome = answer.outcome;
        reading.frame = std::move(answer.frame);
        reading.time = answer.time;
        reading.worst = answer.time;
    }

    void takeLate()
    {
        for (VerifyExchange::LateAnswer &late : _exchange.takeLate()) {
            const auto found = _readings.objects.find(late.name.linkId);
            if (late.name.command != Command::readRequest || found == _readings.objects.end()) {
                continue;
            }
            DeviceReading &reading = found->second;
            reading.isOutOfOrder = reading.isOutOfOrder || late.isOutOfOrder;
            reading.worst = std::max(reading.worst, late.time);
            if (!reading.isAnswered()) {
                reading.outcome = Outcome::answered;
                reading.frame = std::move(late.frame);
                reading.time = late.time;
            }
        }
    }

    void countRepetitions()
    {
        const auto &again = _exchange.answeredAgain();
        for (; _counted < again.size(); ++_counted) {
            const std::uint16_t linkId = again[_counted].linkId;
            const bool isWrite = again[_counted].command == Command::writeRequest;
            const auto writing = _readings.writings.find(linkId);
            if (isWrite && writing != _readings.writings.end()) {
                ++writing->second.answer.again;
            } else if (_readings.objects.contains(linkId)) {
                ++_readings.objects[linkId].again;
            }
        }
    }

    void nameDevice()
    {
        const LinkUsers users = linkUsers(_queues.requests(), _queues.answers());
        if (users.device) {
            _readings.device = users.device->text();
        }
    }

    [[nodiscard]] bool isAnyAnswered() const
    {
        return std::any_of(_readings.objects.begin(), _readings.objects.end(),
                           [](const auto &each) { return each.second.isAnswered(); });
    }

    [[nodiscard]] bool isOver() const { return Clock::now() >= _end; }

    VerifyQueues &_queues;
    VerifyExchange _exchange;
    const DeviceQuestions &_questions;
    DeviceReadings &_readings;
    Clock::time_point _end;
    std::size_t _counted = 0;
};
} // namespace

DeviceReadings readDevice(const DeviceQuestions &questions)
{
    DeviceReadings readings;
    VerifyQueues queues;
    try {
        readings.hasQueues = queues.find();
        if (!readings.hasQueues) {
            return readings;
        }
        requireAlone(queues, readings);
        if (!isTakingRequests(queues)) {
            readings.neverTaken = queues.requests().waiting;
            return readings;
        }
        Reader(queues, questions, readings).read();
    } catch (const QueuesRemoved &) {
        readings.areQueuesRemoved = true;
    }
    return readings;
}
