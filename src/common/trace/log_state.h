/**
 * The state of the log, and the guard that every output takes.
 */
#pragma once

#include "trace/line_writer.h"
#include "trace/log_file.h"
#include "trace/log_lock.h"
#include "trace/trace_thread.h"
#include "util/ct_string.h"

#include <atomic>

/**
 * Whether the log is open and wanted, and the way from one to the other.
 *
 * One object for the process, made while the library loads and never destroyed: static objects of
 * the host trace after ours have ended. The first output opens the log; while it is wanted and not
 * open, every output tries again and reads the settings anew.
 */
class CLogState {
public:
    /** Makes the state; called once, before the tracer is there. */
    static void Create();

    static CLogState& Get() noexcept { return *instance; }

    /** Whether output is surely not wanted: the log has been looked at, and tracking is off. */
    static bool IsSilent() noexcept {
        return (flags.load(std::memory_order_acquire) & (kBuilt | kTracking)) == kBuilt;
    }

    /** Turns tracking over, or sets it. */
    static void ToggleTracking() noexcept;
    static void SetTracking(bool wanted) noexcept;

    /**
     * Runs `prepare` under the log's lock and then opens the log anew, as on the first output: with
     * tracing on, in a new file. What `prepare` throws is passed on.
     */
    template <class Prepare>
    void Reopen(const Prepare& prepare) {
        const CLogLockGuard guard(lock);
        prepare();
        if (!Begin()) {
            Open();
        }
    }

private:
    friend class COutputGuard;

    static constexpr unsigned kBuilt = 1;
    static constexpr unsigned kOpened = 2;
    static constexpr unsigned kTracking = 4;

    bool Begin() noexcept;
    bool Fetch() noexcept;
    void Open() noexcept;
    void Close() noexcept;
    void ResumeInChild() noexcept;

    static CLogState* instance;
    static std::atomic<unsigned> flags;

    CLogLock lock;
    CLineWriter writer;
    CLogFile file;
    CUTF8String directory;
    bool directoryRead = false;
    uint32_t lastWriter = 0xFFFFFFFF;
};

/**
 * The scope of one output: takes the lock, opens the log when need be, parts the threads by a blank
 * line, and writes everything out at its end.
 *
 * An inactive guard, of a silenced thread or a closed log, has no effect; then nothing may be
 * written. errno is as before when the scope ends.
 */
class COutputGuard {
public:
    COutputGuard() noexcept {
        if (!CLogState::IsSilent()) {
            Begin();
        }
    }
    ~COutputGuard() {
        if (locked) {
            End();
        }
    }
    COutputGuard(const COutputGuard&) = delete;
    COutputGuard& operator=(const COutputGuard&) = delete;

    bool IsActive() const noexcept { return active; }

    /** What an active guard writes to. */
    CLineWriter& GetWriter() const noexcept { return CLogState::Get().writer; }

    /** Gives errno the value that it had when the guard was made: for "%m" in formats. */
    void RestoreErrno() const noexcept;

private:
    void Begin() noexcept;
    void End() noexcept;

    bool locked = false;
    bool active = false;
    int savedErrno = 0;
};
