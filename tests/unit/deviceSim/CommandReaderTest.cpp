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
    CommandReader _commands{device, _stream};
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

TEST_F(CommandReaderTest, helpsInOneLine)
{
    const std::string help = replyTo("help");
    EXPECT_EQ(help.find('\n'), help.size() - 1);
    EXPECT_NE(help.find("fault ID|all"), std::string::npos);
    EXPECT_NE(help.find("pause MS, delay MS"), std::string::npos);
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

TEST_F(CommandReaderTest, endsAtTheFirstWrongCommandWithItsLine)
{
    EXPECT_EQ(feed("get 0x0102\n\nbogus\nget 0x0102\n"), State::failed);
    EXPECT_EQ(replies(), "value 200\nerror: line 3: unknown command \"bogus\"\n");
    EXPECT_EQ(feed("get 0x0102\n"), State::failed);
    EXPECT_EQ(replies(), "");
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
        WrongCommand{"get x", "object id \"x\" is not a number from 0 to 65535"},
        WrongCommand{"fault 1",
                     "usage: fault ID|all KIND [ARGUMENT] [times N] [only reads|writes]"},
        WrongCommand{"fault 1 sleepy", "unknown fault \"sleepy\""},
        WrongCommand{"fault x silent", "object id \"x\" is not a number from 0 to 65535"},
        WrongCommand{"clear 1 2", "usage: clear [ID|all]"},
        WrongCommand{"stats 1 2", "usage: stats [ID]"}, WrongCommand{"quit now", "usage: quit"},
        WrongCommand{"g\x01t", "unknown command \"g\\x01t\""}));

TEST_F(CommandReaderTest, refusesALineWithoutAnEnd)
{
    EXPECT_EQ(feed(std::string(70'000, 'x')), State::failed);
    EXPECT_EQ(replies(), "error: line 1: line longer than 65536 bytes\n");
}
