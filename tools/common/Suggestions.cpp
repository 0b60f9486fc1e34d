#include "Suggestions.h"

#include "NearestWord.h"

std::string suggestions::nearest(std::string_view word, std::span<const std::string_view> known)
{
    const auto meant = nearestWord(word, known);
    return meant && *meant != word ? " (did you mean \"" + std::string(*meant) + "\"?)"
                                   : std::string();
}

std::string suggestions::among(std::string_view word, std::span<const std::string_view> known)
{
    std::string text = nearest(word, known) + "; allowed: ";
    for (std::size_t index = 0; index < known.size(); ++index) {
        text += (index == 0 ? "" : ", ") + std::string(known[index]);
    }
    return text;
}
