#pragma once

/// Makes this process the only simulator on the queues of its IPC namespace: a semaphore beside
/// them is taken as long as it runs, and the kernel gives it back however the process ends. Device
/// applications know nothing of it and neither need nor heed it.
class LinkClaim
{
public:
    /// Throws UnusableLink, which names the other process, if there is another simulator.
    LinkClaim();
    /// Removes the semaphore.
    ~LinkClaim();
    LinkClaim(const LinkClaim &) = delete;
    LinkClaim &operator=(const LinkClaim &) = delete;

private:
    int _semaphore = -1;
};
