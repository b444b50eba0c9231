/**
 * Keeps SIGPIPE from the host while the library writes to peers that may be gone.
 */
#pragma once

/**
 * Within its life the thread gets EPIPE instead of the signal, whatever the host does with it: no
 * handler is touched. Guards may stand inside each other, and cost nothing then. errno is as before
 * when the scope ends.
 */
class CSigPipeGuard {
public:
    CSigPipeGuard() noexcept;
    ~CSigPipeGuard();
    CSigPipeGuard(const CSigPipeGuard&) = delete;
    CSigPipeGuard& operator=(const CSigPipeGuard&) = delete;

private:
    bool outermost = false;
    bool unblocks = false;
    bool consumes = false;
};
