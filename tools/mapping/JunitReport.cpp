#include "JunitReport.h"

#include "TextForms.h"

#include <algorithm>
#include <map>
#include <sstream>

#include <pugixml.hpp>

namespace
{
using ByObject = std::map<std::string, std::vector<const Finding *>>;

bool isFailure(const Finding &finding)
{
    return finding.rule->severity != Severity::note && finding.counts();
}

std::string printable(const std::string &text)
{
    return textForms::oneLine(text);
}

void appendCase(pugi::xml_node suite, const std::string &name,
                const std::vector<const Finding *> &findings)
{
    pugi::xml_node test = suite.append_child("testcase");
    test.append_attribute("classname") = suite.attribute("name").value();
    test.append_attribute("name") = printable(name).c_str();
    for (const Finding *finding : findings) {
        const std::string what = std::string(finding->rule->code) + ": " + finding->what;
        pugi::xml_node failure = test.append_child("failure");
        failure.append_attribute("type") = std::string(finding->rule->code).c_str();
        failure.append_attribute("message") = printable(what).c_str();
        const std::string text = "effect: " + std::string(effectOf(*finding)) +
                                 "\nremedy: " + std::string(finding->rule->remedy);
        failure.text().set(text.c_str());
    }
}
} // namespace

std::string junitReport::write(const Findings &findings, const std::string &whole,
                               const std::vector<std::string> &checked)
{
    ByObject failures;
    for (const Finding &finding : findings.all()) {
        if (isFailure(finding)) {
            const bool isKnown =
                std::find(checked.begin(), checked.end(), finding.object) != checked.end();
            failures[isKnown ? finding.object : std::string()].push_back(&finding);
        }
    }
    std::vector<std::string> names;
    for (const std::string &name : checked) {
        if (std::find(names.begin(), names.end(), name) == names.end()) {
            names.push_back(name);
        }
    }
    pugi::xml_document document;
    pugi::xml_node suite = document.append_child("testsuite");
    suite.append_attribute("name") = printable(findings.file()).c_str();
    suite.append_attribute("tests") = static_cast<unsigned long long>(names.size()) + 1;
    suite.append_attribute("failures") = static_cast<unsigned long long>(failures.size());
    appendCase(suite, whole, failures[{}]);
    for (const std::string &name : names) {
        appendCase(suite, name, failures[name]);
    }
    std::ostringstream text;
    document.save(text, "  ");
    return text.str();
}
