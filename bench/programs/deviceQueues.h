#ifndef DEVICE_QUEUES_H
#define DEVICE_QUEUES_H

#include <stdbool.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/// The least that an agent can do to get a value from the device: the queues are looked up once,
/// and a value costs one msgsnd and one msgrcv without a deadline.

/// Creates or finds both queues and drops stale answers. False, with errno set, if the queues
/// cannot be opened.
bool openDeviceQueues(void);

/// One round trip each. False if the exchange failed or the answer is not the expected one.
bool readFromDevice(uint16_t id, long *value);
bool writeToDevice(uint16_t id, long value);

#ifdef __cplusplus
}
#endif

#endif
