/**
 * One line of the log on its way to an endpoint, beside a POST of libcurl on a kept connection, and
 * beside a floor that does nothing but the writes of such a post.
 *
 * All of them talk over TLS to one server, a child process for each connection on the loopback
 * interface.
 */
#include "system/tls_context.h"
#include "trace_home.h"
#include <qorvs/remote_log.h>
#include <qorvs/trace.h>

#include <benchmark/benchmark.h>

#ifdef QORVS_HAVE_LIBCURL
#include <curl/curl.h>
#endif

#include <arpa/inet.h>
#include <malloc.h>
#include <netinet/tcp.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <thread>

namespace {

constexpr const char* kLine = "C_GetAttributeValue: CKR_ATTRIBUTE_TYPE_INVALID";

void Demand(bool met, const char* what) {
    if (!met) {
        perror(what);
        abort();
    }
}

void SetOption(int peer, int option, int value) {
    setsockopt(peer, IPPROTO_TCP, option, &value, sizeof(value));
}

/** Takes posts and answers them. */
[[noreturn]] void Answer(SSL* ssl) {
    constexpr char kAnswer[] =
        "HTTP/1.0 200 OK\r\nConnection: keep-alive\r\nContent-Length: 0\r\n\r\n";
    std::string pending;
    char room[16384];
    for (int count; (count = SSL_read(ssl, room, sizeof(room))) > 0;) {
        pending.append(room, static_cast<size_t>(count));
        for (size_t end; (end = pending.find("\r\n\r\n")) != std::string::npos;) {
            const size_t length = pending.find("Content-Length: ");
            const size_t size = end + 4 + std::stoul(pending.substr(length + 16));
            if (pending.size() < size) {
                break;
            }
            SSL_write(ssl, kAnswer, sizeof(kAnswer) - 1);
            pending.erase(0, size);
        }
    }
    _exit(0);
}

/** The endpoint and a machine that trusts it. */
class CMachine {
public:
    CMachine() : home("log") {
        const std::string file = home.File("endpoint.pem");
        Demand(system(("openssl req -x509 -batch -newkey ec -pkeyopt ec_paramgen_curve:P-256 "
                       "-nodes -days 2 -subj /CN=127.0.0.1 -addext subjectAltName=IP:127.0.0.1 "
                       "-keyout " +
                       file + " 2>/dev/null >>" + file)
                          .c_str()) == 0,
               "openssl");
        setenv("SSL_CERT_FILE", file.c_str(), 1);
        const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof(address);
        Demand(bind(listener, Generic(), length) == 0 && listen(listener, 16) == 0 &&
                   getsockname(listener, Generic(), &length) == 0,
               "listen");
        if (fork() == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            signal(SIGCHLD, SIG_IGN);
            Serve(listener, file.c_str());
        }
        close(listener);
    }

    std::string Url(const char* target) const {
        return "https://127.0.0.1:" + std::to_string(ntohs(address.sin_port)) + target;
    }
    sockaddr* Generic() { return reinterpret_cast<sockaddr*>(&address); }

    CTraceHome home;
    sockaddr_in address{};

private:
    [[noreturn]] static void Serve(int listener, const char* file) {
        SSL_CTX* const context = SSL_CTX_new(TLS_server_method());
        Demand(SSL_CTX_use_certificate_chain_file(context, file) == 1 &&
                   SSL_CTX_use_PrivateKey_file(context, file, SSL_FILETYPE_PEM) == 1,
               file);
        for (;;) {
            const int peer = accept(listener, nullptr, nullptr);
            if (fork() == 0) {
                prctl(PR_SET_PDEATHSIG, SIGKILL);
                SSL* const ssl = SSL_new(context);
                SSL_set_fd(ssl, peer);
                SetOption(peer, TCP_NODELAY, 1);
                Demand(SSL_accept(ssl) == 1, "accept");
                Answer(ssl);
            }
            close(peer);
        }
    }
};

CMachine& Machine() {
    static CMachine machine;
    return machine;
}

void Recording(benchmark::State& state) {
    StartRemoteLogsRecord(Machine().Url("/record?source=bench").c_str());
    for (auto _ : state) {
        TraceString0(kLine);
    }
    Demand(AreRemoteLogsRecording(), "the recording has ended");
    StopRemoteLogsRecord();
}
BENCHMARK(Recording)->UseRealTime();

/** The same line without a recording: what the local log takes of the time above. */
void LogAlone(benchmark::State& state) {
    Machine();
    for (auto _ : state) {
        TraceString0(kLine);
    }
}
BENCHMARK(LogAlone)->UseRealTime();

void Floor(benchmark::State& state) {
    const CSslContext context(SSL_CTX_new(TLS_client_method()));
    const CSsl ssl(SSL_new(context.get()));
    const int peer = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    Demand(connect(peer, Machine().Generic(), sizeof(sockaddr_in)) == 0, "connect");
    SSL_set_fd(ssl.get(), peer);
    Demand(SSL_connect(ssl.get()) == 1, "handshake");
    const std::string body = std::string("11-21_16:30:57:123456 00001267.. ") + kLine + "\n";
    const std::string length = "Content-Length: " + std::to_string(body.size());
    const std::string blocks[] = {"POST /record?source=bench&id=123456 HTTP/1.0",
                                  "\r\n",
                                  "User-Agent: QORVS",
                                  "\r\n",
                                  "Host: 127.0.0.1",
                                  "\r\n",
                                  "Connection: keep-alive",
                                  "\r\n",
                                  "Content-Type: text/plain",
                                  "\r\n",
                                  length,
                                  "\r\n",
                                  "\r\n",
                                  body};
    // The answers are only taken off the socket.
    std::thread reader([peer] {
        for (char room[4096]; recv(peer, room, sizeof(room), 0) > 0;) {
        }
    });
    for (auto _ : state) {
        SetOption(peer, TCP_CORK, 1);
        for (const std::string& block : blocks) {
            SSL_write(ssl.get(), block.data(), static_cast<int>(block.size()));
        }
        SetOption(peer, TCP_CORK, 0);
    }
    shutdown(peer, SHUT_RDWR);
    reader.join();
    close(peer);
}
BENCHMARK(Floor)->UseRealTime();

#ifdef QORVS_HAVE_LIBCURL
void Curl(benchmark::State& state) {
    const std::string url = Machine().Url("/record?source=bench&id=1");
    CURL* const handle = curl_easy_init();
    curl_slist* const headers = curl_slist_append(nullptr, "Content-Type: text/plain");
    curl_easy_setopt(handle, CURLOPT_URL, url.c_str());
    curl_easy_setopt(handle, CURLOPT_PROXY, "");
    curl_easy_setopt(handle, CURLOPT_CAINFO, Machine().home.File("endpoint.pem").c_str());
    curl_easy_setopt(handle, CURLOPT_HTTPHEADER, headers);
    curl_easy_setopt(handle, CURLOPT_POSTFIELDS, kLine);
    for (auto _ : state) {
        const CURLcode result = curl_easy_perform(handle);
        Demand(result == CURLE_OK, curl_easy_strerror(result));
    }
    curl_slist_free_all(headers);
    curl_easy_cleanup(handle);
}
BENCHMARK(Curl)->UseRealTime();
#endif

/** A thousand lines a second for as many seconds as the range says; then the heap, in KiB. */
void LeftBehind(benchmark::State& state) {
    const auto inUse = [] { return static_cast<double>(mallinfo2().uordblks) / 1024; };
    StartRemoteLogsRecord(Machine().Url("/record?source=bench").c_str());
    for (int i = 0; i < 1000; ++i) {
        TraceString0(kLine);
    }
    sleep(1);
    const double before = inUse();
    for (auto _ : state) {
        for (int64_t line = 0; line < 1000 * state.range(0); ++line) {
            TraceString0(kLine);
            usleep(900);
        }
    }
    sleep(1);
    state.counters["KiB"] = inUse() - before;
    StopRemoteLogsRecord();
}
BENCHMARK(LeftBehind)->Arg(10)->Iterations(1)->Repetitions(1)->UseRealTime();

}  // namespace
