#include "CommandLine.h"

#include "support/CapturedOutput.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

namespace
{
std::string usage()
{
    return "\nUsage:  tarnoSnmp [OPTIONS] [LISTENING ADDRESSES]"
           "\n  -c FILE[,...]\t\tif master agent,read FILE(s) as snmpd \n"
           "\t\t\t  configuration file(s),snmpd.conf.\n"
           "  -d FILE[,...]\t\tRead FILE(s) as database configuration file(s)\n"
           "\t\t\t  the database contains the mapping relationship\n"
           "\t\t\t  between VQP4's OID and SNMP's OID.\n"
           "  -X\t\t\tRun as an AgentX subagent rather than as an\n"
           "\t\t\t  SNMP master agent.\n"
           "  -x ADDRESS\t\tUse ADDRESS as master agent listening address \n"
           "\t\t\t  or AgentX address.\n"
           "  -n NAME\t\tUse NAME as AgentX NAME,each subagent name\n"
           "\t\t\t  cannot be the same.\n"
           "  -p [PORT]\t\tif master agent,the snmp udp port.\n"
           "  -h, --help\t\tDisplay this usage message\n"
           "  --version\t\tShow tarnoSnmp version.\n"
           "\n";
}

class CommandLineTest : public testing::Test
{
protected:
    /// What getopt(3) itself prints on standard error belongs to the C library and is not captured.
    std::optional<int> parse(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), "tarnoSnmp");
        _arguments = std::move(arguments);
        std::vector<char *> pointers;
        for (std::string &argument : _arguments) {
            pointers.push_back(argument.data());
        }
        pointers.push_back(nullptr);
        optind = 0;
        testing::internal::CaptureStderr();
        const auto exitStatus =
            _commandLine.parse(static_cast<int>(_arguments.size()), pointers.data());
        testing::internal::GetCapturedStderr();
        return exitStatus;
    }

    void parseAll(const std::vector<std::string> &arguments)
    {
        EXPECT_EQ(parse(arguments), std::nullopt);
        EXPECT_EQ(_output.text(), "");
    }

    [[nodiscard]] const Settings &settings() const { return _commandLine.settings(); }

    std::vector<std::string> _arguments;
    CommandLine _commandLine;
    CapturedOutput _output;
};

TEST_F(CommandLineTest, EverySettingIsMissingAtFirst)
{
    EXPECT_STREQ(settings().dbPath, "null:path");
    EXPECT_STREQ(settings().confPath, "null:path");
    EXPECT_STREQ(settings().transport, "null:port");
    EXPECT_STREQ(settings().agentXName, "null:name");
    EXPECT_STREQ(settings().udpPort, "null:port");
    EXPECT_FALSE(settings().isSubagent);
}

TEST_F(CommandLineTest, EveryOptionSetsItsSetting)
{
    parseAll({"-c", "conf", "-d", "db", "-n", "name", "-p", "port", "-x", "address", "-X"});
    EXPECT_STREQ(settings().confPath, "conf");
    EXPECT_STREQ(settings().dbPath, "db");
    EXPECT_STREQ(settings().agentXName, "name");
    EXPECT_STREQ(settings().udpPort, "port");
    EXPECT_STREQ(settings().transport, "address");
    EXPECT_TRUE(settings().isSubagent);
}

TEST_F(CommandLineTest, AnOptionSetsNothingButItsSetting)
{
    using Texts = std::vector<std::string>;
    const std::string options = "cdnpxX";
    const Texts missing{"null:path", "null:path", "null:name", "null:port", "null:port", "master"};
    for (std::size_t k = 0; k < options.size(); ++k) {
        CommandLine commandLine;
        EXPECT_EQ(commandLine.apply(options[k], "subagent"), std::nullopt) << options[k];
        const Settings &set = commandLine.settings();
        Texts expected = missing;
        expected[k] = "subagent";
        EXPECT_EQ((Texts{set.confPath, set.dbPath, set.agentXName, set.udpPort, set.transport,
                         set.isSubagent ? "subagent" : "master"}),
                  expected)
            << options[k];
    }
}

TEST_F(CommandLineTest, TheLastOfARepeatedOptionHolds)
{
    parseAll({"-dfirst", "-dlast"});
    EXPECT_STREQ(settings().dbPath, "last");
}

TEST_F(CommandLineTest, ArgumentsThatAreNotOptionsAreNotUsed)
{
    parseAll({"udp:161", "-d", "db", "tcp:161"});
    EXPECT_STREQ(settings().dbPath, "db");
}

TEST_F(CommandLineTest, UnknownLongOptionsAreIgnored)
{
    parseAll({"--foo", "-d", "db", "--helper", "--vers"});
    EXPECT_STREQ(settings().dbPath, "db");
}

TEST_F(CommandLineTest, HelpPrintsTheUsageAndFails)
{
    EXPECT_EQ(parse({"-h"}), 1);
    EXPECT_EQ(_output.text(), usage());
}

TEST_F(CommandLineTest, LongHelpPrintsTheUsageAndFails)
{
    EXPECT_EQ(parse({"--help"}), 1);
    EXPECT_EQ(parse({"--HeLp"}), 1);
    EXPECT_EQ(_output.text(), usage() + usage());
}

TEST_F(CommandLineTest, VersionIsPrintedInAnyCase)
{
    EXPECT_EQ(parse({"--version"}), 0);
    EXPECT_EQ(parse({"--VERSION"}), 0);
    EXPECT_EQ(_output.text(), "tarnoSnmp version:  1.0.0\ntarnoSnmp version:  1.0.0\n");
}

TEST_F(CommandLineTest, WhatEndsTheProcessEndsTheParsing)
{
    EXPECT_EQ(parse({"--version", "-h", "-d", "db"}), 0);
    EXPECT_EQ(_output.text(), "tarnoSnmp version:  1.0.0\n");
    EXPECT_STREQ(settings().dbPath, "null:path");
}

TEST_F(CommandLineTest, TheOptionWithoutAMeaningIsRefused)
{
    EXPECT_EQ(parse({"-L", "x"}), 1);
    EXPECT_EQ(_output.text(), "tarnoSnmp: error option\n" + usage());
}

TEST_F(CommandLineTest, AnUnknownOptionIsRefused)
{
    EXPECT_EQ(parse({"-q"}), 1);
    EXPECT_EQ(_output.text(), "tarnoSnmp: error option\n" + usage());
}

TEST_F(CommandLineTest, AMissingArgumentIsRefused)
{
    EXPECT_EQ(parse({"-d"}), 1);
    EXPECT_EQ(_output.text(), "tarnoSnmp: error option\n" + usage());
}

TEST_F(CommandLineTest, AnOptionThatYieldsNoArgumentPrintsTheUsage)
{
    EXPECT_EQ(parse({}), std::nullopt);
    std::string usages;
    for (const char option : std::string("cdnpx-")) {
        EXPECT_EQ(_commandLine.apply(option, nullptr), 1) << option;
        usages += usage();
    }
    EXPECT_EQ(_output.text(), usages);
}

TEST_F(CommandLineTest, TheSubagentFlagNeedsNoArgument)
{
    EXPECT_EQ(_commandLine.apply('X', nullptr), std::nullopt);
    EXPECT_TRUE(settings().isSubagent);
}

TEST_F(CommandLineTest, NoOptionsAtAllLackTheDatabasePath)
{
    parse({});
    EXPECT_EQ(_commandLine.checkCommon(), 1);
    EXPECT_EQ(_output.text(), "\nerror: no database path.\n" + usage());
}

TEST_F(CommandLineTest, TheDatabasePathAloneLacksTheAddress)
{
    parse({"-d", "db"});
    EXPECT_EQ(_commandLine.checkCommon(), 1);
    EXPECT_EQ(_output.text(), "\nerror: no AgentX address.\n" + usage());
}

TEST_F(CommandLineTest, AnArgumentThatSpellsTheSentinelCountsAsMissing)
{
    parse({"-d", "null:path", "-x", "address"});
    EXPECT_EQ(_commandLine.checkCommon(), 1);
    EXPECT_EQ(_output.text(), "\nerror: no database path.\n" + usage());
}

TEST_F(CommandLineTest, TheSentinelOfAnotherSettingIsAValue)
{
    parse({"-d", "null:port", "-x", "null:path"});
    EXPECT_EQ(_commandLine.checkCommon(), std::nullopt);
}

TEST_F(CommandLineTest, ASubagentWithoutANameIsAccepted)
{
    parse({"-d", "db", "-x", "address", "-X"});
    EXPECT_EQ(_commandLine.checkCommon(), std::nullopt);
    EXPECT_EQ(_commandLine.checkSubagent(), std::nullopt);
    EXPECT_STREQ(settings().agentXName, "null:name");
    EXPECT_EQ(_output.text(), "");
}

TEST_F(CommandLineTest, ASubagentNamedLikeTheSentinelOfAnAddressIsRefused)
{
    parse({"-X", "-n", "null:port"});
    EXPECT_EQ(_commandLine.checkSubagent(), 1);
    EXPECT_EQ(_output.text(), "\nerror: no AgentX address.\n" + usage());
}

TEST_F(CommandLineTest, AMasterNeedsTheConfigurationOfTheMasterAgent)
{
    parse({"-d", "db", "-x", "address"});
    EXPECT_EQ(_commandLine.checkMaster(), 1);
    EXPECT_EQ(_output.text(), "\nerror: no snmpd.conf path.\n" + usage());
}

TEST_F(CommandLineTest, AMasterNeedsThePort)
{
    parse({"-c", "conf", "-p", "null:port"});
    EXPECT_EQ(_commandLine.checkMaster(), 1);
    EXPECT_EQ(_output.text(), "\nerror: no snmp udp port.\n" + usage());
}

TEST_F(CommandLineTest, AMasterWithBothIsAccepted)
{
    parse({"-c", "conf", "-p", "161"});
    EXPECT_EQ(_commandLine.checkMaster(), std::nullopt);
    EXPECT_EQ(_output.text(), "");
}

TEST_F(CommandLineTest, TheSettingsEndWithTheBlankOfTheNextLine)
{
    parse({"-d", "db", "-x", "tcp:705"});
    _commandLine.printSettings();
    EXPECT_EQ(_output.text(), "\ndbFath=db\ntransport=tcp:705\nagentXName=null:name\n ");
}

TEST_F(CommandLineTest, TheUsageNamesTheProgramItIsGiven)
{
    printUsage("/opt/agent");
    EXPECT_EQ(_output.text().substr(0, 26), "\nUsage:  /opt/agent [OPTIO");
}
} // namespace
