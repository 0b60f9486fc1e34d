#pragma once

/// Keeps from the agent library what would crash it when a set is slow: repeated steps of sets, and
/// answers to sets of a closed session. Works by itself, as long as the library calls the functions
/// that AgentXGuard.cpp defines instead of its own.
namespace agentXGuard
{
/// Whether the library calls them.
bool isInPlace();
} // namespace agentXGuard
