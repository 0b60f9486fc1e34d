#pragma once

#include "Findings.h"

#include <string>
#include <vector>

/// Findings as JUnit XML, for continuous integration: a test case for each thing that was checked.
/// It fails if there is an error or a warning about it that counts.
namespace junitReport
{
/// `checked` has the names of the objects in findings; the rows of a column share one. Findings
/// about anything else belong to the first test case, which stands for the whole.
[[nodiscard]] std::string write(const Findings &findings, const std::string &whole,
                                const std::vector<std::string> &checked);
} // namespace junitReport
