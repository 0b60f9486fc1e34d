#pragma once

#include "SourcePlaces.h"

#include <cstddef>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

enum class Severity { note, warning, error };

/// "note", "warning" or "error"
[[nodiscard]] std::string_view severityWord(Severity severity);

/// One kind of finding. A code never changes its meaning.
struct CheckRule {
    std::string_view code;
    Severity severity;
    std::string_view title;
    /// What the agent does, or what a manager sees.
    std::string_view effect;
    std::string_view remedy;
};

/// All rules of `check`, in the order of their codes.
[[nodiscard]] std::span<const CheckRule> checkRules();
/// Those of `verify`.
[[nodiscard]] std::span<const CheckRule> verifyRules();
/// The rule of an existing code of either.
[[nodiscard]] const CheckRule &checkRule(std::string_view code);

/// Where something was found. Unknown parts are empty or 0.
struct FindingPlace {
    std::string table;
    /// Row of the database table, counted from 1.
    std::size_t row = 0;
    std::string column;
    /// Whether it concerns the whole table that the row belongs to.
    bool isOfTable = false;
};

/// "TABLE, row 4, column", as far as known.
[[nodiscard]] std::string placeText(const FindingPlace &place);

struct Finding {
    const CheckRule *rule;
    FindingPlace place;
    /// The offending content.
    std::string what;
    /// Replaces the effect of the rule unless it is empty.
    std::string effect;
    /// Name and OID of the object, as far as they are known.
    std::string object = {};
    std::string oid = {};
    /// Where the source says it; nowhere in a database.
    SourceMark mark = {};
    /// The reason in the source; empty: it is not accepted.
    std::string acceptedBecause = {};

    /// Whether the baseline has it.
    bool isKnown = false;

    [[nodiscard]] bool isAccepted() const noexcept { return !acceptedBecause.empty(); }

    [[nodiscard]] bool counts() const noexcept { return !isAccepted() && !isKnown; }
};

/// What the rule, or this finding, says that the agent does.
[[nodiscard]] std::string_view effectOf(const Finding &finding);
/// The same for findings of the same kind in the same object, wherever it is written.
[[nodiscard]] std::string fingerprintOf(const Finding &finding);

/// The findings of one check.
class Findings
{
public:
    Finding &add(std::string_view code, FindingPlace place, std::string what,
                 std::string effect = {});

    [[nodiscard]] const std::vector<Finding> &all() const noexcept { return _all; }

    [[nodiscard]] std::vector<Finding> &all() noexcept { return _all; }

    /// The file that was checked, as the user named it.
    void setFile(std::string file) { _file = std::move(file); }

    [[nodiscard]] const std::string &file() const noexcept { return _file; }

    /// Those that are neither accepted nor known.
    [[nodiscard]] std::size_t count(Severity severity) const;
    [[nodiscard]] std::size_t countAccepted() const;
    [[nodiscard]] std::size_t countKnown() const;

    /// Sets the baseline: marks findings with these fingerprints as known.
    void markKnown(const std::set<std::string> &fingerprints);

    [[nodiscard]] bool hasBaseline() const noexcept { return _hasBaseline; }

    /// Removes all findings in a table except those with the code.
    void keepOnly(std::string_view code, std::string_view table);

    /// Sorts by place in the source, table, row and code; findings without a row come first.
    /// Removes repetitions: a source says once what a table has in every row.
    void sort();

private:
    std::string _file;
    bool _hasBaseline = false;
    std::vector<Finding> _all;
};

/// Findings for people, with the totals in the last line, and for programs.
namespace findingsReport
{
/// Omits findings less severe than `least`, except in the totals.
[[nodiscard]] std::string text(const Findings &findings, bool inColour,
                               Severity least = Severity::note);
[[nodiscard]] std::string json(const Findings &findings);
/// Every rule with its severity.
[[nodiscard]] std::string rules(std::span<const CheckRule> rules);
/// 0 clean, 1 warnings, 2 errors.
[[nodiscard]] int exitStatus(const Findings &findings);
} // namespace findingsReport
