#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

/// Makes the choices of one schedule after the other, so that each sequence of choices comes once.
/// A schedule is run from its beginning; it asks here wherever it may go on in more than one way.
/// `advance` then changes the last choice that has another way left. Copied freely: a copy repeats
/// the schedule.
class Oracle
{
public:
    static constexpr unsigned noLimit = 1000;

    /// At most so many disturbances in a schedule; of the schedules every `shares`th belongs to
    /// this one, told apart by their first choices.
    Oracle(unsigned disturbances, unsigned share, unsigned shares) noexcept
        : _disturbances(disturbances), _disturbancesLeft(disturbances), _share(share),
          _shares(shares)
    {
    }

    /// A number below `options`. What is chosen first everywhere is 0.
    unsigned choose(unsigned options) noexcept;
    /// The same; all but 0 is a disturbance, and 0 is all that is left when none may come any more.
    unsigned chooseDisturbance(unsigned options) noexcept;

    [[nodiscard]] bool mayDisturb() const noexcept { return _disturbancesLeft > 0; }

    void disturb() noexcept { --_disturbancesLeft; }

    /// Back to the begin of the same schedule.
    void rewind() noexcept;
    /// On to the next schedule; false when all were there.
    bool advance() noexcept;
    /// Whether the schedule just run belongs to this share.
    [[nodiscard]] bool isOurs() const noexcept;

private:
    struct Choice {
        std::uint8_t taken;
        std::uint8_t options;
    };

    static constexpr std::size_t mostChoices = 96;
    /// The number of first choices that decide which share a schedule belongs to.
    static constexpr std::size_t sharedOutBy = 4;

    std::array<Choice, mostChoices> _choices{};
    std::size_t _length = 0;
    std::size_t _position = 0;
    unsigned _disturbances;
    unsigned _disturbancesLeft;
    unsigned _share;
    unsigned _shares;
};
