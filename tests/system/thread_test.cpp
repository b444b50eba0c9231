#include "system/thread.h"

#include "support/child_process.h"
#include "support/raised.h"
#include "support/settings_home.h"
#include "system/config_files.h"
#include "system/count_guard.h"
#include "system/critical_section.h"
#include "system/event.h"
#include "system/mutex.h"
#include "system/settings.h"
#include "system/thread_error.h"

#include <gmock/gmock.h>

#include <sched.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <thread>

namespace {

/** A thread that runs a function, which is given the thread. */
struct CWorker : CThread {
    explicit CWorker(std::function<int32_t(CWorker&)> job) : work(std::move(job)) {}
    int32_t Run() override { return work(*this); }

    const std::function<int32_t(CWorker&)> work;
};

void RunOnThreads(int count, const std::function<void()>& job) {
    std::deque<CWorker> workers;
    for (int i = 0; i < count; ++i) {
        workers.emplace_back([&job](CWorker&) { return job(), 0; }).Start();
    }
    std::for_each(workers.begin(), workers.end(), [](CWorker& worker) { worker.Wait(); });
}

}  // namespace

TEST(ThreadConcurrency, WaitGivesWhatRunReturned) {
    int calls = 0;
    const auto count = [&calls] { ++calls; };
    int32_t code = 0;
    CWorker worker([&code](CWorker&) { return code; });
    EXPECT_EQ(worker.Wait(count), -1);
    for (const int32_t next : {0, 1, -1, INT32_MAX, INT32_MIN}) {
        code = next;
        worker.Start();
        EXPECT_THROW(worker.Wait(nullptr), std::bad_function_call);
        EXPECT_EQ(worker.Wait(count), code);
        EXPECT_THAT(WordsRaisedBy<EThreadError>([&] { worker.Wait(); }),
                    testing::StartsWith("The call to <pthread_join> failed for the following"));
    }
    EXPECT_EQ(calls, 5);
    // A new thread has, as a rule, the handle that the ended one has given back.
    CEvent asked;
    CWorker other([&](CWorker&) { return worker.WaitAndDetachSelf(), asked.Signal(), 7; });
    other.Start();
    EXPECT_EQ(other.Wait([&asked] { asked.Wait(); }), 7);
}

TEST(ThreadConcurrency, DetachesOnlyItself) {
    // Never destroyed: nobody can tell when a detached thread is done with them.
    static CEvent& go = *new CEvent;
    static CEvent& gone = *new CEvent;
    for (const bool detached : {true, false}) {
        auto* const worker = new CWorker([detached](CWorker& self) {
            go.Wait();
            EXPECT_THROW(self.Wait(), EThreadError);
            if (detached) {
                self.WaitAndDetachSelf();
                EXPECT_EQ(self.Wait(), -1);
            }
            delete &self;
            gone.Signal();
            return 0;
        });
        worker->WaitAndDetachSelf();
        worker->Start();
        worker->WaitAndDetachSelf();
        go.Signal();
        gone.Wait();
    }
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
    for (const bool timed : {false, true}) {
        CEvent event;
        const auto wait = [&] { timed ? event.WaitUntil(1999) : event.Wait(); };
        event.Signal();
        event.Signal();
        wait();
        event.Signal();
        event.Reset();
        std::atomic<bool> mayPass{false};
        std::atomic<int32_t> inside{0};
        CEvent started;
        CWorker worker([&](CWorker&) {
            started.Signal();
            wait();
            return mayPass ? 1 : 0;
        });
        worker.Start();
        started.Wait();
        auto last = std::make_unique<CCountGuard>(inside, event);
        for (int i = 0; i < 1000; ++i) {
            const CCountGuard other(inside, event);
            sched_yield();
        }
        mayPass = true;
        last.reset();
        EXPECT_EQ(worker.Wait(), 1);
    }
}

TEST(Mutex, HoldsBetweenProcesses) {
    const CSettingsHome home;
    home.Write("server", "");
    const std::string path = home.Path("server");
    // The first one makes the semaphore; a process that ends gives it back.
    for (int i = 0; i < 2; ++i) {
        CChildProcess holder("platform_child", {"hold", path}, home.Environment());
        std::string line;
        EXPECT_TRUE(holder.ReadLine(line) && line == "held");
        CMutex mutex(0x48, path.c_str());
        EXPECT_EQ(mutex.TryLock(), 0);
        holder.Kill();
        holder.Wait();
        EXPECT_FALSE(mutex.IsLocked()) << "the try took nothing";
        mutex.TryLock();
        EXPECT_TRUE(mutex.IsLocked());
        mutex.Unlock();
    }
    EXPECT_EQ(semctl(semget(ftok(path.c_str(), 0x48), 1, 0), 0, IPC_RMID), 0);
}

TEST(SettingsConcurrency, AnyThreadMayAskFirst) {
    const CSettingsHome home;
    home.WriteSuite("c", "TSAURL = url");
    setenv("QORVS_CONFFILE", home.Path("c").c_str(), 1);
    std::atomic<int32_t> scope{1000};
    RunOnThreads(4, [&scope] {
        for (int i = 0; i < 200; ++i) {
            const int32_t mine = ++scope / 4;
            EXPECT_EQ(GetSystemConfig(mine), GetSystemConfig(mine));
            EXPECT_EQ(GetTraceDirectory(), GetTraceDirectory());
            EXPECT_EQ(GetTsaUrl(), GetTsaUrl());
        }
    });
    unsetenv("QORVS_CONFFILE");
}

TEST(Settings, ChildOfAForkCanAsk) {
    std::atomic<bool> done{false};
    std::thread worker([&done] {
        while (!done) {
            GetLoginTimeout();
        }
    });
    for (int i = 0; i < 100; ++i) {
        EXPECT_EXIT((GetLoginTimeout(), _exit(0)), testing::ExitedWithCode(0), "");
    }
    done = true;
    worker.join();
}
