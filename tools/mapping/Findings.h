#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

enum class Severity { note, warning, error };

/// One kind of finding. A code never changes its meaning.
struct CheckRule {
    std::string_view code;
    Severity severity;
    std::string_view title;
    /// What the agent does, or what a manager sees.
    std::string_view effect;
    std::string_view remedy;
};

/// All rules, in the order of their codes.
[[nodiscard]] std::span<const CheckRule> checkRules();
/// The rule of an existing code.
[[nodiscard]] const CheckRule &checkRule(std::string_view code);

/// Where something was found. Unknown parts are empty or 0.
struct FindingPlace {
    std::string table;
    /// Row of the database table, counted from 1.
    std::size_t row = 0;
    std::string column;
};

struct Finding {
    const CheckRule *rule;
    FindingPlace place;
    /// The offending content.
    std::string what;
    /// Replaces the effect of the rule unless it is empty.
    std::string effect;
};

/// The findings of one check.
class Findings
{
public:
    void add(std::string_view code, FindingPlace place, std::string what, std::string effect = {});

    [[nodiscard]] const std::vector<Finding> &all() const noexcept { return _all; }

    [[nodiscard]] std::size_t count(Severity severity) const;

    /// Removes all findings in a table except those with the code.
    void keepOnly(std::string_view code, std::string_view table);

    /// Sorts by table, row and code; findings without a row come first.
    void sort();

private:
    std::vector<Finding> _all;
};

/// Findings for people, with the totals in the last line, and for programs.
namespace findingsReport
{
[[nodiscard]] std::string text(const Findings &findings, bool inColour);
[[nodiscard]] std::string json(const Findings &findings);
/// Every rule with its severity.
[[nodiscard]] std::string rules();
} // namespace findingsReport
