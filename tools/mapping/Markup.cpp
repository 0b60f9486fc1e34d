#include "Markup.h"

#include "TextForms.h"

namespace
{
/// A character that HTML does not allow becomes the replacement character.
constexpr std::string_view replacement = "\xEF\xBF\xBD";

std::string_view escapeOf(char character)
{
    switch (character) {
    case '&':
        return "&amp;";
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    case '"':
        return "&quot;";
    case '\'':
        return "&#39;";
    default:
        return {};
    }
}

bool isControl(char character)
{
    const auto byte = static_cast<unsigned char>(character);
    return (byte < ' ' && character != '\n' && character != '\t') || byte == 0x7F;
}

std::string escaped(std::string_view text)
{
    const std::string readable =
        textForms::isUtf8(text) ? std::string(text) : textForms::oneLine(text);
    std::string result;
    for (const char each : readable) {
        const std::string_view escape = isControl(each) ? replacement : escapeOf(each);
        result += escape.empty() ? std::string_view(&each, 1) : escape;
    }
    return result;
}
} // namespace

Markup::Element::Element(Markup &markup, const char *tag, Attributes attributes)
    : _markup(markup), _tag(tag)
{
    _markup.open(tag, attributes);
}

Markup::Element::~Element()
{
    _markup._text += std::string("</") + _tag + ">\n";
}

void Markup::add(std::string_view text)
{
    _text += escaped(text);
}

void Markup::addRaw(std::string_view markup)
{
    _text += markup;
}

void Markup::add(const char *tag, std::string_view text, Attributes attributes)
{
    const Element element(*this, tag, attributes);
    add(text);
}

void Markup::addVoid(const char *tag, Attributes attributes)
{
    open(tag, attributes);
    _text += '\n';
}

void Markup::open(const char *tag, Attributes attributes)
{
    _text += std::string("<") + tag;
    for (const auto &[name, value] : attributes) {
        _text += std::string(" ") + name + "=\"" + escaped(value) + '"';
    }
    _text += '>';
}
