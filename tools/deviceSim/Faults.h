#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

/// What the simulated device can do wrong.
enum class FaultKind {
    pause,
    delay,
    silent,
    error,
    length,
    wrongId,
    extra,
    truncate,
    raw,
    size,
    duplicate
};

/// The requests that a fault meets.
enum class FaultScope { everything, reads, writes };

/// One way of answering wrongly. Written as its name, its argument, then `times N` (it meets that
/// many requests and is gone; a pause meets one unless told otherwise) and `only reads` or
/// `only writes`, for example "delay 50 times 3".
struct Fault {
    FaultKind kind = FaultKind::silent;
    /// Milliseconds, a byte, an id or a number of bytes, by kind; an error without one uses the
    /// error command of the request.
    std::optional<std::uint32_t> number;
    /// The answer of `raw`.
    std::vector<std::uint8_t> bytes;
    std::optional<std::uint32_t> remaining;
    FaultScope scope = FaultScope::everything;

    /// Throws InputError with the reason.
    static Fault parse(std::span<const std::string_view> words);
};

/// The faults that are in force, per object and for all objects. Of one kind the object's own fault
/// holds; faults of different kinds add up. A second fault of one kind replaces the first.
class Faults
{
public:
    /// The faults that meet one request, one of each kind at most.
    using Active = std::map<FaultKind, Fault>;

    void setForAll(Fault fault);
    void setFor(std::uint16_t id, Fault fault);
    void clear();
    void clearForAll();
    void clearFor(std::uint16_t id);

    /// The faults that this request meets; counted faults count it.
    [[nodiscard]] Active take(std::uint16_t id, FaultScope request);

private:
    static void takeFrom(Active &source, FaultScope request, Active &taken);

    Active _forAll;
    std::map<std::uint16_t, Active> _forObject;
};
