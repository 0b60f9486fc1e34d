#pragma once

#include "SnmpDataBase.h"
#include "agent/AgentLibrary.h"
#include "support/MappingFile.h"
#include "support/ScriptedDevice.h"
#include "support/TestDirectory.h"

#include <memory>
#include <string>

#include <gtest/gtest.h>

/// The surroundings of the agent's classes: a mapping file, a device application on fresh queues
/// and the agent library without registrations. The device has no base OID unless a test sets one.
class AgentFixture : public testing::Test
{
public:
    AgentFixture(const AgentFixture &) = delete;
    AgentFixture &operator=(const AgentFixture &) = delete;

protected:
    AgentFixture();
    ~AgentFixture() override;

    /// Where everything is registered if the device has no base OID.
    static Name defaultBase();
    static constexpr const char *defaultBaseText = ".1.3.6.1.4.1.32473.8.2.2.3.8";

    void deviceGivesBaseOid(const std::string &text) { _pDevice->holdsText(0x80BA, text); }

    /// Replaces this process by a program with the agent's `main`, as a subagent whose master does
    /// not exist.
    [[noreturn]] void becomes(const char *program) const;

    MappingFile _mapping;
    std::unique_ptr<ScriptedDevice> _pDevice;

private:
    /// Where a program that this process becomes looks for its files, and puts them.
    TestDirectory _files;
};
