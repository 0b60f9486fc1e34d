#pragma once

#include "Findings.h"

#include <string>

/// Findings as SARIF 2.1.0, for code hosts, editors and continuous integration: all rules, and a
/// result for each finding. Those of a source have a region, and accepted ones a suppression.
namespace sarifReport
{
[[nodiscard]] std::string write(const Findings &findings);
} // namespace sarifReport
