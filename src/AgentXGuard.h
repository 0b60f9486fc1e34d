#pragma once

/// Protects the agent library from what would crash it during a slow set: repeated set steps, and
/// answers to sets of a closed session. Needs no call, as long as the library uses the functions
/// that AgentXGuard.cpp defines instead of its own.
namespace agentXGuard
{
/// Whether the library uses them.
bool isInPlace();
} // namespace agentXGuard
