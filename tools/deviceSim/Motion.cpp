#include "Motion.h"

#include "InputError.h"
#include "MappingWords.h"
#include "Numbers.h"
#include "Parsing.h"
#include "Suggestions.h"
#include "TextForms.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fstream>
#include <limits>
#include <numbers>
#include <random>
#include <span>
#include <utility>
#include <vector>

namespace
{
using Milliseconds = std::chrono::milliseconds;
using Words = std::span<const std::string_view>;

constexpr std::int64_t lowest = std::numeric_limits<std::int32_t>::min();
constexpr std::int64_t highest = std::numeric_limits<std::uint32_t>::max();
constexpr Milliseconds shortestTime{10};
constexpr Milliseconds longestTime{std::chrono::hours{24}};
constexpr Milliseconds usualTime{1000};
constexpr double perSecond = 1000.0;

[[noreturn]] void failUsage(std::string_view kind)
{
    throw InputError("motion is not one of " + std::string(motion::help()) +
                     suggestions::nearest(kind, mappingWords::motions));
}

std::int64_t numberAt(Words words, std::size_t index)
{
    return numbers::within(words[index], lowest, highest, "motion number");
}

Milliseconds timeOf(std::string_view text)
{
    double seconds = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    const Milliseconds time{
        error == std::errc{} && std::abs(seconds) < 1e6 ? std::llround(seconds * perSecond) : 0};
    if (end != text.data() + text.size() || time < shortestTime || time > longestTime) {
        throw InputError("motion time " + textForms::quoted(text) +
                         " is not from 0.01 to 86400 seconds");
    }
    return time;
}

Milliseconds timeAt(Words words, std::size_t index)
{
    return index < words.size() ? timeOf(words[index]) : usualTime;
}

/// The position of a time within its period, from 0 to less than 1.
double phaseOf(Milliseconds time, Milliseconds period)
{
    return static_cast<double>((time % period).count()) / static_cast<double>(period.count());
}

std::int64_t rounded(double number)
{
    return std::llround(number);
}

Motion counter(std::int64_t start, std::int64_t step, Milliseconds every)
{
    return [=](Milliseconds time) { return start + step * (time / every); };
}

Motion ramp(std::int64_t from, std::int64_t to, Milliseconds period)
{
    return [=](Milliseconds time) {
        return from + rounded(phaseOf(time, period) * static_cast<double>(to - from));
    };
}

Motion sine(std::int64_t middle, std::int64_t amplitude, Milliseconds period)
{
    return [=](Milliseconds time) {
        const double angle = 2 * std::numbers::pi * phaseOf(time, period);
        return middle + rounded(std::sin(angle) * static_cast<double>(amplitude));
    };
}

struct Range {
    std::int64_t low;
    std::int64_t high;
};

Motion walk(const MotionStart &start, std::int64_t step, Range range, Milliseconds every)
{
    // The distributions of the standard library differ between platforms; its generator does not.
    return [random = std::minstd_rand(start.seed), done = std::int64_t{0},
            value = std::clamp(start.value, range.low, range.high), step, range,
            every](Milliseconds time) mutable {
        for (; done < time / every; ++done) {
            const auto drawn = static_cast<std::int64_t>(random() >> 4U) % (2 * step + 1);
            value = std::clamp(value + drawn - step, range.low, range.high);
        }
        return value;
    };
}

std::int64_t secondsSince1970(Milliseconds /*time*/)
{
    return std::chrono::duration_cast<std::chrono::seconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

using Recording = std::vector<std::pair<Milliseconds, std::int64_t>>;

/// Reads "seconds,value"; false if the line has another form or its time is not increasing.
bool readSample(std::string_view line, Recording &recording)
{
    const std::size_t comma = line.find(',');
    if (comma == std::string_view::npos) {
        return false;
    }
    double seconds = 0;
    std::int64_t value = 0;
    const char *const end = line.data() + line.size();
    const auto time = std::from_chars(line.data(), line.data() + comma, seconds);
    const auto number = std::from_chars(line.data() + comma + 1, end, value);
    const Milliseconds at{seconds >= 0 && seconds < 1e9 ? std::llround(seconds * perSecond) : -1};
    const bool isLater = recording.empty() || at > recording.back().first;
    if (time.ec != std::errc{} || time.ptr != line.data() + comma || number.ec != std::errc{} ||
        number.ptr != end || at.count() < 0 || !isLater) {
        return false;
    }
    recording.emplace_back(at, value);
    return true;
}

Recording readRecording(const std::string &path)
{
    std::ifstream file(path);
    if (!file) {
        throw InputError("recording " + textForms::oneLine(path) + " cannot be read");
    }
    Recording recording;
    std::size_t number = 0;
    for (std::string line; std::getline(file, line);) {
        ++number;
        if (line.ends_with('\r')) {
            line.pop_back();
        }
        const bool isHeading = number == 1 && line.find_first_of("0123456789") != 0;
        if (!line.empty() && !isHeading && !readSample(line, recording)) {
            throw InputError("recording " + textForms::oneLine(path) + ':' +
                             std::to_string(number) + ": " + textForms::quoted(line) +
                             " is not a time in seconds, later than the one before, a comma "
                             "and a number");
        }
    }
    if (recording.empty()) {
        throw InputError("recording " + textForms::oneLine(path) + " is empty");
    }
    return recording;
}

/// The recording starts over one interval after its last sample: the one before that sample.
Milliseconds lengthOf(const Recording &recording)
{
    const Milliseconds last = recording.back().first;
    const Milliseconds step =
        recording.size() > 1 ? last - recording[recording.size() - 2].first : usualTime;
    return last + step;
}

Motion replay(Recording recording)
{
    const Milliseconds length = lengthOf(recording);
    return [recording = std::move(recording), length](Milliseconds time) {
        const Milliseconds at = time % length;
        const auto next = std::upper_bound(
            recording.begin(), recording.end(), at,
            [](Milliseconds wanted, const auto &sample) { return wanted < sample.first; });
        return next == recording.begin() ? recording.front().second : std::prev(next)->second;
    };
}

Motion walkOf(Words words, const MotionStart &start)
{
    const std::int64_t step = numberAt(words, 1);
    const Range range{numberAt(words, 2), numberAt(words, 3)};
    if (step < 0 || range.low > range.high) {
        throw InputError("walk has a negative step, or LOW is above HIGH");
    }
    return walk(start, step, range, timeAt(words, 4));
}
} // namespace

Motion motion::parse(std::string_view text, const MotionStart &start)
{
    const std::vector<std::string_view> words = parsing::words(text);
    const std::string_view kind = words.empty() ? std::string_view() : words[0];
    const std::size_t count = words.size();
    if (kind == "counter" && (count == 2 || count == 3)) {
        return counter(start.value, numberAt(words, 1), timeAt(words, 2));
    }
    if (kind == "ramp" && count == 4) {
        return ramp(numberAt(words, 1), numberAt(words, 2), timeAt(words, 3));
    }
    if (kind == "sine" && count == 4) {
        return sine(numberAt(words, 1), numberAt(words, 2), timeAt(words, 3));
    }
    if (kind == "walk" && (count == 4 || count == 5)) {
        return walkOf(words, start);
    }
    if (kind == "clock" && count == 1) {
        return secondsSince1970;
    }
    if (kind == "replay" && count == 2) {
        const std::string file(words[1]);
        return replay(readRecording(file.starts_with('/') ? file : start.directory + file));
    }
    failUsage(kind);
}

MotionOrigin motion::beside(const std::string &file, std::uint32_t seed)
{
    return {.seed = seed, .directory = file.substr(0, file.rfind('/') + 1)};
}

std::string_view motion::help()
{
    return "counter STEP [EVERY], ramp FROM TO SECONDS, sine MIDDLE AMPLITUDE SECONDS, "
           "walk STEP LOW HIGH [EVERY], clock, replay FILE";
}
