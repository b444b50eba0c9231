#include "support/child_process.h"
#include "support/log_capture.h"
#include "support/stanza_file.h"
#include "system/io_errors.h"
#include "system/unix_socket.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <functional>
#include <numeric>
#include <random>
#include <regex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

/** Two ends that are connected; the test has the other one bare. */
struct CEnds {
    explicit CEnds(int32_t timeout = 0, int lowest = 0) {
        int ends[2];
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
        const int moved = fcntl(ends[0], F_DUPFD_CLOEXEC, lowest);
        EXPECT_GE(moved, lowest);
        close(ends[0]);
        socket = std::make_unique<CUnixSocket>(moved, timeout);
        other = ends[1];
    }
    ~CEnds() { close(other); }

    /** Takes everything that is there, until the end of the stream if that is asked for. */
    std::string Drain(bool toEnd = false) const {
        std::string all;
        char piece[32768];
        for (ssize_t count = 1; count > 0;) {
            count = recv(other, piece, sizeof(piece), toEnd ? 0 : MSG_DONTWAIT);
            all.append(piece, count > 0 ? static_cast<size_t>(count) : 0);
        }
        return all;
    }

    std::unique_ptr<CUnixSocket> socket;
    int other;
};

std::atomic<int> interruptions{0};

/** Sends a thread SIGUSR1 for a scope, whose handler lets calls end with EINTR or go on. */
class CStorm {
public:
    explicit CStorm(pthread_t target) {
        struct sigaction counted {};
        counted.sa_handler = [](int) { ++interruptions; };
        sigaction(SIGUSR1, &counted, nullptr);
        blower = std::thread([this, target] {
            while (!ended) {
                pthread_kill(target, SIGUSR1);
                std::this_thread::yield();
            }
        });
    }
    ~CStorm() {
        ended = true;
        blower.join();
    }

private:
    std::atomic<bool> ended{false};
    std::thread blower;
};

std::string Pattern(size_t length, char first) {
    std::string text(length, '\0');
    std::iota(text.begin(), text.end(), first);
    return text;
}

/** Cancels `waits` so many times, each followed at once by `goesOn`, which must not notice. */
void CancelAtRandom(CLocalSocket& socket, int rounds, const std::function<void()>& waits,
                    const std::function<void()>& goesOn) {
    std::atomic<int> begun{0};
    std::thread canceller([&] {
        std::minstd_rand random;
        for (int round = 1; round <= rounds; ++round) {
            while (begun < round) {
                std::this_thread::yield();
            }
            for (volatile unsigned spins = random() % 20000; spins > 0; spins = spins - 1) {
            }
            socket.Cancel();
        }
    });
    int ended = 0;
    for (int round = 1; round <= rounds; ++round) {
        begun = round;
        try {
            waits();
        } catch (const EIOCancelled&) {
            ++ended;
        }
        socket.ResetCancel();
        EXPECT_NO_THROW(goesOn());
    }
    canceller.join();
    EXPECT_EQ(ended, rounds);
}

}  // namespace

TEST(LocalSocket, SaysWhatFailed) {
    std::string printed, traced;
    for (const CStanza& row : ReadStanzas("system/local_socket.txt")) {
        printed += row.Text("printed_text") + "\n";
        traced += "'WARNING Exception raised' in (" + row.Text("function_text") + "), line\n";
    }
    CLogHome log;
    EXPECT_EQ(log.Run("socket_child", {"fail", log.Path("socket")}), printed);
    EXPECT_EQ(std::regex_replace(log.BodyText() + "\n",
                                 std::regex("1\\.\\. |opened[^\n]*\n|(, line)[^\n]*"), "$1"),
              traced);
}

TEST(LocalSocket, ListensAtTheFileUntilSomebodyDoes) {
    const CSettingsHome home;
    const std::string cut = home.Path(std::string(107 - home.Path("").size(), 'p'));
    for (const std::string& path : {home.Path("socket"), cut + "and more"}) {
        const std::string file = path.substr(0, 107);
        for (int life = 0; life < 2; ++life) {
            const auto listener = CLocalSocket::Listen(path.c_str());
            struct stat status {};
            ASSERT_EQ(stat(file.c_str(), &status), 0);
            EXPECT_EQ(status.st_mode, static_cast<mode_t>(S_IFSOCK | 0777));
            EXPECT_THROW(CLocalSocket::Listen(path.c_str()), EIOSocketBusy);
            const auto client = CLocalSocket::Connect(path.c_str(), 0);
            // The probe of the second Listen is a client too, which has left.
            char byte = 0;
            EXPECT_THROW(listener->Accept()->Read(&byte, 1), EIOSocketClosed);
            const auto accepted = listener->Accept();
            listener->Cancel();
            client->Write("x", 1);
            accepted->Read(&byte, 1);
            EXPECT_EQ(byte, 'x');
        }
        EXPECT_TRUE(std::filesystem::exists(file));
    }
}

// With a descriptor that a select set has no room for.
TEST(LocalSocket, CountsItsTimeAnewForEachPart) {
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    const rlimit wide{std::max<rlim_t>(limit.rlim_cur, 3000), limit.rlim_max};
    setrlimit(RLIMIT_NOFILE, &wide);
    const CEnds ends(1, 2000);
    char bytes[3];
    std::thread slow([&ends] {
        for (int i = 0; i < 3; ++i) {
            poll(nullptr, 0, 600);
            send(ends.other, "x", 1, 0);
        }
    });
    EXPECT_NO_THROW(ends.socket->Read(bytes, sizeof(bytes)));
    slow.join();
    EXPECT_THROW(ends.socket->Read(bytes, 1), EIOTimedOut);
    send(ends.other, "y", 1, 0);
    ends.socket->Read(bytes, 1);
    EXPECT_EQ(bytes[0], 'y');
}

TEST(LocalSocket, SignalsNobodyWhenIdle) {
    const CEnds ends;
    ends.socket->Write("a", 1);
    sigset_t alarm, pending;
    sigemptyset(&alarm);
    sigaddset(&alarm, SIGALRM);
    pthread_sigmask(SIG_BLOCK, &alarm, nullptr);
    ends.socket->Cancel();
    sigpending(&pending);
    EXPECT_EQ(sigismember(&pending, SIGALRM), 0);
    pthread_sigmask(SIG_UNBLOCK, &alarm, nullptr);
    EXPECT_THROW(ends.socket->Write("b", 1), EIOCancelled);
    ends.socket->ResetCancel();
    ends.socket->Write("c", 1);
    EXPECT_EQ(ends.Drain(), "ac");
}

// Kept: what a signal interrupts goes on with as many bytes as at first.
TEST(LocalSocket, FollowsAnInterruptedWriteWithZeros) {
    const std::string data(1 << 20, 'd');
    CEnds ends;
    std::thread writer([&] {
        ends.socket->Write(data.data(), data.size());
        ends.socket.reset();
    });
    for (int arrived = 0; arrived == 0;) {
        ioctl(ends.other, FIONREAD, &arrived);
    }
    interruptions = 0;
    {
        const CStorm storm(writer.native_handle());
        while (interruptions == 0) {
        }
    }
    const std::string got = ends.Drain(true);
    writer.join();
    EXPECT_GT(got.size(), data.size());
    EXPECT_LT(got.size(), 2 * data.size());
    EXPECT_EQ(got.find_first_not_of('d'), data.size());
    EXPECT_EQ(got.find_first_not_of('\0', data.size()), std::string::npos);
}

TEST(LocalSocketConcurrency, PassesAGigabyteBetweenProcesses) {
    constexpr size_t kMessage = (1 << 20) + 7;
    const CSettingsHome home;
    const std::string path = home.Path("socket");
    CChildProcess echo("socket_child", {"echo", path, std::to_string(kMessage)}, {});
    std::string line, back(kMessage, '\0');
    ASSERT_TRUE(echo.ReadLine(line));
    auto client = CLocalSocket::Connect(path.c_str(), 60);
    for (int count = kInstrumented ? 32 : 512; count > 0; --count) {
        const std::string message = Pattern(kMessage, static_cast<char>(count));
        client->Write(message.data(), kMessage);
        client->Read(back.data(), kMessage);
        ASSERT_EQ(back == message, true);
    }
    client.reset();
    EXPECT_EQ(echo.ReadAll(), "closed\n");
    EXPECT_EQ(echo.Wait(), 0);
}

TEST(LocalSocketConcurrency, CancelEndsEveryWaitAndNothingElse) {
    const CSettingsHome home;
    const std::string path = home.Path("socket"), large(300000, 'l');
    const auto listener = CLocalSocket::Listen(path.c_str());
    char bytes[4];
    for (const bool blocked : {false, true}) {
        sigset_t alarm;
        sigemptyset(&alarm);
        sigaddset(&alarm, SIGALRM);
        pthread_sigmask(blocked ? SIG_BLOCK : SIG_UNBLOCK, &alarm, nullptr);
        const CEnds ends, timed(60);
        for (const CEnds* const used : {&ends, &timed}) {
            CancelAtRandom(
                *used->socket, 1250, [&] { used->socket->Read(bytes, 4); },
                [&] {
                    send(used->other, "abcd", 4, 0);
                    used->socket->Read(bytes, 4);
                });
        }
        CancelAtRandom(
            *ends.socket, 1250, [&] { ends.socket->Write(large.data(), large.size()); },
            [&] {
                ends.Drain();
                ends.socket->Write(bytes, 4);
                EXPECT_EQ(ends.Drain(), "abcd");
            });
        CancelAtRandom(
            *listener, 1250, [&] { listener->Accept(); },
            [&] {
                const auto client = CLocalSocket::Connect(path.c_str());
                listener->Accept()->Write(bytes, 4);
                client->Read(bytes, 4);
            });
        pthread_sigmask(SIG_UNBLOCK, &alarm, nullptr);
    }
}

TEST(LocalSocketConcurrency, WaitsThroughAStormOfSignals) {
    const CSettingsHome home;
    const std::string path = home.Path("socket");
    const auto listener = CLocalSocket::Listen(path.c_str());
    std::thread client;
    const CStorm storm(pthread_self());
    for (const int32_t timeout : {0, 60}) {
        client = std::thread([&path] {
            const auto socket = CLocalSocket::Connect(path.c_str());
            std::string message(4096, '\0');
            for (int i = 0; i < 2000; ++i) {
                socket->Read(message.data(), message.size());
                socket->Write(message.data(), message.size());
            }
        });
        const auto accepted = listener->Accept();
        std::string back(4096, '\0');
        for (int i = 0; i < 2000; ++i) {
            const std::string message = Pattern(4096, static_cast<char>(i + timeout));
            accepted->Write(message.data(), message.size());
            accepted->Read(back.data(), back.size());
            ASSERT_EQ(back == message, true);
        }
        client.join();
    }
}
