#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

enum class Severity { note, warning, error };

/// One thing that a check can find: its code stays what it is for ever.
struct CheckRule {
    std::string_view code;
    Severity severity;
    std::string_view title;
    /// What the agent does with it, or what a manager sees.
    std::string_view effect;
    std::string_view remedy;
};

/// All rules, in the order of their codes.
[[nodiscard]] std::span<const CheckRule> checkRules();
/// The rule of a code that is one.
[[nodiscard]] const CheckRule &checkRule(std::string_view code);

/// Where something was found. What is not known is empty or 0.
struct FindingPlace {
    std::string table;
    /// Row of the database table, counted from 1.
    std::size_t row = 0;
    std::string column;
};

struct Finding {
    const CheckRule *rule;
    FindingPlace place;
    /// What stands there.
    std::string what;
    /// In place of the rule's where it is not empty.
    std::string effect;
};

/// What one check found.
class Findings
{
public:
    void add(std::string_view code, FindingPlace place, std::string what, std::string effect = {});

    [[nodiscard]] const std::vector<Finding> &all() const noexcept { return _all; }

    [[nodiscard]] std::size_t count(Severity severity) const;

    /// By table, row and code; what has no row comes first.
    void sort();

private:
    std::vector<Finding> _all;
};

/// Findings for people, with a last line that counts them, and for programs.
namespace findingsReport
{
[[nodiscard]] std::string text(const Findings &findings, bool inColour);
[[nodiscard]] std::string json(const Findings &findings);
/// Every rule with its severity.
[[nodiscard]] std::string rules();
} // namespace findingsReport
