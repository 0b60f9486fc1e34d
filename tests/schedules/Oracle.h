#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

/// Makes the choices of one schedule after another, so that each sequence of choices occurs once. A
/// schedule runs from its beginning and calls the oracle wherever it can continue in more than one
/// way. `advance` then changes the last choice that has an untried option. Copyable: a copy repeats
/// the schedule.
class Oracle
{
public:
    static constexpr unsigned noLimit = 1000;

    /// Limits the disturbances in a schedule. One in `shares` schedules belongs to share `share`,
    /// selected by its first choices.
    Oracle(unsigned disturbances, unsigned share, unsigned shares) noexcept
        : _disturbances(disturbances), _disturbancesLeft(disturbances), _share(share),
          _shares(shares)
    {
    }

    /// A number below `options`; 0 is tried first.
    unsigned choose(unsigned options) noexcept;
    /// As `choose`. Every option but 0 is a disturbance; once no more are allowed, only 0 is
    /// chosen.
    unsigned chooseDisturbance(unsigned options) noexcept;

    [[nodiscard]] bool mayDisturb() const noexcept { return _disturbancesLeft > 0; }

    void disturb() noexcept { --_disturbancesLeft; }

    /// Returns to the beginning of the same schedule.
    void rewind() noexcept;
    /// Moves on to the next schedule; false if there is none.
    bool advance() noexcept;
    /// Whether the schedule that just ran belongs to this share.
    [[nodiscard]] bool isOurs() const noexcept;

private:
    struct Choice {
        std::uint8_t taken;
        std::uint8_t options;
    };

    static constexpr std::size_t mostChoices = 96;
    /// The number of first choices that determine a schedule's share.
    static constexpr std::size_t sharedOutBy = 4;

    std::array<Choice, mostChoices> _choices{};
    std::size_t _length = 0;
    std::size_t _position = 0;
    unsigned _disturbances;
    unsigned _disturbancesLeft;
    unsigned _share;
    unsigned _shares;
};
