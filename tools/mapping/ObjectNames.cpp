#include "ObjectNames.h"

#include "MappingWords.h"
#include "Numbers.h"
#include "ServedObjects.h"
#include "SmiText.h"

#include <algorithm>
#include <cctype>
#include <set>
#include <string_view>
#include <utility>

namespace
{
constexpr std::size_t longestWords = 28;
/// A name has at most 64 characters.
constexpr std::size_t roomForNumber = 58;

bool isPlain(char character)
{
    const auto byte = static_cast<unsigned char>(character);
    return byte < 0x80 && std::isalnum(byte) != 0;
}

char upper(char character)
{
    return static_cast<char>(std::toupper(static_cast<unsigned char>(character)));
}

char lower(char character)
{
    return static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
}

/// "Air intake, degrees" becomes "AirIntake": only the text before the first punctuation counts.
std::string joinedWords(std::string_view text)
{
    std::string joined;
    bool isWordStart = true;
    for (const char each : text.substr(0, text.find_first_of(",;:.("))) {
        if (!isPlain(each)) {
            isWordStart = true;
            continue;
        }
        joined += isWordStart ? upper(each) : each;
        isWordStart = false;
    }
    return joined.substr(0, longestWords);
}

/// The name without its end if that is the day of a revision.
std::string withoutDay(const std::string &name)
{
    constexpr std::size_t digits = 8;
    const std::size_t last = name.find_last_not_of("0123456789");
    const bool isDated = last != std::string::npos && name.size() - last - 1 == digits;
    return isDated ? name.substr(0, last + 1) : name;
}

class Namer
{
public:
    explicit Namer(std::string module) : _module(std::move(module)) {}

    /// The wanted name, or a similar one if it is taken.
    std::string claim(const std::string &wanted)
    {
        std::string name = wanted;
        for (unsigned number = 2; objectNames::isOfModule(name, _module) ||
                                  !_taken.insert(objectNames::folded(name)).second;
             ++number) {
            name = wanted.substr(0, roomForNumber) + 'X' + std::to_string(number);
        }
        return name;
    }

    /// The same for a table, which also claims the names of its parts.
    void claimFor(ServedTable &table, const std::string &wanted)
    {
        do {
            table.notes.name = claim(wanted);
        } while (_taken.contains(objectNames::folded(tableStem(table) + "Entry")));
        _taken.insert(objectNames::folded(tableStem(table) + "Entry"));
        _taken.insert(objectNames::folded(tableStem(table) + "SubIndex"));
    }

private:
    std::string _module;
    std::set<std::string> _taken;
};

std::string nameOf(const ServedObject &object, const std::string &stem)
{
    if (mappingWords::isName(object.notes.name)) {
        return object.notes.name;
    }
    if (object.isRowNumber()) {
        return stem + "Row";
    }
    const std::string words = joinedWords(object.info.text);
    if (object.instances.empty()) {
        return "retired" + words;
    }
    if (object.table) {
        return stem + (words.empty() ? "Column" + std::to_string(object.column) : words);
    }
    if (words.empty() || std::isdigit(static_cast<unsigned char>(words.front())) != 0) {
        return "object" +
               numbers::objectIdText(object.instances.front().objId.value_or(0)).substr(2) + words;
    }
    return lower(words.front()) + words.substr(1);
}

void nameAll(std::vector<ServedObject> &objects, bool isNamed,
             const std::vector<ServedTable> &tables, Namer &namer)
{
    for (ServedObject &object : objects) {
        if (mappingWords::isName(object.notes.name) == isNamed) {
            const std::string stem = object.table ? tableStem(tables[*object.table]) : "";
            object.notes.name = namer.claim(nameOf(object, stem));
        }
    }
}
} // namespace

std::string objectNames::folded(std::string name)
{
    std::transform(name.begin(), name.end(), name.begin(), lower);
    return name;
}

std::string objectNames::ofModule(const std::string &name)
{
    return mappingWords::isModuleName(name) ? name : unnamedModule;
}

bool objectNames::isOfModule(const std::string &name, const std::string &module)
{
    const std::string plain = folded(name);
    const std::string node = folded(smiText::stem(module) + "Node");
    // Without folding the rest: a capital X begins the number of a name that was taken.
    if (plain.size() > node.size() && plain.starts_with(node) &&
        name.find_first_not_of("0123456789x", node.size()) == std::string::npos) {
        return true;
    }
    const std::string identity = smiText::identity(module);
    const auto isPart = [&](const char *part) { return plain == folded(identity + part); };
    const auto isOfRevision = [&](const char *part) {
        return withoutDay(plain) == folded(identity + part);
    };
    return isPart("") || isPart("Conformance") || isPart("Notifications") ||
           isOfRevision("Compliance") || isOfRevision("Group") || isOfRevision("NotificationGroup");
}

void objectNames::complete(ServedMapping &served)
{
    if (served.module.name.empty()) {
        served.module.name = objectNames::unnamedModule;
    }
    Namer namer(ofModule(served.module.name));
    for (NodeName &group : served.module.groups) {
        group.name = namer.claim(group.name);
    }
    for (std::size_t index = 0; index < served.tables.size(); ++index) {
        const std::string name = served.tables[index].notes.name;
        namer.claimFor(served.tables[index],
                       mappingWords::isName(name) ? name : "table" + std::to_string(index + 1));
    }
    // Objects that the author named come first, so that they keep their names.
    for (const bool isNamed : {true, false}) {
        for (auto *const objects : {&served.retired, &served.objects}) {
            nameAll(*objects, isNamed, served.tables, namer);
        }
    }
}
