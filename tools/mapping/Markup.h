#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

/// An HTML text under construction. All texts and attribute values are escaped, whatever they
/// contain; only tags, attribute names and `addRaw` come as they are.
class Markup
{
public:
    using Attributes = std::initializer_list<std::pair<const char *, std::string>>;

    /// An open element; the destructor closes it.
    class Element
    {
    public:
        Element(Markup &markup, const char *tag, Attributes attributes);
        ~Element();
        Element(const Element &) = delete;
        Element &operator=(const Element &) = delete;

    private:
        Markup &_markup;
        const char *_tag;
    };

    void add(std::string_view text);
    void addRaw(std::string_view markup);
    /// An element that contains nothing but text.
    void add(const char *tag, std::string_view text, Attributes attributes = {});
    /// An element without content or end, such as meta.
    void addVoid(const char *tag, Attributes attributes);

    [[nodiscard]] const std::string &text() const noexcept { return _text; }

private:
    void open(const char *tag, Attributes attributes);

    std::string _text;
};
