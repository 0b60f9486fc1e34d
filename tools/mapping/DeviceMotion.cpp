#include "DeviceMotion.h"

#include "InputError.h"
#include "Numbers.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <span>
#include <sstream>
#include <string>
#include <vector>

namespace
{
using deviceMotion::Range;
using Numbers = std::span<const std::int64_t>;

constexpr double shortestTime = 0.01;
constexpr double longestTime = 86400;

Range ofRamp(Numbers numbers)
{
    return {std::min(numbers[0], numbers[1]), std::max(numbers[0], numbers[1])};
}

Range ofSine(Numbers numbers)
{
    const std::int64_t amplitude = std::max(numbers[1], -numbers[1]);
    return {numbers[0] - amplitude, numbers[0] + amplitude};
}

Range ofWalk(Numbers numbers)
{
    return {numbers[1], numbers[2]};
}

Range ofClock(Numbers /*numbers*/)
{
    // From now on, until a signed number of four bytes ends.
    return {0, std::numeric_limits<std::int32_t>::max()};
}

struct Form {
    const char *word;
    std::size_t numbers;
    std::size_t times;
    bool isLastTimeOptional;
    /// Null: unlimited, or not known.
    Range (*range)(Numbers);
};

constexpr std::array forms{
    Form{"counter", 1, 1, true, nullptr}, Form{"ramp", 2, 1, false, ofRamp},
    Form{"sine", 2, 1, false, ofSine},    Form{"walk", 3, 1, true, ofWalk},
    Form{"clock", 0, 0, false, ofClock},
};

std::vector<std::string> wordsOf(std::string_view text)
{
    std::istringstream stream{std::string(text)};
    std::vector<std::string> words;
    for (std::string word; stream >> word;) {
        words.push_back(word);
    }
    return words;
}

bool isTime(const std::string &word)
{
    double seconds = 0;
    const char *const end = word.data() + word.size();
    const auto [stop, error] = std::from_chars(word.data(), end, seconds);
    return error == std::errc{} && stop == end && seconds >= shortestTime && seconds <= longestTime;
}

/// The numbers of a motion of this form, or nothing.
std::optional<std::vector<std::int64_t>> numbersIn(const std::vector<std::string> &words,
                                                   const Form &form)
{
    const std::size_t most = 1 + form.numbers + form.times;
    const std::size_t least = most - static_cast<std::size_t>(form.isLastTimeOptional);
    if (words.size() < least || words.size() > most ||
        !std::all_of(words.begin() + static_cast<std::ptrdiff_t>(1 + form.numbers), words.end(),
                     isTime)) {
        return std::nullopt;
    }
    std::vector<std::int64_t> numbers;
    try {
        for (std::size_t index = 1; index <= form.numbers; ++index) {
            numbers.push_back(numbers::within(words[index],
                                              std::numeric_limits<std::int32_t>::min(),
                                              std::numeric_limits<std::uint32_t>::max(), "number"));
        }
    } catch (const InputError &) {
        return std::nullopt;
    }
    const bool isWalk = form.range == ofWalk;
    const bool isInvalidWalk = isWalk && (numbers.at(0) < 0 || numbers.at(1) > numbers.at(2));
    return isInvalidWalk ? std::nullopt : std::optional(numbers);
}

const Form *formOf(const std::vector<std::string> &words)
{
    const auto *const found = std::find_if(forms.begin(), forms.end(), [&words](const Form &form) {
        return !words.empty() && words.front() == form.word;
    });
    return found == forms.end() ? nullptr : found;
}
} // namespace

bool deviceMotion::isKnown(std::string_view text)
{
    const std::vector<std::string> words = wordsOf(text);
    const Form *const form = formOf(words);
    return form != nullptr ? numbersIn(words, *form).has_value()
                           : words.size() == 2 && words.front() == "replay";
}

std::optional<deviceMotion::Range> deviceMotion::rangeOf(std::string_view text)
{
    const std::vector<std::string> words = wordsOf(text);
    const Form *const form = formOf(words);
    if (form == nullptr || form->range == nullptr) {
        return std::nullopt;
    }
    const auto numbers = numbersIn(words, *form);
    return numbers ? std::optional(form->range(*numbers)) : std::nullopt;
}
