#pragma once

#include "SnmpManager.h"

#include <CLI/CLI.hpp>

/// The options of a command that is a manager: --snmp with the address of the agent, and those for
/// credentials and patience, named as the Net-SNMP clients name them. Returns --snmp, which the
/// others need. The settings must outlive the command.
CLI::Option *addSnmpOptions(CLI::App &command, SnmpSettings &settings);
