#include "support/child_process.h"
#include "support/scenarios.h"
#include "support/settings_home.h"
#include "system/io_errors.h"
#include "system/unix_socket.h"

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/socket.h>

#include <atomic>
#include <functional>
#include <numeric>
#include <random>
#include <string>
#include <thread>

/** Cancels `waits` so many times, each followed at once by `goesOn`, which must not notice. */
static void CancelAtRandom(CLocalSocket& socket, const std::function<void()>& waits,
                           const std::function<void()>& goesOn) {
    constexpr int kRounds = 1700;
    std::atomic<int> begun{0};
    std::thread canceller([&] {
        std::minstd_rand random;
        for (int round = 1; round <= kRounds; ++round) {
            while (begun < round) {
                std::this_thread::yield();
            }
            for (volatile unsigned spins = random() % 20000; spins > 0; spins = spins - 1) {
            }
            socket.Cancel();
        }
    });
    while (begun < kRounds) {
        ++begun;
        EXPECT_THROW(waits(), EIOCancelled);
        socket.ResetCancel();
        EXPECT_NO_THROW(goesOn());
    }
    canceller.join();
}

TEST(LocalSocket, SaysWhatFails) { RunScenarios("socket_child", "system/local_socket.txt"); }

TEST(LocalSocketConcurrency, PassesAGigabyteBetweenProcesses) {
    constexpr size_t kMessage = (1 << 20) + 7;
    const CSettingsHome home;
    const std::string echoes = "B echo " + std::to_string(kMessage);
    CChildProcess echo("socket_child", {"A listen", "- mode", "A accept", echoes},
                       {"HOME=" + home.Path("")});
    std::string line, message(kMessage, '\0'), back(kMessage, '\0');
    ASSERT_TRUE(echo.ReadLine(line));
    auto client = CLocalSocket::Connect(home.Path("/socket").c_str(), 60);
    for (int count = kInstrumented ? 32 : 512; count > 0; --count) {
        std::iota(message.begin(), message.end(), static_cast<char>(count));
        client->Write(message.data(), kMessage);
        client->Read(back.data(), kMessage);
        ASSERT_EQ(back == message, true);
    }
    client.reset();
    EXPECT_EQ(echo.ReadAll().find("EIOSocketClosed"), 0U);
    EXPECT_EQ(echo.Wait(), 0);
}

TEST(LocalSocketConcurrency, CancelEndsEveryWaitAndNothingElse) {
    const CSettingsHome home;
    const std::string path = home.Path("socket"), large(300000, 'l');
    const auto listener = CLocalSocket::Listen(path.c_str());
    std::string bytes(4, '\0'), left(large);
    sigset_t alarm;
    sigemptyset(&alarm);
    sigaddset(&alarm, SIGALRM);
    for (const int32_t timeout : {0, 60}) {
        pthread_sigmask(timeout == 0 ? SIG_BLOCK : SIG_UNBLOCK, &alarm, nullptr);
        int ends[2];
        ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
        CUnixSocket socket(ends[0], timeout), other(ends[1], 0);
        const auto reads = [&] { socket.Read(bytes.data(), 4); };
        CancelAtRandom(socket, reads, [&] {
            other.Write("abcd", 4);
            reads();
        });
        CancelAtRandom(
            socket, [&] { socket.Write(large.data(), large.size()); },
            [&] {
                while (recv(ends[1], left.data(), left.size(), MSG_DONTWAIT) > 0) {
                }
                socket.Write("efgh", 4);
                other.Read(bytes.data(), 4);
                EXPECT_EQ(bytes, "efgh");
            });
        CancelAtRandom(
            *listener, [&] { listener->Accept(); },
            [&] {
                const auto client = CLocalSocket::Connect(path.c_str());
                listener->Accept()->Write("ijkl", 4);
                client->Read(bytes.data(), 4);
            });
    }
}
