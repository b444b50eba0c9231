/**
 * Threads, and the number that the kernel knows a thread by.
 */
#pragma once

#include <pthread.h>

#include <cstdint>
#include <functional>

/** The kernel's number of the calling thread, 0 until it has been asked for. */
extern __thread uint64_t cachedThreadId __attribute__((tls_model("initial-exec")));

/** Asks the kernel and keeps the answer in cachedThreadId. */
uint64_t FetchCurrentThreadId() noexcept;

/**
 * The kernel's number of the calling thread, asked for once in each thread.
 *
 * Kept: the child of a fork goes on under the number of the thread that forked. Locks that were
 * marked with it before the fork are known by it afterwards.
 */
inline uint64_t GetCurrentThreadId() noexcept {
    return cachedThreadId != 0 ? cachedThreadId : FetchCurrentThreadId();
}

/**
 * A thread of execution; what it does is `Run` of a derived class.
 *
 * The object must outlive the thread unless the thread itself destroys it: the destructor neither
 * joins nor stops anything. Start and Wait belong to one owner.
 */
class CThread {
public:
    CThread() noexcept = default;

    /** Detaches the thread when it is the thread itself that destroys the object. */
    virtual ~CThread();

    /** The thread's work; what it returns is what Wait gives. */
    virtual int32_t Run() = 0;

    CThread(const CThread&) = delete;
    CThread& operator=(const CThread&) = delete;

    /**
     * Starts the thread. An object that was started before forgets its earlier thread.
     *
     * Throws EThreadError for "pthread_create"; then the object is as never started.
     */
    void Start();

    /**
     * Calls `beforeJoin`, waits for the thread's end and returns what Run returned; -1, without the
     * call, when the thread was never started.
     *
     * Throws std::bad_function_call for an empty callable and EThreadError for "pthread_join", also
     * when the thread waits for itself or was waited for before.
     */
    int32_t Wait(const std::function<void()>& beforeJoin);
    int32_t Wait();

    /**
     * Lets the calling thread go its own way: it is detached and the object counts as not started.
     * Does nothing when called by any other thread.
     *
     * Kept: it waits for itself first. That always fails, and the failure is in the log.
     */
    void WaitAndDetachSelf();

private:
    static void* Enter(void* self);

    bool IsCurrent() const noexcept;

    pthread_t thread{};
    bool started = false;
    // Joining twice is undefined, so a second Wait must not get there.
    bool joined = false;
};
