#pragma once

/// Gives the process its own IPC namespace: the queue keys are fixed, and a run must not share its
/// queues with another run or a device. False, with errno set, if the system refuses.
bool enterPrivateIpcNamespace();
