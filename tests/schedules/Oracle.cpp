#include "Oracle.h"

#include <algorithm>
#include <cstdlib>

unsigned Oracle::choose(unsigned options) noexcept
{
    if (options < 2 || (_position >= sharedOutBy && !isOurs())) {
        return 0;
    }
    if (_position == _length) {
        if (_length == mostChoices) {
            std::abort();
        }
        _choices[_length] = {.taken = 0, .options = static_cast<std::uint8_t>(options)};
        ++_length;
    }
    // A schedule that does not repeat exactly cannot be explored.
    if (_choices[_position].options != options) {
        std::abort();
    }
    return _choices[_position++].taken;
}

unsigned Oracle::chooseDisturbance(unsigned options) noexcept
{
    const unsigned chosen = mayDisturb() ? choose(options) : 0;
    if (chosen > 0) {
        disturb();
    }
    return chosen;
}

void Oracle::rewind() noexcept
{
    _position = 0;
    _disturbancesLeft = _disturbances;
}

bool Oracle::advance() noexcept
{
    _length = _position;
    while (_length > 0 && _choices[_length - 1].taken + 1 == _choices[_length - 1].options) {
        --_length;
    }
    if (_length == 0) {
        return false;
    }
    ++_choices[_length - 1].taken;
    return true;
}

bool Oracle::isOurs() const noexcept
{
    unsigned key = 0;
    for (std::size_t index = 0; index < std::min(_position, sharedOutBy); ++index) {
        key = key * 31U + _choices[index].taken;
    }
    return key % _shares == _share;
}
