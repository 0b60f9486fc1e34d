// Arbitrary: the objects that a device application declares, and what its getters and setters make
// of each request; up to eight messages of any content, or requests of any object with any value;
// and every result of the system calls. Must hold: each request gets exactly one answer, the right
// one, unless the application has none or the queue does not take it; nothing else gets one; only
// what is writable is written, in its width; every message is counted once; and afterwards a good
// request is answered.

#include "support/DeviceQueues.h"
#include "support/Invariant.h"
#include "tarnodevice.h"

#include <algorithm>
#include <array>
#include <memory>
#include <vector>

#include <fuzzer/FuzzedDataProvider.h>

namespace
{
constexpr std::uint8_t writableBit = 0x10;
constexpr std::size_t longestRequest = 256;
constexpr std::size_t widest = TARNO_WIDEST;

/// What the application holds, and how it behaves.
struct Held {
    tarno_object declared{};
    Frame bytes;
    /// The variable, if there is one; allocated to its last byte.
    std::vector<std::uint8_t> variable;
};

/// The application's answer to the next request.
tarno_outcome s_outcome = TARNO_DONE;

std::uint32_t unsignedOf(const Frame &bytes)
{
    std::uint32_t number = 0;
    for (std::size_t index = 0; index < bytes.size() && index < sizeof number; ++index) {
        number |= std::uint32_t{bytes[index]} << 8 * index;
    }
    return number;
}

std::int32_t signedOf(const Frame &bytes)
{
    const std::int64_t number = unsignedOf(bytes);
    const std::int64_t range = std::int64_t{1} << 8 * bytes.size();
    return static_cast<std::int32_t>(number >= range / 2 ? number - range : number);
}

tarno_outcome getHeld(void *user, std::uint16_t id, tarno_value *value)
{
    const Held &held = *static_cast<const Held *>(user);
    mustHold(id == held.declared.id, "a getter gets the id of its object");
    mustHold(value->kind == held.declared.kind && value->width == held.declared.width,
             "a getter gets kind and width as declared");
    if (value->kind == TARNO_UNSIGNED) {
        value->u = unsignedOf(held.bytes);
    } else if (value->kind == TARNO_SIGNED) {
        value->s = signedOf(held.bytes);
    } else {
        mustHold(
            std::all_of(value->data, value->data + widest + 1, [](char byte) { return byte == 0; }),
            "the room of a getter is empty");
        std::copy(held.bytes.begin(), held.bytes.end(), value->data);
    }
    return s_outcome;
}

tarno_outcome setHeld(void *user, std::uint16_t id, const tarno_value *value)
{
    Held &held = *static_cast<Held *>(user);
    mustHold(id == held.declared.id, "a setter gets the id of its object");
    mustHold(held.declared.writable != 0, "only what is writable is set");
    const Frame request = deviceQueues::request();
    const Frame bytes(request.begin() + 4, request.end());
    mustHold(bytes.size() == held.declared.width, "a setter gets the declared width");
    if (value->kind == TARNO_UNSIGNED) {
        mustHold(value->u == unsignedOf(bytes), "a setter gets the number");
    } else if (value->kind == TARNO_SIGNED) {
        mustHold(value->s == signedOf(bytes), "a setter gets the number with its sign");
    } else {
        mustHold(std::equal(bytes.begin(), bytes.end(), value->data,
                            [](std::uint8_t one, char other) {
                                return one == static_cast<std::uint8_t>(other);
                            }) &&
                     value->data[bytes.size()] == 0,
                 "a setter gets the bytes, and text ends");
    }
    if (s_outcome == TARNO_DONE) {
        held.bytes = bytes;
    }
    return s_outcome;
}

/// Of any kind and width, with functions or a variable.
Held heldFrom(FuzzedDataProvider &input, std::uint16_t id)
{
    Held held;
    tarno_object &object = held.declared;
    object.id = id;
    object.kind = input.PickValueInArray({TARNO_UNSIGNED, TARNO_SIGNED, TARNO_TEXT, TARNO_BYTES});
    const bool isNumber = object.kind == TARNO_UNSIGNED || object.kind == TARNO_SIGNED;
    object.width = isNumber ? input.PickValueInArray<std::size_t>({1, 2, 4})
                            : input.ConsumeIntegralInRange<std::size_t>(1, widest);
    object.writable = input.ConsumeBool() ? 1 : 0;
    held.bytes = input.ConsumeBytes<std::uint8_t>(object.width);
    held.bytes.resize(object.width);
    if (input.ConsumeBool()) {
        object.get = getHeld;
        object.set = setHeld;
    } else {
        held.variable = held.bytes;
    }
    return held;
}

struct Free {
    void operator()(tarno_device *device) const { tarno_device_free(device); }
};

/// A device application with its objects.
class Application
{
public:
    explicit Application(FuzzedDataProvider &input)
    {
        const tarno_options options{.mode = input.PickValueInArray<mode_t>({0, 0600, 0666}),
                                    .check_owner = input.ConsumeBool() ? 1 : 0,
                                    .discard_old_requests = input.ConsumeBool() ? 1 : 0,
                                    .wake_signal = 0};
        _device.reset(tarno_device_new(&options));
        _held.reserve(ids.size());
        for (const std::uint16_t id : ids) {
            Held &held = _held.emplace_back(heldFrom(input, id));
            tarno_object &object = held.declared;
            object.user = object.get == nullptr ? static_cast<void *>(held.variable.data())
                                                : static_cast<void *>(&held);
            mustHold(tarno_device_add(_device.get(), &object, 1) == 0, "any object is declared");
        }
    }

    int step() { return tarno_device_step(_device.get(), 0); }

    /// The answer that a request must get; empty: none. Takes over what is written.
    Frame expected(const Frame &request)
    {
        if (request.size() == 8 && request[0] == 2 && request[1] == 7) {
            return readAnswer(idOf(request));
        }
        if (request.size() >= 4 && request.size() <= longestRequest && request[0] == 1) {
            return writeAnswer(request);
        }
        return {};
    }

    void checkVariables() const
    {
        for (const Held &held : _held) {
            mustHold(held.variable.empty() || held.variable == held.bytes,
                     "a variable has what was written last");
        }
    }

    [[nodiscard]] tarno_statistics statistics() const
    {
        tarno_statistics copy{};
        tarno_device_statistics(_device.get(), &copy);
        return copy;
    }

    static constexpr std::array<std::uint16_t, 4> ids{0x0001, 0x083A, 0x80BA, 0xFFFF};

private:
    static std::uint16_t idOf(const Frame &request)
    {
        return static_cast<std::uint16_t>(request[2] | request[3] << 8);
    }

    Held *find(std::uint16_t id)
    {
        const auto found = std::find_if(_held.begin(), _held.end(),
                                        [id](const Held &held) { return held.declared.id == id; });
        return found == _held.end() ? nullptr : &*found;
    }

    static bool isAsked(const Held *held)
    {
        return held != nullptr && held->declared.get != nullptr;
    }

    Frame readAnswer(std::uint16_t id)
    {
        const Held *const held = find(id);
        const auto low = static_cast<std::uint8_t>(id);
        const auto high = static_cast<std::uint8_t>(id >> 8);
        if (isAsked(held) && s_outcome == TARNO_NOT_NOW) {
            return {};
        }
        if (held == nullptr || (isAsked(held) && s_outcome != TARNO_DONE)) {
            return {0x13, 3, 0, 0, low, high};
        }
        const std::uint8_t access = held->declared.writable != 0 ? writableBit : 0;
        Frame answer{0x12,   static_cast<std::uint8_t>(held->bytes.size() + 3),
                     access, static_cast<std::uint8_t>(held->declared.kind),
                     low,    high};
        answer.insert(answer.end(), held->bytes.begin(), held->bytes.end());
        return answer;
    }

    Frame writeAnswer(const Frame &request)
    {
        Held *const held = find(idOf(request));
        const bool fits = held != nullptr && held->declared.writable != 0 &&
                          request.size() == held->declared.width + 4 &&
                          request[1] == held->declared.width + 3;
        if (fits && isAsked(held) && s_outcome == TARNO_NOT_NOW) {
            return {};
        }
        const bool isDone = fits && (!isAsked(held) || s_outcome == TARNO_DONE);
        if (isDone) {
            held->bytes.assign(request.begin() + 4, request.end());
        }
        return {isDone ? std::uint8_t{0x11} : std::uint8_t{0x14}, request[1], request[2],
                request[3]};
    }

    std::vector<Held> _held;
    std::unique_ptr<tarno_device, Free> _device;
};

Frame requestFrom(FuzzedDataProvider &input)
{
    const std::uint16_t id = input.ConsumeBool() ? input.PickValueInArray(Application::ids)
                                                 : input.ConsumeIntegral<std::uint16_t>();
    const auto low = static_cast<std::uint8_t>(id);
    const auto high = static_cast<std::uint8_t>(id >> 8);
    switch (input.ConsumeIntegralInRange(0, 2)) {
    case 0:
        return {2, 7, low, high, 0, 0, 0, 0};
    case 1: {
        Frame value = input.ConsumeBytes<std::uint8_t>(
            input.PickValueInArray<std::size_t>({1, 2, 4, 16, widest}));
        Frame request{1, static_cast<std::uint8_t>(value.size() + 3), low, high};
        request.insert(request.end(), value.begin(), value.end());
        return request;
    }
    default:
        return input.ConsumeBytes<std::uint8_t>(
            input.ConsumeIntegralInRange<std::size_t>(0, longestRequest + 44));
    }
}

/// One step with any message and any system call failing. Returns whether it took a message.
bool perform(Application &application, FuzzedDataProvider &input)
{
    s_outcome = input.PickValueInArray({TARNO_DONE, TARNO_FAILED, TARNO_NOT_NOW});
    const Frame request = requestFrom(input);
    deviceQueues::put(request);
    deviceQueues::follow(input);
    const int result = application.step();
    const bool wasTaken = deviceQueues::wasTaken();
    mustHold(wasTaken == (result == 1), "a step tells whether it took a message");
    mustHold(result <= 1, "a step takes one message");
    const Frame expected = wasTaken ? application.expected(request) : Frame();
    const Frame sent = deviceQueues::sent();
    mustHold(deviceQueues::sends() <= 1, "a message gets one answer at most");
    mustHold(sent.empty() ? expected.empty() || deviceQueues::failed() : sent == expected,
             "a request gets its answer");
    application.checkVariables();
    return wasTaken;
}

void checkCounts(const tarno_statistics &counted, std::uint64_t taken)
{
    mustHold(counted.reads + counted.writes + counted.malformed + counted.oversized == taken,
             "every message is counted once");
    mustHold(counted.answers + counted.lost_answers + counted.unanswered ==
                 counted.reads + counted.writes,
             "every request has its outcome");
    mustHold(counted.unknown <= counted.errors + counted.lost_answers,
             "unknown objects are errors");
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    FuzzedDataProvider input(bytes, size);
    deviceQueues::reset();
    Application application(input);
    std::uint64_t taken = 0;
    for (unsigned left = input.ConsumeIntegralInRange(1U, 8U); left > 0; --left) {
        taken += perform(application, input) ? 1 : 0;
    }
    checkCounts(application.statistics(), taken);

    deviceQueues::calmDown();
    s_outcome = TARNO_DONE;
    const Frame read{2, 7, 1, 0, 0, 0, 0, 0};
    deviceQueues::put(read);
    for (int tries = 2; tries > 0 && !deviceQueues::wasTaken(); --tries) {
        static_cast<void>(application.step());
    }
    mustHold(deviceQueues::sent() == application.expected(read), "a good request is answered");
    return 0;
}
