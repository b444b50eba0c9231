/**
 * Messages over a local socket beside bare read and write on the same kind of socket pair: there
 * and back to a thread that sends everything back, and one way into a thread that takes it.
 */
#include "system/unix_socket.h"

#include <benchmark/benchmark.h>

#include <sys/socket.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <thread>

namespace {

/** The calls themselves, with the loops that they need. */
class CBareSocket {
public:
    CBareSocket(int owned, int /*timeout*/) : descriptor(owned) {}
    ~CBareSocket() { close(descriptor); }
    CBareSocket(const CBareSocket&) = delete;
    CBareSocket& operator=(const CBareSocket&) = delete;

    void Read(char* buffer, size_t length) const {
        for (size_t done = 0; done < length;) {
            done += Demand(read(descriptor, buffer + done, length - done));
        }
    }
    void Write(const char* data, size_t length) const {
        for (size_t done = 0; done < length;) {
            done += Demand(write(descriptor, data + done, length - done));
        }
    }

private:
    static size_t Demand(ssize_t count) {
        if (count <= 0) {
            abort();
        }
        return static_cast<size_t>(count);
    }

    int descriptor;
};

/** Two ends, the other one used by a thread for as many messages as the benchmark makes. */
template <class Socket, class Use>
void Exchange(benchmark::State& state, int timeout, bool back, Use use) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
        state.SkipWithError("socketpair");
        return;
    }
    const auto length = static_cast<size_t>(state.range(0));
    auto socket = std::make_unique<Socket>(ends[0], timeout);
    std::thread peer([&] {
        Socket other(ends[1], timeout);
        std::string room(length, '\0');
        const auto messages = state.max_iterations;
        for (benchmark::IterationCount i = 0; i < messages; ++i) {
            other.Read(room.data(), length);
            if (back) {
                other.Write(room.data(), length);
            }
        }
    });
    std::string message(length, 'm');
    for (auto _ : state) {
        use(*socket, message);
    }
    peer.join();
    state.SetBytesProcessed(state.iterations() * state.range(0) * (back ? 2 : 1));
}

template <class Socket, int kTimeout>
void ThereAndBack(benchmark::State& state) {
    Exchange<Socket>(state, kTimeout, true, [](Socket& socket, std::string& message) {
        socket.Write(message.data(), message.size());
        socket.Read(message.data(), message.size());
    });
}

template <class Socket, int kTimeout>
void OneWay(benchmark::State& state) {
    Exchange<Socket>(state, kTimeout, false, [](Socket& socket, std::string& message) {
        socket.Write(message.data(), message.size());
    });
}

/** Both ends in one thread: what the calls cost when nobody has to wait. */
template <class Socket, int kTimeout>
void NoWait(benchmark::State& state) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
        state.SkipWithError("socketpair");
        return;
    }
    Socket from(ends[0], kTimeout);
    Socket to(ends[1], kTimeout);
    std::string message(static_cast<size_t>(state.range(0)), 'm');
    for (auto _ : state) {
        from.Write(message.data(), message.size());
        to.Read(message.data(), message.size());
    }
}

void Sizes(benchmark::internal::Benchmark* bench) {
    bench->Arg(16)->Arg(4096)->Arg(1 << 20)->UseRealTime();
}

BENCHMARK_TEMPLATE(ThereAndBack, CUnixSocket, 0)->Apply(Sizes);
BENCHMARK_TEMPLATE(ThereAndBack, CUnixSocket, 60)->Apply(Sizes);
BENCHMARK_TEMPLATE(ThereAndBack, CBareSocket, 0)->Apply(Sizes);
BENCHMARK_TEMPLATE(OneWay, CUnixSocket, 0)->Apply(Sizes);
BENCHMARK_TEMPLATE(OneWay, CBareSocket, 0)->Apply(Sizes);
BENCHMARK_TEMPLATE(NoWait, CUnixSocket, 0)->Arg(16)->Arg(4096);
BENCHMARK_TEMPLATE(NoWait, CUnixSocket, 60)->Arg(16)->Arg(4096);
BENCHMARK_TEMPLATE(NoWait, CBareSocket, 0)->Arg(16)->Arg(4096);

}  // namespace
