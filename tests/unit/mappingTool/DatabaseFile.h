#pragma once

#include "Findings.h"
#include "MappingSource.h"
#include "support/TestDirectory.h"

#include <set>
#include <string>

/// A mapping database on disk that tests change by SQL.
class DatabaseFile
{
public:
    /// A database of these statements, without any an empty one.
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

/// A database without a single finding: five scalars, the tables .2.1 and .2.2 of 8 rows.
[[nodiscard]] std::string soundDatabase();

/// Everything of a mapping that the agent loads, as text, record by record in their order.
[[nodiscard]] std::string recordsOf(const MappingSource &mapping);

/// The codes of all findings.
[[nodiscard]] std::set<std::string> codesOf(const Findings &findings);

/// The content of a golden file; the test fails when the text is another one. With the environment
/// variable UPDATE_GOLDEN set the file is written instead.
void expectGolden(const std::string &name, const std::string &text);
