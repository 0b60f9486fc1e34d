#include "Motion.h"
#include "ObjectFile.h"
#include "SimulatorFixture.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>

using std::chrono::milliseconds;
using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::Ge;
using testing::HasSubstr;
using testing::Le;

namespace
{
MotionStart startingAt(std::int64_t value, std::uint32_t seed = 1)
{
    return {.value = value, .seed = seed, .directory = {}};
}

std::vector<std::int64_t> valuesAt(const std::string &text, const MotionStart &start,
                                   const std::vector<int> &times)
{
    const Motion motion = motion::parse(text, start);
    std::vector<std::int64_t> values;
    for (const int time : times) {
        values.push_back(motion(milliseconds(time)));
    }
    return values;
}

std::vector<std::int64_t> secondsOf(const std::string &text, const MotionStart &start, int count)
{
    std::vector<int> times;
    for (int second = 0; second < count; ++second) {
        times.push_back(second * 1000);
    }
    return valuesAt(text, start, times);
}

std::string refusalOf(const std::string &text)
{
    return reasonOf([&] { static_cast<void>(motion::parse(text, startingAt(0))); });
}

/// A recording in a file of its own that lasts for one test.
class Recording
{
public:
    explicit Recording(const std::string &content)
    {
        const int descriptor = mkstemp(_path.data());
        EXPECT_GE(descriptor, 0);
        std::ofstream(_path) << content;
        std::fclose(fdopen(descriptor, "w"));
    }

    ~Recording() { std::remove(_path.c_str()); }

    Recording(const Recording &) = delete;
    Recording &operator=(const Recording &) = delete;

    [[nodiscard]] const std::string &path() const { return _path; }

private:
    std::string _path = "/tmp/recordingXXXXXX";
};
} // namespace

TEST(Motion, countsFromItsStartInSteps)
{
    EXPECT_THAT(valuesAt("counter 3", startingAt(10), {0, 999, 1000, 2500}),
                ElementsAre(10, 10, 13, 16));
    EXPECT_THAT(valuesAt("counter -1 0.5", startingAt(0), {0, 500, 1000}), ElementsAre(0, -1, -2));
}

TEST(Motion, rampsAndStartsAgain)
{
    EXPECT_THAT(valuesAt("ramp 0 100 10", startingAt(7), {0, 2500, 9999, 10000}),
                ElementsAre(0, 25, 100, 0));
    EXPECT_THAT(valuesAt("ramp 10 -10 2", startingAt(0), {0, 1000}), ElementsAre(10, 0));
}

TEST(Motion, swingsAroundItsMiddle)
{
    EXPECT_THAT(valuesAt("sine 100 50 4", startingAt(0), {0, 1000, 2000, 3000, 4000}),
                ElementsAre(100, 150, 100, 50, 100));
}

TEST(Motion, walksWithinItsLimits)
{
    EXPECT_THAT(secondsOf("walk 4 -5 5", startingAt(100), 200), Each(AllOf(Ge(-5), Le(5))));
    const auto values = secondsOf("walk 4 -100 100", startingAt(0), 50);
    EXPECT_EQ(values.front(), 0);
    for (std::size_t index = 1; index < values.size(); ++index) {
        EXPECT_LE(std::abs(values[index] - values[index - 1]), 4);
    }
}

TEST(Motion, walksTheSameWayForTheSameSeedHoweverItIsAsked)
{
    EXPECT_EQ(secondsOf("walk 9 -99 99", startingAt(0), 50),
              secondsOf("walk 9 -99 99", startingAt(0), 50));
    EXPECT_EQ(secondsOf("walk 9 -99 99", startingAt(0), 50).back(),
              valuesAt("walk 9 -99 99", startingAt(0), {49000}).back());
    EXPECT_NE(secondsOf("walk 9 -99 99", startingAt(0, 2), 50),
              secondsOf("walk 9 -99 99", startingAt(0, 1), 50));
}

TEST(Motion, hasTheTimeOfTheHost)
{
    const auto now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
    EXPECT_THAT(valuesAt("clock", startingAt(0), {0}), Each(AllOf(Ge(now), Le(now + 60))));
}

TEST(Motion, replaysARecordingOverAndOver)
{
    const Recording recording("seconds,value\n1,10\n2.5,-20\n4,30\n");
    EXPECT_THAT(valuesAt("replay " + recording.path(), startingAt(0),
                         {0, 1000, 2499, 2500, 4000, 5499, 6500}),
                ElementsAre(10, 10, 10, -20, 30, 30, 10));
}

TEST(Motion, refusesAFileThatIsNotARecording)
{
    EXPECT_THAT(refusalOf("replay /nonexistent.csv"), HasSubstr("cannot be read"));
    const Recording heading("seconds,value\n");
    EXPECT_THAT(refusalOf("replay " + heading.path()), HasSubstr("is empty"));
    const Recording backwards("1,1\n0.5,2\n");
    EXPECT_THAT(refusalOf("replay " + backwards.path()), HasSubstr(":2: \"0.5,2\" is not a time"));
    const Recording words("1,1\n2,high\n");
    EXPECT_THAT(refusalOf("replay " + words.path()), HasSubstr(":2: \"2,high\" is not"));
    const Recording empty("");
    EXPECT_THAT(refusalOf("replay " + empty.path()), HasSubstr("is empty"));
}

TEST(Motion, refusesWhatIsNoMotion)
{
    EXPECT_THAT(refusalOf(""), HasSubstr("motion is not one of counter"));
    EXPECT_THAT(refusalOf("jump 3"), HasSubstr("motion is not one of counter"));
    EXPECT_THAT(refusalOf("cuonter 3"), HasSubstr("replay FILE (did you mean \"counter\"?)"));
    EXPECT_THAT(refusalOf("counter"), HasSubstr("motion is not one of counter"));
    EXPECT_THAT(refusalOf("ramp 1 2"), HasSubstr("motion is not one of counter"));
    EXPECT_THAT(refusalOf("counter x"), HasSubstr("motion number \"x\""));
    EXPECT_THAT(refusalOf("counter 1 0"), HasSubstr("motion time \"0\""));
    EXPECT_THAT(refusalOf("ramp 1 2 soon"), HasSubstr("motion time \"soon\""));
    EXPECT_THAT(refusalOf("walk -1 0 9"), HasSubstr("walk has a negative step"));
    EXPECT_THAT(refusalOf("walk 1 9 0"), HasSubstr("LOW is above HIGH"));
}

namespace
{
class MovingDevice : public testing::Test
{
protected:
    explicit MovingDevice()
    {
        device.elapsed = [this] { return time; };
    }

    std::string valueAt(int milliseconds, std::uint16_t id)
    {
        time = std::chrono::milliseconds(milliseconds);
        return device.find(id)->text();
    }

    SimulatedDevice device = objectFile::parse(
        "objects:\n"
        "  - {id: 1, kind: unsigned, width: 1, value: 254, motion: counter 1, writable: true}\n"
        "  - {id: 2, kind: signed, width: 2, value: -3, motion: counter -2}\n",
        "device.yaml");
    std::chrono::milliseconds time{0};
};
} // namespace

TEST_F(MovingDevice, showsTheValueOfTheMoment)
{
    EXPECT_EQ(valueAt(0, 2), "-3");
    EXPECT_EQ(valueAt(2000, 2), "-7");
}

TEST_F(MovingDevice, wrapsANumberAtItsWidth)
{
    EXPECT_EQ(valueAt(1000, 1), "255");
    EXPECT_EQ(valueAt(2000, 1), "0");
}

TEST_F(MovingDevice, standsStillOnceAValueIsWritten)
{
    EXPECT_TRUE(device.find(1)->write(std::vector<std::uint8_t>{7}));
    EXPECT_EQ(valueAt(9000, 1), "7");
    device.find(2)->setText("8");
    EXPECT_EQ(valueAt(10000, 2), "8");
}

TEST(MovingDeviceFile, refusesAMotionWithItsPlace)
{
    const auto refusal = [](const std::string &object) {
        return reasonOf([&] {
            static_cast<void>(objectFile::parse("objects:\n  - {" + object + "}", "device.yaml"));
        });
    };
    EXPECT_THAT(refusal("id: 1, kind: unsigned, width: 1, motion: jump"),
                HasSubstr("device.yaml:2:47: motion is not one of counter"));
    EXPECT_THAT(refusal("id: 1, kind: string, width: 1, motion: clock"),
                HasSubstr("device.yaml:2:45: only numbers can have a motion"));
}
