#include "SmiText.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>
#include <utility>

namespace
{
using Spelling = std::pair<std::string_view, std::string_view>;

/// Longer ones before those that they begin with.
constexpr std::array spellings{
    Spelling{"\u00B0C", "degrees Celsius"},
    Spelling{"\u00B0F", "degrees Fahrenheit"},
    Spelling{"\u00B0", "degrees"},
    Spelling{"\u2103", "degrees Celsius"},
    Spelling{"\u2109", "degrees Fahrenheit"},
    Spelling{"\u2126", "ohm"},
    Spelling{"\u03A9", "ohm"},
    Spelling{"\u00B5", "u"},
    Spelling{"\u03BC", "u"},
    Spelling{"\u2030", "per mille"},
    Spelling{"\u00B2", "2"},
    Spelling{"\u00B3", "3"},
    Spelling{"\u00B1", "+/-"},
    Spelling{"\u00D7", "x"},
    Spelling{"\u00B7", "*"},
    Spelling{"\u2026", "..."},
    Spelling{"\u2013", "-"},
    Spelling{"\u2014", "-"},
    Spelling{"\u2212", "-"},
    Spelling{"\u2018", "'"},
    Spelling{"\u2019", "'"},
    Spelling{"\u201C", "'"},
    Spelling{"\u201D", "'"},
    Spelling{"\u00A0", " "},
};

bool isContinuation(char character)
{
    return (static_cast<unsigned char>(character) & 0xC0U) == 0x80;
}

/// The bytes of the first character.
std::string_view firstCharacter(std::string_view text)
{
    const auto *const next = std::find_if_not(text.begin() + 1, text.end(), isContinuation);
    return text.substr(0, static_cast<std::size_t>(next - text.begin()));
}

bool isAscii(char character)
{
    return (character >= ' ' && character <= '~') || character == '\n' || character == '\t';
}
} // namespace

std::string smiText::quoted(std::string_view text, std::vector<std::string> &lost)
{
    std::string ascii = "\"";
    while (!text.empty()) {
        const auto *const known =
            std::find_if(spellings.begin(), spellings.end(),
                         [text](const Spelling &each) { return text.starts_with(each.first); });
        if (known != spellings.end()) {
            ascii += known->second;
            text.remove_prefix(known->first.size());
            continue;
        }
        const std::string_view character = firstCharacter(text);
        if (isAscii(character.front())) {
            ascii += character.front() == '"' ? '\'' : character.front();
        } else {
            ascii += '?';
            lost.emplace_back(character);
        }
        text.remove_prefix(character.size());
    }
    return ascii + '"';
}

std::string smiText::capitalised(std::string name)
{
    name.front() = static_cast<char>(std::toupper(static_cast<unsigned char>(name.front())));
    return name;
}

std::string smiText::stem(const std::string &module)
{
    std::string name;
    for (std::size_t start = 0; start < module.size();) {
        const std::size_t end = std::min(module.find('-', start), module.size());
        std::string word = module.substr(start, end - start);
        const bool isLast = end == module.size();
        start = end + 1;
        if ((isLast && word == "MIB" && !name.empty()) || word.empty()) {
            continue;
        }
        std::transform(word.begin(), word.end(), word.begin(),
                       [](unsigned char each) { return static_cast<char>(std::tolower(each)); });
        name += name.empty() ? word : capitalised(word);
    }
    return name;
}

std::string smiText::identity(const std::string &module)
{
    const std::string name = stem(module);
    return module.ends_with("-MIB") ? name + "MIB" : name;
}
