#include "system/thread.h"

#include "system/child_program.h"
#include "system/config_files.h"
#include "system/count_guard.h"
#include "system/critical_section.h"
#include "system/mutex.h"
#include "system/settings.h"
#include "system/thread_error.h"

#include <gtest/gtest.h>

#include <sched.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/syscall.h>

#include <memory>
#include <vector>

namespace {

/** A thread that runs a function, which is given the thread. */
class CWorker : public CThread {
public:
    explicit CWorker(std::function<int32_t(CWorker&)> job) : work(std::move(job)) {}
    int32_t Run() override { return work(*this); }

private:
    std::function<int32_t(CWorker&)> work;
};

void RunOnThreads(int count, const std::function<void()>& job) {
    std::vector<std::unique_ptr<CWorker>> workers;
    for (int i = 0; i < count; ++i) {
        workers.push_back(std::make_unique<CWorker>([&job](CWorker&) { return job(), 0; }));
        workers.back()->Start();
    }
    for (const auto& worker : workers) {
        worker->Wait();
    }
}

void YieldOften() {
    for (int i = 0; i < 1000; ++i) {
        sched_yield();
    }
}

std::string GetText(const EThreadError& error) {
    return RenderMessage(error.GetMessage()).GetText();
}

}  // namespace

TEST(ThreadConcurrency, WaitGivesWhatRunReturned) {
    for (const int32_t code : {0, 1, -1, INT32_MAX, INT32_MIN}) {
        CWorker worker([code](CWorker&) { return code; });
        int calls = 0;
        const auto count = [&calls] { ++calls; };
        EXPECT_EQ(worker.Wait(count), -1);
        EXPECT_EQ(worker.Wait(nullptr), -1);
        worker.Start();
        EXPECT_THROW(worker.Wait(nullptr), std::bad_function_call);
        EXPECT_EQ(worker.Wait(count), code);
        EXPECT_EQ(calls, 1);
        errno = EDOM;
        try {
            worker.Wait();
            ADD_FAILURE() << "a second wait must fail";
        } catch (const EThreadError& error) {
            EXPECT_EQ(GetText(error).find("The call to <pthread_join> failed for the following"),
                      0u);
            EXPECT_EQ(error.GetErrorCode(), kFunctionFailed);
        }
        worker.Start();
        EXPECT_EQ(worker.Wait(), code) << "it may be started again";
    }
}

TEST(ThreadConcurrency, DetachesOnlyItself) {
    // Never destroyed: nobody can tell when a detached thread is done with them.
    static CEvent& detached = *new CEvent;
    static CEvent& end = *new CEvent;
    static CWorker& worker = *new CWorker([](CWorker& self) {
        EXPECT_THROW(self.Wait(), EThreadError);
        self.WaitAndDetachSelf();
        detached.Signal();
        end.Wait();
        return 0;
    });
    worker.WaitAndDetachSelf();
    worker.Start();
    worker.WaitAndDetachSelf();
    detached.Wait();
    EXPECT_EQ(worker.Wait(), -1);
    end.Signal();

    auto* const owner = new CWorker([](CWorker& self) {
        delete &self;
        detached.Signal();
        return 0;
    });
    owner->Start();
    detached.Wait();
}

TEST(Thread, ReportsCallsThatFail) {
    const CTempHome home;
    home.EnableLog();
    EXPECT_EQ(RunScenario(home, {"threads"}),
              "The call to <pthread_create> failed for the following reason: "
              "Too many open files. (24) 6\n-1\n"
              "The call to <pthread_mutexattr_init> failed for the following reason: "
              "Too many open files. (24) 6\n"
              "The call to <pthread_mutexattr_settype> failed for the following reason: "
              "Too many open files. (24) 6\n1\n");
    const std::vector<std::string> lines = home.ReadLog();
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0].find("'WARNING Exception raised' in (Start), line "), 0u);
    EXPECT_EQ(lines[2].find("'WARNING Exception raised' in (CCriticalSection), line "), 0u);
}

TEST(CriticalSectionConcurrency, AdmitsOneThreadManyTimes) {
    CCriticalSection section;
    const CCriticalSectionGuard outer(section);
    const CCriticalSectionGuard inner(section);
    EXPECT_FALSE(section.IsLocked()) << "the owner may enter";
    EXPECT_TRUE(section.TryLock());
    section.Unlock();
    RunOnThreads(1, [&section] {
        EXPECT_EQ(GetCurrentThreadId(), static_cast<uint64_t>(syscall(SYS_gettid)));
        EXPECT_TRUE(section.IsLocked());
        EXPECT_FALSE(section.TryLock());
    });
}

TEST(EventConcurrency, OneSignalLetsOneThrough) {
    const std::function<void(CEvent&)> waits[] = {
        [](CEvent& event) { event.Wait(); },
        [](CEvent& event) { event.WaitUntil(1999); },
    };
    for (const auto& wait : waits) {
        CEvent event;
        event.Signal();
        event.Signal();
        wait(event);
        event.Signal();
        event.Reset();
        std::atomic<bool> mayPass{false};
        CEvent started;
        CWorker worker([&](CWorker&) {
            started.Signal();
            wait(event);
            return mayPass ? 1 : 0;
        });
        worker.Start();
        started.Wait();
        YieldOften();
        mayPass = true;
        event.Signal();
        EXPECT_EQ(worker.Wait(), 1);
    }
}

TEST(EventConcurrency, TheLastOneOutSignals) {
    std::atomic<int32_t> inside{0};
    CEvent empty;
    {
        const CCountGuard first(inside, empty);
        RunOnThreads(4, [&] {
            const CCountGuard guard(inside, empty);
            EXPECT_GE(inside, 2);
        });
        EXPECT_EQ(inside, 1);
    }
    empty.Wait();
    EXPECT_EQ(inside, 0);
}

TEST(Mutex, HoldsBetweenProcesses) {
    const CTempHome home;
    const std::string path = home.Write("server", "");
    const auto inChild = [&path](const std::function<void(CMutex&)>& action) {
        const pid_t child = fork();
        if (child == 0) {
            CMutex mutex(0x48, path.c_str());
            action(mutex);
            _exit(0);
        }
        return child;
    };
    const auto end = [](pid_t child) { waitpid(child, nullptr, 0); };
    end(inChild([](CMutex&) {}));
    CMutex mutex(0x48, path.c_str());
    EXPECT_FALSE(mutex.IsLocked()) << "its maker's end leaves it free";

    int ready[2];
    int go[2];
    ASSERT_EQ(pipe(ready) | pipe(go), 0);
    char byte = 0;
    const pid_t holder = inChild([&](CMutex& held) {
        held.Lock();
        EXPECT_EQ(write(ready[1], "", 1), 1);
        EXPECT_EQ(read(go[0], &byte, 1), 1);
    });
    ASSERT_EQ(read(ready[0], &byte, 1), 1);
    EXPECT_TRUE(mutex.IsLocked());
    EXPECT_EQ(mutex.TryLock(), 0);
    ASSERT_EQ(write(go[1], "", 1), 1);
    end(holder);
    EXPECT_FALSE(mutex.IsLocked()) << "a process that ends gives it back";

    mutex.TryLock();
    EXPECT_TRUE(mutex.IsLocked());
    mutex.Unlock();
    EXPECT_FALSE(mutex.IsLocked());
    for (const int descriptor : {ready[0], ready[1], go[0], go[1]}) {
        close(descriptor);
    }
    EXPECT_EQ(semctl(semget(ftok(path.c_str(), 0x48), 1, 0), 0, IPC_RMID), 0);
}

TEST(Mutex, TracesWhatFails) {
    const CTempHome home;
    home.EnableLog();
    EXPECT_EQ(RunScenario(home, {"semaphores", home.Write("server", "")}), "00 10 0 1\n");
    const std::vector<std::string> expected = {
        "WARNING Mutex creation failed: (errno=2)",
        "WARNING: Mutex releasing NOT failed: 5 was expected",
        "WARNING Mutex acquisition failed: (errno=22)",
        "WARNING CMutex::IsLocked() failed: (errno=22)",
        "WARNING CMutex::IsLocked() failed: (errno=22)",
        "WARNING Mutex creation failed: (errno=62)",
    };
    EXPECT_EQ(home.ReadLog(), expected);
}

TEST(SettingsConcurrency, AnyThreadMayAskFirst) {
    const CTempHome home;
    setenv("QORVS_CONFFILE", home.Write("c", "").c_str(), 1);
    std::atomic<int32_t> scope{1000};
    RunOnThreads(4, [&scope] {
        for (int i = 0; i < 200; ++i) {
            const int32_t mine = ++scope / 4;
            EXPECT_EQ(GetSystemConfig(mine), GetSystemConfig(mine));
            GetTsaUrl();
            EXPECT_EQ(GetTraceDirectory(), GetTraceDirectory());
            EXPECT_EQ(GetLoginTimeout(), GetLoginTimeout());
        }
    });
    unsetenv("QORVS_CONFFILE");
}

TEST(Settings, ChildOfAForkCanAsk) {
    std::atomic<bool> done{false};
    CWorker worker([&done](CWorker&) {
        while (!done) {
            GetLoginTimeout();
        }
        return 0;
    });
    worker.Start();
    for (int i = 0; i < 100; ++i) {
        const pid_t child = fork();
        if (child == 0) {
            GetLoginTimeout();
            _exit(0);
        }
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
    }
    done = true;
    worker.Wait();
}
