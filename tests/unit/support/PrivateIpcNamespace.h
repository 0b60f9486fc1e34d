#pragma once

/// Gives the process an IPC namespace of its own: the queue keys are fixed, so no run may meet
/// another, or a device. False, with errno set, when the system refuses one.
bool enterPrivateIpcNamespace();
