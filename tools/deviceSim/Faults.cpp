#include "Faults.h"

#include "InputError.h"
#include "Numbers.h"
#include "Parsing.h"
#include "Suggestions.h"
#include "TextForms.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <string>
#include <utility>

namespace
{
enum class Argument { none, optionalNumber, number, bytes };

struct FaultForm {
    std::string_view name;
    /// As the help shows the argument, and what the fault does.
    std::string_view shown;
    std::string_view purpose;
    FaultKind kind;
    Argument argument;
    std::uint32_t largest;
    /// How many requests it affects by default; nothing: all.
    std::optional<std::uint32_t> times{};
};

constexpr std::uint32_t longestDelay = 600'000;
/// The default message size limit of the kernel.
constexpr std::uint32_t largestAnswer = 8192;
/// Leaves room for the longest correct answer.
constexpr std::uint32_t mostExtraBytes = largestAnswer - 258;
constexpr std::uint32_t mostDuplicates = 1000;
constexpr std::uint32_t mostTimes = 1'000'000;

constexpr std::array<FaultForm, 11> forms{{
    {"pause", "MS", "once, process the request that much later", FaultKind::pause, Argument::number,
     longestDelay, 1},
    {"delay", "MS", "send the answer that much later", FaultKind::delay, Argument::number,
     longestDelay},
    {"silent", "", "send no answer", FaultKind::silent, Argument::none, 0},
    {"error", "[BYTE]", "refuse the request", FaultKind::error, Argument::optionalNumber, 0xFF},
    {"length", "N", "send a wrong length byte", FaultKind::length, Argument::number, 0xFF},
    {Fault::ofAnotherId, "ID", "answer with another id", FaultKind::wrongId, Argument::number,
     0xFFFF},
    {"extra", "N", "append N bytes", FaultKind::extra, Argument::number, mostExtraBytes},
    {"truncate", "N", "cut the answer after N bytes", FaultKind::truncate, Argument::number,
     largestAnswer},
    {"raw", "HEX", "answer with these bytes", FaultKind::raw, Argument::bytes, 0},
    {"size", "N", "answer with N bytes of garbage", FaultKind::size, Argument::number,
     largestAnswer},
    {"duplicate", "[TIMES]", "repeat the answer", FaultKind::duplicate, Argument::optionalNumber,
     mostDuplicates},
}};

using Words = std::span<const std::string_view>;

std::string_view takeWord(Words &words)
{
    const std::string_view word = words.front();
    words = words.subspan(1);
    return word;
}

std::string_view takeArgument(Words &words, std::string_view of)
{
    if (words.empty()) {
        throw InputError("\"" + std::string(of) + "\" needs an argument");
    }
    return takeWord(words);
}

const FaultForm &formOf(std::string_view name)
{
    const auto *const form = std::find_if(
        forms.begin(), forms.end(), [&](const FaultForm &known) { return known.name == name; });
    if (form == forms.end()) {
        std::array<std::string_view, forms.size()> names;
        std::transform(forms.begin(), forms.end(), names.begin(),
                       [](const FaultForm &known) { return known.name; });
        throw InputError("unknown fault " + textForms::quoted(name) +
                         suggestions::nearest(name, names));
    }
    return *form;
}

bool isQualifier(std::string_view word)
{
    return word == "times" || word == "only";
}

void readArgument(Fault &fault, const FaultForm &form, Words &words)
{
    if (form.argument == Argument::none ||
        (form.argument == Argument::optionalNumber && (words.empty() || isQualifier(words[0])))) {
        return;
    }
    const std::string_view argument = takeArgument(words, form.name);
    if (form.argument == Argument::bytes) {
        fault.bytes = parsing::hexBytes(argument);
        return;
    }
    fault.number =
        static_cast<std::uint32_t>(numbers::within(argument, 0, form.largest, form.name));
}

FaultScope scopeOf(std::string_view word)
{
    if (word == "reads") {
        return FaultScope::reads;
    }
    if (word == "writes") {
        return FaultScope::writes;
    }
    throw InputError(textForms::quoted("only " + std::string(word)) +
                     R"( is neither "only reads" nor "only writes")");
}

void readQualifiers(Fault &fault, Words words)
{
    while (!words.empty()) {
        const std::string_view qualifier = takeWord(words);
        if (!isQualifier(qualifier)) {
            throw InputError("unexpected " + textForms::quoted(qualifier) + " after the fault");
        }
        const std::string_view argument = takeArgument(words, qualifier);
        if (qualifier == "only") {
            fault.scope = scopeOf(argument);
        } else {
            fault.remaining =
                static_cast<std::uint32_t>(numbers::within(argument, 1, mostTimes, qualifier));
        }
    }
}

bool affects(const Fault &fault, FaultScope request)
{
    return fault.scope == FaultScope::everything || fault.scope == request;
}
} // namespace

Fault Fault::parse(Words words)
{
    if (words.empty()) {
        throw InputError("missing fault");
    }
    const FaultForm &form = formOf(takeWord(words));
    Fault fault;
    fault.kind = form.kind;
    fault.remaining = form.times;
    readArgument(fault, form, words);
    readQualifiers(fault, words);
    return fault;
}

std::string Fault::help(std::size_t column)
{
    std::string lines;
    for (const FaultForm &form : forms) {
        std::string line = "  " + std::string(form.name) + ' ' + std::string(form.shown);
        line.resize(column, ' ');
        lines += line + std::string(form.purpose) + '\n';
    }
    return lines;
}

void Faults::setForAll(Fault fault)
{
    _forAll[fault.kind] = std::move(fault);
}

void Faults::setFor(std::uint16_t id, Fault fault)
{
    _forObject[id][fault.kind] = std::move(fault);
}

void Faults::clear()
{
    _forAll.clear();
    _forObject.clear();
}

void Faults::clearForAll()
{
    _forAll.clear();
}

void Faults::clearFor(std::uint16_t id)
{
    _forObject.erase(id);
}

Faults::Active Faults::take(std::uint16_t id, FaultScope request)
{
    Active taken;
    const auto own = _forObject.find(id);
    if (own != _forObject.end()) {
        takeFrom(own->second, request, taken);
    }
    takeFrom(_forAll, request, taken);
    return taken;
}

void Faults::takeFrom(Active &source, FaultScope request, Active &taken)
{
    for (auto at = source.begin(); at != source.end();) {
        Fault &fault = at->second;
        const bool isTaken = affects(fault, request) && taken.emplace(at->first, fault).second;
        const bool isUsedUp = isTaken && fault.remaining && --*fault.remaining == 0;
        at = isUsedUp ? source.erase(at) : std::next(at);
    }
}
