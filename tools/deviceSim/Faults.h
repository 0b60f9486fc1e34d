#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// The faults of the simulated device.
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

/// The requests that a fault affects.
enum class FaultScope { everything, reads, writes };

/// One faulty behaviour. Written as its name and argument, then `times N` (it affects N requests
/// and expires; by default a pause affects one, others have no limit) and `only reads` or
/// `only writes`, for example "delay 50 times 3".
struct Fault {
    FaultKind kind = FaultKind::silent;
    /// Milliseconds, a byte, an id or a number of bytes, depending on the kind. Without it, an
    /// error uses the error command of the request.
    std::optional<std::uint32_t> number;
    /// The answer of `raw`.
    std::vector<std::uint8_t> bytes;
    std::optional<std::uint32_t> remaining;
    FaultScope scope = FaultScope::everything;

    /// The name of the fault whose argument is the id of another object.
    static constexpr std::string_view ofAnotherId = "wrong-id";

    /// Throws InputError if the words are not a fault.
    static Fault parse(std::span<const std::string_view> words);

    /// One line for each kind: name, argument and what it does, which begins at that column.
    [[nodiscard]] static std::string help(std::size_t column);
};

/// The active faults, per object and for all objects. Faults of different kinds combine; an
/// object's own fault overrides the one of that kind for all objects, and a later one replaces an
/// earlier one.
class Faults
{
public:
    /// The faults that affect one request, at most one of each kind.
    using Active = std::map<FaultKind, Fault>;

    void setForAll(Fault fault);
    void setFor(std::uint16_t id, Fault fault);
    void clear();
    void clearForAll();
    void clearFor(std::uint16_t id);

    /// The faults that affect this request; limited faults count it.
    [[nodiscard]] Active take(std::uint16_t id, FaultScope request);

private:
    static void takeFrom(Active &source, FaultScope request, Active &taken);

    Active _forAll;
    std::map<std::uint16_t, Active> _forObject;
};
