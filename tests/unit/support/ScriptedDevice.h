#pragma once

#include "DeviceValue.h"
#include "support/LinkQueues.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

/// A device application on the real queues, on a thread of its own from construction to
/// destruction. Ids are those on the link. Reads of an object that it does not hold are answered
/// with command 0x13; a write is answered with (0x11, L, id) and changes the object. Everything may
/// change while it runs.
class ScriptedDevice
{
public:
    ScriptedDevice();
    ~ScriptedDevice();
    ScriptedDevice(const ScriptedDevice &) = delete;
    ScriptedDevice &operator=(const ScriptedDevice &) = delete;

    void holdsInteger(std::uint16_t id, std::uint32_t value, int bytes,
                      ValueKind kind = ValueKind::unsignedInteger);
    /// A text object of a fixed size; a shorter text is padded with zeros.
    void holdsText(std::uint16_t id, const std::string &text, std::size_t size = 0);
    void makesWritable(std::uint16_t id);
    /// Reads of the object get this frame, whatever it is.
    void answersReadsWith(std::uint16_t id, const Frame &answer);
    /// Reads and writes of the object get no answer.
    void isSilentAbout(std::uint16_t id);
    /// The next request gets these frames first, then its own answer, if it has one.
    void sendsLateAnswers(const std::vector<Frame> &answers);
    /// Every write gets this frame.
    void answersWritesWith(const Frame &answer);

    /// Every request so far.
    [[nodiscard]] std::vector<Frame> requests() const;
    [[nodiscard]] std::vector<Frame> writes() const;
    void forgetRequests();

    /// The answer to a good read as the device builds it.
    static Frame readAnswer(std::uint16_t id, std::uint16_t attribute, const Frame &value);

private:
    void serve();
    std::vector<Frame> answersTo(const Frame &request);
    Frame answerToRead(std::uint16_t id);
    Frame answerToWrite(std::uint16_t id, const Frame &request);

    struct Object {
        std::uint16_t attribute = 0;
        Frame value;
        bool isSilent = false;
        Frame readAnswer;
    };

    mutable std::mutex _mutex;
    std::map<std::uint16_t, Object> _objects;
    Frame _writeAnswer;
    std::vector<Frame> _lateAnswers;
    std::vector<Frame> _requests;
    std::thread _thread;
};
