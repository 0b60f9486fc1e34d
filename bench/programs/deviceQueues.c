#include "deviceQueues.h"

#include <stddef.h>
#include <string.h>

#include <sys/ipc.h>
#include <sys/msg.h>

enum {
    requestKey = 0x4008,
    answerKey = 0x4009,
    queueFlags = IPC_CREAT | 0666,
    messageType = 0x9999,

    readRequest = 0x02,
    readAnswer = 0x12,
    writeRequest = 0x01,
    writeAccepted = 0x11,
    /// Length byte of a value of four bytes, and of every read request.
    int32Length = 7,

    requestSize = 8,
    answerIdOffset = 4,
    readAnswerSize = 10,
    writeAnswerSize = 4,
    largestAnswer = 1024
};

struct message {
    long type;
    uint8_t bytes[largestAnswer];
};

static int requestQueue = -1;
static int answerQueue = -1;

bool openDeviceQueues(void)
{
    requestQueue = msgget(requestKey, queueFlags);
    answerQueue = msgget(answerKey, queueFlags);
    if (requestQueue == -1 || answerQueue == -1) {
        return false;
    }
    struct message stale;
    while (msgrcv(answerQueue, &stale, sizeof stale.bytes, 0, IPC_NOWAIT | MSG_NOERROR) != -1) {
    }
    return true;
}

/// Sends a request of command, id and four bytes and waits for the answer, which overwrites it.
static size_t exchange(struct message *message, uint8_t command, uint16_t id, uint32_t number)
{
    message->type = messageType;
    message->bytes[0] = command;
    message->bytes[1] = int32Length;
    memcpy(message->bytes + 2, &id, sizeof id);
    memcpy(message->bytes + 4, &number, sizeof number);
    if (msgsnd(requestQueue, message, requestSize, 0) == -1) {
        return 0;
    }
    const ssize_t size = msgrcv(answerQueue, message, sizeof message->bytes, 0, 0);
    return size < 0 ? 0 : (size_t)size;
}

bool readFromDevice(uint16_t id, long *value)
{
    struct message message;
    if (exchange(&message, readRequest, id, 0) != readAnswerSize ||
        message.bytes[0] != readAnswer ||
        memcmp(message.bytes + answerIdOffset, &id, sizeof id) != 0) {
        return false;
    }
    uint32_t number = 0;
    memcpy(&number, message.bytes + readAnswerSize - sizeof number, sizeof number);
    *value = (long)number;
    return true;
}

bool writeToDevice(uint16_t id, long value)
{
    struct message message;
    return exchange(&message, writeRequest, id, (uint32_t)value) == writeAnswerSize &&
           message.bytes[0] == writeAccepted;
}
