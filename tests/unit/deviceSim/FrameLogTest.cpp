#include "FrameLog.h"
#include "Parsing.h"
#include "SimulatorFixture.h"

#include <sstream>
#include <string>

namespace
{
class FrameLogTest : public SimulatorFixture
{
protected:
    /// The only line written, without its time stamp.
    std::string logged()
    {
        const std::string line = _stream.str();
        EXPECT_EQ(line.find('\n'), line.size() - 1);
        const std::size_t stampEnd = line.find(' ');
        EXPECT_EQ(line.find_first_not_of("0123456789."), stampEnd);
        return line.substr(stampEnd + 1, line.size() - stampEnd - 2);
    }

    std::string request(std::string_view frame)
    {
        log.request(exchange(frame), device);
        return logged();
    }

    std::string answer(RequestKind kind, std::string_view frame)
    {
        log.answer(kind, parsing::hexBytes(frame));
        return logged();
    }

private:
    std::ostringstream _stream;

protected:
    FrameLog log{&_stream};
};
} // namespace

TEST_F(FrameLogTest, showsAReadRequest)
{
    EXPECT_EQ(request("02 07 02 01 00 00 00 00"),
              "request read id=0x0102 : 02 07 02 01 00 00 00 00");
}

TEST_F(FrameLogTest, showsAWriteRequestWithItsValue)
{
    EXPECT_EQ(request("01 05 02 01 0a 0b"),
              "request write id=0x0102 length=5 value=0a 0b : 01 05 02 01 0a 0b");
}

TEST_F(FrameLogTest, showsTheNameOfTheObject)
{
    device.objects.erase(byteId);
    device.objects.emplace(byteId, DeviceObject(byteId, ValueKind::string, 1, false, "fan\n"));
    EXPECT_EQ(request("02 07 02 01 00 00 00 00"),
              "request read id=0x0102 name=\"fan\\x0a\" : 02 07 02 01 00 00 00 00");
}

TEST_F(FrameLogTest, marksUnknownObjects)
{
    EXPECT_EQ(request("01 03 99 01"), "request write id=0x0199 unknown length=3 : 01 03 99 01");
}

TEST_F(FrameLogTest, showsWhatIsNoRequest)
{
    EXPECT_EQ(request("ff 01"), "request malformed : ff 01");
}

TEST_F(FrameLogTest, showsTheAnswerToARead)
{
    EXPECT_EQ(answer(RequestKind::read, "12 04 10 00 02 01 c8"),
              "answer read command=0x12 length=4 attribute=0x0010 id=0x0102 value=c8 : "
              "12 04 10 00 02 01 c8");
}

TEST_F(FrameLogTest, showsTextsAsText)
{
    EXPECT_EQ(answer(RequestKind::read, "12 07 00 02 01 01 61 22 00 62"),
              "answer read command=0x12 length=7 attribute=0x0200 id=0x0101 text=\"a\"\" : "
              "12 07 00 02 01 01 61 22 00 62");
}

TEST_F(FrameLogTest, showsTheAnswerToAWrite)
{
    EXPECT_EQ(answer(RequestKind::write, "11 04 02 01"),
              "answer write command=0x11 length=4 id=0x0102 : 11 04 02 01");
}

TEST_F(FrameLogTest, showsAnswersThatWereCutOff)
{
    EXPECT_EQ(answer(RequestKind::write, "11 04 02"), "answer write : 11 04 02");
}

TEST_F(FrameLogTest, showsAnEmptyAnswerToARead)
{
    EXPECT_EQ(answer(RequestKind::read, ""),
              "answer read command=0x00 length=0 attribute=0x0000 id=0x0000 : ");
}

TEST_F(FrameLogTest, notesEvents)
{
    log.note("queues are gone");
    EXPECT_EQ(logged(), "note queues are gone");
}

TEST(FrameLog, withoutAStreamWritesNothing)
{
    FrameLog log;
    log.note("nobody reads this");
    log.answer(RequestKind::write, {});
    log.request({}, {});
}
