#pragma once

#include "Findings.h"
#include "ServedObjects.h"
#include "SnmpManager.h"
#include "VerifyReport.h"

#include <chrono>

/// Checks from the manager's side whether an agent serves what a mapping promises: walks it, gets
/// what the walk did not find and, with `isWriting`, sets every object to what it has. An agent
/// that does not answer, or refuses the manager, is one finding.
namespace verifySnmp
{
struct Options {
    /// Also sets read-only objects, which must fail.
    bool isWriting = false;
    /// After this time nothing more is asked.
    std::chrono::seconds limit{};
};

/// `settings` and the rest as in SnmpManager; throws InputError as its constructor does.
[[nodiscard]] Findings verify(const ServedMapping &served, const SnmpSettings &settings,
                              const Options &options, VerifySummary &summary);
} // namespace verifySnmp
