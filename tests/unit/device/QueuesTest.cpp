#include "DeviceFixture.h"

#include "support/SystemCalls.h"

#include <cerrno>
#include <string>

#include <sys/msg.h>
#include <unistd.h>

namespace
{
constexpr key_t requestKey = 0x4008;
constexpr key_t answerKey = 0x4009;
constexpr mode_t permissions = 0777;

class DeviceQueuesTest : public DeviceFixture
{
protected:
    static msqid_ds stateOf(key_t key)
    {
        msqid_ds state{};
        EXPECT_EQ(msgctl(msgget(key, 0), IPC_STAT, &state), 0);
        return state;
    }

    static mode_t modeOf(key_t key) { return stateOf(key).msg_perm.mode & permissions; }

    static void makeQueue(key_t key, int mode) { ASSERT_NE(msgget(key, IPC_CREAT | mode), -1); }

    static void giveTo(key_t key, uid_t owner)
    {
        msqid_ds state = stateOf(key);
        state.msg_perm.uid = owner;
        ASSERT_EQ(msgctl(msgget(key, 0), IPC_SET, &state), 0);
    }
};

/// Somebody without privileges, while it exists.
class OtherUser
{
public:
    OtherUser() { EXPECT_EQ(seteuid(nobody), 0); }

    ~OtherUser() { EXPECT_EQ(seteuid(0), 0); }

    OtherUser(const OtherUser &) = delete;
    OtherUser &operator=(const OtherUser &) = delete;

private:
    static constexpr uid_t nobody = 65534;
};
} // namespace

TEST_F(DeviceQueuesTest, AreCreatedForEverybodyByDefault)
{
    EXPECT_EQ(tarno_device_open(device.get()), 0);
    EXPECT_EQ(modeOf(requestKey), mode_t{0666});
    EXPECT_EQ(modeOf(answerKey), mode_t{0666});
}

TEST_F(DeviceQueuesTest, AreCreatedWithTheWantedMode)
{
    isMadeWith({.mode = 0660, .check_owner = 0, .discard_old_requests = 0, .wake_signal = 0});
    EXPECT_EQ(tarno_device_open(device.get()), 0);
    EXPECT_EQ(modeOf(requestKey), mode_t{0660});
    EXPECT_EQ(modeOf(answerKey), mode_t{0660});
}

TEST_F(DeviceQueuesTest, AreNarrowedToTheWantedMode)
{
    makeQueue(requestKey, 0666);
    isMadeWith({.mode = 0640, .check_owner = 0, .discard_old_requests = 0, .wake_signal = 0});
    EXPECT_EQ(tarno_device_open(device.get()), 0);
    EXPECT_EQ(modeOf(requestKey), mode_t{0640});
}

TEST_F(DeviceQueuesTest, KeepAModeThatIsNarrowerThanTheWantedOne)
{
    makeQueue(requestKey, 0600);
    isMadeWith({.mode = 0660, .check_owner = 0, .discard_old_requests = 0, .wake_signal = 0});
    EXPECT_EQ(tarno_device_open(device.get()), 0);
    EXPECT_EQ(modeOf(requestKey), mode_t{0600});
}

TEST_F(DeviceQueuesTest, OfAnotherUserAreRefusedIfTheOwnerIsChecked)
{
    makeQueue(requestKey, 0666);
    giveTo(requestKey, 12345);
    isMadeWith({.mode = 0, .check_owner = 1, .discard_old_requests = 0, .wake_signal = 0});
    EXPECT_EQ(tarno_device_open(device.get()), -EPERM);
    EXPECT_EQ(step(), -EPERM);
}

TEST_F(DeviceQueuesTest, OfRootAreTakenByAnybodyIfTheOwnerIsChecked)
{
    makeQueue(requestKey, 0666);
    makeQueue(answerKey, 0666);
    isMadeWith({.mode = 0, .check_owner = 1, .discard_old_requests = 0, .wake_signal = 0});
    const OtherUser user;
    EXPECT_EQ(tarno_device_open(device.get()), 0);
}

TEST_F(DeviceQueuesTest, OfThisUserAreTakenIfTheOwnerIsChecked)
{
    isMadeWith({.mode = 0, .check_owner = 1, .discard_old_requests = 0, .wake_signal = 0});
    const OtherUser user;
    makeQueue(requestKey, 0666);
    EXPECT_EQ(tarno_device_open(device.get()), 0);
}

TEST_F(DeviceQueuesTest, ThatCannotBeNarrowedAreRefused)
{
    makeQueue(requestKey, 0666);
    isMadeWith({.mode = 0600, .check_owner = 0, .discard_old_requests = 0, .wake_signal = 0});
    const OtherUser user;
    EXPECT_EQ(tarno_device_open(device.get()), -EPERM);
}

TEST_F(DeviceQueuesTest, ThatAreRemovedBetweenTwoLooksAreAnError)
{
    makeQueue(requestKey, 0666);
    systemCalls::fail("msgget", EEXIST);
    EXPECT_EQ(tarno_device_open(device.get()), -EEXIST);
}

TEST_F(DeviceQueuesTest, OfAnotherUserAreTakenOtherwise)
{
    makeQueue(requestKey, 0666);
    giveTo(requestKey, 12345);
    EXPECT_EQ(tarno_device_open(device.get()), 0);
}

TEST_F(DeviceQueuesTest, ThatCannotBeMadeAreAnErrorOfTheStep)
{
    systemCalls::fail("msgget", ENOSPC);
    EXPECT_EQ(tarno_device_open(device.get()), -ENOSPC);
    EXPECT_EQ(step(), -ENOSPC);
    systemCalls::reset();
    EXPECT_EQ(step(), 0);
}

TEST_F(DeviceQueuesTest, OfAnswersThatCannotBeMadeAgainLoseTheAnswer)
{
    EXPECT_EQ(tarno_device_open(device.get()), 0);
    linkQueues::putRequest(readOf(7));
    msgctl(msgget(answerKey, 0), IPC_RMID, nullptr);
    systemCalls::fail("msgget", ENOSPC);
    EXPECT_EQ(step(), 1);
    EXPECT_EQ(statistics().lost_answers, 1U);
}

TEST_F(DeviceQueuesTest, WhoseStateCannotBeReadAreRefused)
{
    makeQueue(requestKey, 0666);
    isMadeWith({.mode = 0660, .check_owner = 0, .discard_old_requests = 0, .wake_signal = 0});
    systemCalls::fail("msgctl", EACCES);
    EXPECT_EQ(tarno_device_open(device.get()), -EACCES);
}
