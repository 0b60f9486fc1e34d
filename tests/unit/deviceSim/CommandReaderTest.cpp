#include "CommandReader.h"
#include "SimulatorFixture.h"

#include <sstream>
#include <string>

namespace
{
using State = CommandReader::State;

class CommandReaderTest : public SimulatorFixture
{
protected:
    State feed(std::string_view input) { return _commands.feed(input); }

    State finish() { return _commands.finish(); }

    /// The replies since the last call.
    std::string replies()
    {
        std::string text = _stream.str();
        _stream.str({});
        return text;
    }

    std::string replyTo(std::string_view line)
    {
        feed(std::string(line) + '\n');
        return replies();
    }

private:
    std::ostringstream _stream;
    CommandReader _commands{device, _stream, CommandReader::AfterError::end};
};
} // namespace

TEST_F(CommandReaderTest, getsValues)
{
    EXPECT_EQ(replyTo("get 0x0101"), "value abc\n");
    EXPECT_EQ(replyTo("get 258"), "value 200\n");
    EXPECT_EQ(replyTo("get 0x0104"), "value 01 02 03\n");
}

TEST_F(CommandReaderTest, setsValuesAlsoOfObjectsThatAreNotWritable)
{
    EXPECT_EQ(replyTo("set 0x0102 7"), "ok\n");
    EXPECT_EQ(valueOf(byteId), "7");
    EXPECT_EQ(replyTo("set 0x0105 9"), "ok\n");
    EXPECT_EQ(valueOf(fixedId), "9");
    EXPECT_EQ(replyTo("set 0x0104 0a 0b 0c"), "ok\n");
    EXPECT_EQ(valueOf(blockId), "0a 0b 0c");
}

TEST_F(CommandReaderTest, keepsTheBlanksOfAText)
{
    replyTo("set 0x0101  a b ");
    EXPECT_EQ(valueOf(textId), " a b ");
    replyTo("set 0x0101");
    EXPECT_EQ(valueOf(textId), "");
}

TEST_F(CommandReaderTest, setsAndClearsFaults)
{
    EXPECT_EQ(replyTo("fault 0x0102 silent"), "ok\n");
    EXPECT_EQ(read(byteId), "");
    EXPECT_EQ(replyTo("clear 0x0102"), "ok\n");
    EXPECT_NE(read(byteId), "");
    EXPECT_EQ(replyTo("fault all silent only reads"), "ok\n");
    EXPECT_EQ(read(textId), "");
    EXPECT_EQ(replyTo("clear all"), "ok\n");
    EXPECT_NE(read(textId), "");
    replyTo("fault all silent");
    EXPECT_EQ(replyTo("clear"), "ok\n");
    EXPECT_NE(read(textId), "");
}

TEST_F(CommandReaderTest, takesFaultsOfObjectsThatAreNotThere)
{
    EXPECT_EQ(replyTo("fault 0x0199 silent"), "ok\n");
}

TEST_F(CommandReaderTest, showsTheCounters)
{
    read(byteId);
    read(unknownId);
    exchange("ff");
    EXPECT_EQ(replyTo("stats"), "stats reads=2 writes=0 answers=0 unknown=1 malformed=1 lost=0\n");
    EXPECT_EQ(replyTo("stats 0x0102"), "stats 0x0102 reads=1 writes=0 answers=0\n");
    EXPECT_EQ(replyTo("stats 0x0001"), "stats 0x0001 reads=0 writes=0 answers=0\n");
}

TEST_F(CommandReaderTest, helpsInLinesThatEndWithOk)
{
    const std::string help = replyTo("help");
    EXPECT_TRUE(help.starts_with("set ID VALUE            change a value"));
    EXPECT_TRUE(help.ends_with("\nok\n"));
    EXPECT_NE(help.find("\nfault ID|all FAULT      answer"), std::string::npos);
    EXPECT_NE(help.find("\n  wrong-id ID           answer"), std::string::npos);
}

TEST_F(CommandReaderTest, listsObjectsWithTheirNamesAndValues)
{
    device.objects.clear();
    DeviceObject voltage(0x0121, ValueKind::unsignedInteger, 2, false, "supplyVoltage");
    voltage.setPlaces(1);
    voltage.setText("48.2");
    device.objects.emplace(0x0121, voltage);
    device.objects.emplace(0x0101, DeviceObject(0x0101, ValueKind::string, 2, true, "x"));
    EXPECT_EQ(replyTo("list"), "0x0101  x              \n"
                               "0x0121  supplyVoltage  482 (48.2)\n"
                               "ok\n");
}

TEST_F(CommandReaderTest, quits)
{
    EXPECT_EQ(feed("quit\nget 0x0101\n"), State::quit);
    EXPECT_EQ(replies(), "ok\n");
}

TEST_F(CommandReaderTest, skipsEmptyLinesAndComments)
{
    EXPECT_EQ(feed("\n  \n# a remark\nget 0x0102\r\n"), State::running);
    EXPECT_EQ(replies(), "value 200\n");
}

TEST_F(CommandReaderTest, putsLinesTogetherThatArriveInPieces)
{
    feed("get 0x01");
    EXPECT_EQ(replies(), "");
    feed("02\nget 0x0101\nget");
    EXPECT_EQ(replies(), "value 200\nvalue abc\n");
}

TEST_F(CommandReaderTest, carriesOutALastLineWithoutAnEnd)
{
    feed("get 0x0102");
    EXPECT_EQ(finish(), State::running);
    EXPECT_EQ(replies(), "value 200\n");
    EXPECT_EQ(finish(), State::running);
    EXPECT_EQ(replies(), "");
}

TEST_F(CommandReaderTest, takesANameInPlaceOfAnId)
{
    device.objects.emplace(0x0121,
                           DeviceObject(0x0121, ValueKind::unsignedInteger, 1, true, "level"));
    EXPECT_EQ(replyTo("set level 7"), "ok\n");
    EXPECT_EQ(replyTo("get level"), "value 7\n");
    EXPECT_EQ(replyTo("fault level silent"), "ok\n");
    EXPECT_EQ(read(0x0121), "");
    EXPECT_EQ(replyTo("clear level"), "ok\n");
    EXPECT_EQ(replyTo("stats level"), "stats 0x0121 reads=1 writes=0 answers=0\n");
    replyTo("fault 0x0102 wrong-id level");
    EXPECT_EQ(read(byteId), "12 04 10 00 21 01 c8");
}

TEST_F(CommandReaderTest, endsAtTheFirstWrongCommandWithItsLine)
{
    EXPECT_EQ(feed("get 0x0102\n\nbogus\nget 0x0102\n"), State::failed);
    EXPECT_EQ(replies(), "value 200\nerror: line 3: unknown command \"bogus\"; help lists them\n");
    EXPECT_EQ(feed("get 0x0102\n"), State::failed);
    EXPECT_EQ(replies(), "");
}

TEST_F(CommandReaderTest, carriesOnAfterAWrongCommandIfItShall)
{
    std::ostringstream stream;
    CommandReader commands(device, stream, CommandReader::AfterError::carryOn);
    EXPECT_EQ(commands.feed("bogus\nget 0x0102\n"), State::running);
    EXPECT_EQ(stream.str(),
              "error: line 1: unknown command \"bogus\"; help lists them\nvalue 200\n");
}

TEST_F(CommandReaderTest, refusesALongLineOnceAndTakesTheNext)
{
    std::ostringstream stream;
    CommandReader commands(device, stream, CommandReader::AfterError::carryOn);
    for (int piece = 0; piece < 3; ++piece) {
        EXPECT_EQ(commands.feed(std::string(70'000, 'x')), State::running);
    }
    commands.feed("x\nget 0x0102\n");
    EXPECT_EQ(stream.str(), "error: line 1: line longer than 65536 bytes\nvalue 200\n");
}

namespace
{
struct WrongCommand {
    const char *line;
    const char *reason;
};

class WrongCommandTest : public CommandReaderTest, public testing::WithParamInterface<WrongCommand>
{
};
} // namespace

TEST_P(WrongCommandTest, isRefusedWithTheReason)
{
    EXPECT_EQ(feed(std::string(GetParam().line) + '\n'), State::failed);
    EXPECT_EQ(replies(), "error: line 1: " + std::string(GetParam().reason) + '\n');
}

INSTANTIATE_TEST_SUITE_P(
    Commands, WrongCommandTest,
    testing::Values(
        WrongCommand{"set", "usage: set ID VALUE"}, WrongCommand{"get", "usage: get ID"},
        WrongCommand{"get 1 2", "usage: get ID"}, WrongCommand{"get 0x0199", "no object 0x0199"},
        WrongCommand{"set 0x0199 1", "no object 0x0199"},
        WrongCommand{"set 0x0102 256", "value \"256\" is not a number from 0 to 255"},
        WrongCommand{"get x", "no object \"x\""},
        WrongCommand{"get 65536", "object id \"65536\" is not a number from 0 to 65535"},
        WrongCommand{"fault 1", "usage: fault ID|all FAULT"},
        WrongCommand{"fault 1 slient", "unknown fault \"slient\" (did you mean \"silent\"?)"},
        WrongCommand{"fault 1 wrong-id", "\"wrong-id\" needs an argument"},
        WrongCommand{"list 1", "usage: list"},
        WrongCommand{"fault 1 sleepy", "unknown fault \"sleepy\""},
        WrongCommand{"fault x silent", "no object \"x\""},
        WrongCommand{"clear 1 2", "usage: clear [ID|all]"},
        WrongCommand{"stats 1 2", "usage: stats [ID]"}, WrongCommand{"quit now", "usage: quit"},
        WrongCommand{"sett 1 2",
                     "unknown command \"sett\" (did you mean \"set\"?); help lists them"},
        WrongCommand{"\x01", "unknown command \"\\x01\"; help lists them"}));

TEST_F(CommandReaderTest, refusesALineWithoutAnEnd)
{
    EXPECT_EQ(feed(std::string(70'000, 'x')), State::failed);
    EXPECT_EQ(replies(), "error: line 1: line longer than 65536 bytes\n");
}
