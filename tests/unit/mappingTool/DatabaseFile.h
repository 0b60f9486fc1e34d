#pragma once

#include "Findings.h"
#include "MappingSource.h"
#include "support/TestDirectory.h"

#include <set>
#include <string>

/// A mapping database on disk that tests change with SQL.
class DatabaseFile
{
public:
    /// A database made by these statements; empty if there are none.
    explicit DatabaseFile(const std::string &statements = {});

    [[nodiscard]] const std::string &path() const noexcept { return _path; }

    /// Runs statements; a failure fails the test.
    void run(const std::string &statements) const;

    [[nodiscard]] std::string bytes() const;
    void replaceBytes(const std::string &bytes) const;

private:
    TestDirectory _directory;
    std::string _path;
};

/// A database without a single finding: five scalars, and the tables .2.1 and .2.2 with 8 rows
/// each.
[[nodiscard]] std::string soundDatabase();

/// Everything that the agent loads from a mapping, as text, record by record in order.
[[nodiscard]] std::string recordsOf(const MappingSource &mapping);

/// The codes of all findings.
[[nodiscard]] std::set<std::string> codesOf(const Findings &findings);

/// The path of a golden file.
std::string goldenPath(const std::string &name);

/// Compares with a golden file; a difference fails the test. With the environment variable
/// UPDATE_GOLDEN set, writes the file instead.
void expectGolden(const std::string &name, const std::string &text);
