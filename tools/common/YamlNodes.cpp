#include "YamlNodes.h"

#include "InputError.h"
#include "Numbers.h"
#include "Suggestions.h"
#include "TextForms.h"

#include <algorithm>
#include <sstream>

#include <yaml-cpp/eventhandler.h>

namespace
{
/// A parsed text takes up to 250 times its size.
constexpr std::size_t longestText = std::size_t{8} << 20;

/// Notes where a document begins, and whether it has any content.
class DocumentOutline : public YAML::EventHandler
{
public:
    [[nodiscard]] bool hasContent() const noexcept { return _hasContent; }

    [[nodiscard]] const YAML::Mark &start() const noexcept { return _start; }

    void OnDocumentStart(const YAML::Mark &mark) override { _start = mark; }

    void OnDocumentEnd() override {}

    void OnNull(const YAML::Mark & /*mark*/, YAML::anchor_t /*anchor*/) override {}

    void OnAlias(const YAML::Mark & /*mark*/, YAML::anchor_t /*anchor*/) override { found(); }

    void OnScalar(const YAML::Mark & /*mark*/, const std::string & /*tag*/,
                  YAML::anchor_t /*anchor*/, const std::string & /*value*/) override
    {
        found();
    }

    void OnSequenceStart(const YAML::Mark & /*mark*/, const std::string & /*tag*/,
                         YAML::anchor_t /*anchor*/, YAML::EmitterStyle::value /*style*/) override
    {
        found();
    }

    void OnSequenceEnd() override {}

    void OnMapStart(const YAML::Mark & /*mark*/, const std::string & /*tag*/,
                    YAML::anchor_t /*anchor*/, YAML::EmitterStyle::value /*style*/) override
    {
        found();
    }

    void OnMapEnd() override {}

private:
    void found() { _hasContent = true; }

    YAML::Mark _start;
    bool _hasContent = false;
};

/// Loading all documents would not end with some malformed texts: yaml-cpp 0.7 then finds empty
/// ones forever.
void requireOneDocument(const std::string &text)
{
    std::istringstream stream(text);
    YAML::Parser parser(stream);
    DocumentOutline first;
    DocumentOutline second;
    if (parser.HandleNextDocument(first) && parser.HandleNextDocument(second) &&
        second.hasContent()) {
        throw PlacedError(second.start(), "second document in the file");
    }
}
} // namespace

void yamlNodes::read(const std::string &text, const std::string &name,
                     const std::function<void(const YAML::Node &, YamlErrors &)> &action)
{
    if (text.size() > longestText) {
        throw InputError(textForms::oneLine(name) +
                         ": is longer than 8 MiB, the limit for YAML files");
    }
    YamlErrors errors(text);
    errors.collect([&] {
        try {
            requireOneDocument(text);
            action(YAML::Load(text), errors);
        } catch (const YAML::Exception &error) {
            throw PlacedError(error.mark, textForms::oneLine(error.msg));
        }
    });
    errors.throwAny(name);
}

void yamlNodes::fail(const YAML::Node &node, const std::string &reason)
{
    throw PlacedError(node.Mark(), reason);
}

std::string yamlNodes::bytes(const YAML::Node &node, std::string_view what)
{
    if (!node.IsScalar()) {
        fail(node, std::string(what) + " is not a single value");
    }
    return node.Scalar();
}

std::string yamlNodes::text(const YAML::Node &node, std::string_view what)
{
    std::string text = bytes(node, what);
    if (!textForms::isUtf8(text) || text.find('\0') != std::string::npos) {
        fail(node, std::string(what) + ' ' + textForms::quoted(text) + " is not UTF-8 text");
    }
    return text;
}

std::uint64_t yamlNodes::number(const YAML::Node &node, std::string_view what,
                                std::uint64_t smallest, std::uint64_t largest)
{
    const std::string written = text(node, what);
    return at(node, [&] {
        return static_cast<std::uint64_t>(
            numbers::within(written, static_cast<std::int64_t>(smallest),
                            static_cast<std::int64_t>(largest), what));
    });
}

YAML::Node yamlNodes::list(const YAML::Node &node, std::string_view what)
{
    if (!node.IsSequence()) {
        fail(node, std::string(what) + " is not a list");
    }
    return node;
}

YamlMap::YamlMap(const YAML::Node &node, YamlErrors &errors, std::string_view what,
                 std::initializer_list<std::string_view> known)
    : _node(node), _what(what)
{
    if (!node.IsMap()) {
        yamlNodes::fail(node, _what + " is not a map");
    }
    checkKeys(errors, {known.begin(), known.size()});
}

void YamlMap::checkKeys(YamlErrors &errors, std::span<const std::string_view> known) const
{
    std::vector<std::string> seen;
    for (const auto &entry : _node) {
        errors.collect([&] {
            const std::string key = yamlNodes::text(entry.first, "key");
            if (std::find(known.begin(), known.end(), key) == known.end()) {
                yamlNodes::fail(entry.first, "unknown key " + textForms::quoted(key) + " in " +
                                                 _what + suggestions::among(key, known));
            }
            if (std::find(seen.begin(), seen.end(), key) != seen.end()) {
                yamlNodes::fail(entry.first,
                                "duplicate key " + textForms::quoted(key) + " in " + _what);
            }
            seen.push_back(key);
        });
    }
}

YAML::Node YamlMap::find(std::string_view key) const
{
    return _node[std::string(key)];
}

YAML::Node YamlMap::required(std::string_view key) const
{
    const YAML::Node node = find(key);
    if (!node) {
        yamlNodes::fail(_node, _what + " has no " + textForms::quoted(key));
    }
    return node;
}

std::string YamlMap::text(std::string_view key) const
{
    const YAML::Node node = find(key);
    return node ? yamlNodes::text(node, key) : std::string();
}

std::uint64_t YamlMap::number(std::string_view key, std::uint64_t largest,
                              std::uint64_t otherwise) const
{
    const YAML::Node node = find(key);
    return node ? yamlNodes::number(node, key, 0, largest) : otherwise;
}

bool YamlMap::flag(std::string_view key) const
{
    const YAML::Node node = find(key);
    bool isSet = false;
    if (node && !YAML::convert<bool>::decode(node, isSet)) {
        yamlNodes::fail(node, std::string(key) + " is neither true nor false");
    }
    return isSet;
}
