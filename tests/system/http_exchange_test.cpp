#include "support/child_process.h"
#include "support/loopback_peer.h"
#include "support/raised.h"
#include "support/stanza_file.h"
#include "support/string_print.h"
#include "system/http_errors.h"
#include "system/http_requests.h"

#include <malloc.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <functional>
#include <map>
#include <regex>
#include <sstream>
#include <thread>

namespace {

std::string Say(const std::string& text) { return text; }

std::string Say(const CByteZone& bytes) {
    return bytes.GetData() != nullptr ? std::string(bytes.begin(), bytes.end()) : "null";
}

std::string Say(const std::unique_ptr<CHttpResponse>& answer) {
    return answer == nullptr
               ? "null"
               : std::to_string(answer->GetStatus()) + " " + ToStd(answer->GetReason());
}

/** What a call says, or the class and the words of what it throws. */
std::string Outcome(const std::function<std::string()>& call) {
    try {
        return call();
    } catch (const CHttpException& failure) {
        const bool connecting = dynamic_cast<const CHttpConnectException*>(&failure) != nullptr;
        return (connecting ? "connect: " : "http: ") + WordsOf(failure);
    }
}

int LimitDescriptors(rlim_t count) {
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = count;
    return setrlimit(RLIMIT_NOFILE, &limit);
}

/** A connection that may receive stated pieces, send little at a time and go through a proxy. */
struct CWire : CHttpConnection {
    int Send(const void* data, size_t length) override {
        sent += std::string(static_cast<const char*>(data), length) + "|";
        return taken < 0 ? CHttpConnection::Send(data, length)
                         : static_cast<int>(std::min<size_t>(taken, length));
    }
    int Recv(void* data, size_t length) override {
        std::string piece;
        return std::getline(pieces, piece, '|')
                   ? static_cast<int>(piece.copy(static_cast<char*>(data), length))
                   : CHttpConnection::Recv(data, length);
    }
    void Connect(const CHttpUrl& url, bool useProxy) override {
        viaProxy = proxy.valid;
        viaProxy ? ConnectProxy(url, proxy) : CHttpConnection::Connect(url, useProxy);
    }

    std::istringstream pieces;
    int taken = -1;
    CHttpUrl proxy;
    std::string sent;
};

/** Makes the calls of a case, each "name+option text", by way of one connection. */
class CCalls : public CHttpConnectionFactory {
public:
    std::shared_ptr<CHttpConnection> GetConnection(const CHttpUrl& url) const override {
        return CHttpConnectionFactory::GetConnection(url), wire;
    }

    std::string Make(const std::string& line) {
        const std::string call = line.substr(0, line.find(' '));
        const std::string rest = line.substr(std::min(line.size(), call.size() + 1));
        const char* const given = rest.empty() ? nullptr : rest.c_str();
        const CISOString text(rest.data(), static_cast<ptrdiff_t>(rest.size()));
        const CHttpUrl url = ParseUrl(text);
        const auto number = static_cast<size_t>(std::atol(rest.c_str()));
        const CISOString with(Say(body).c_str());
        CHttpHeader header(text);
        const auto has = [&](const char* word) { return call.find(word) != std::string::npos; };
        const bool origin = has("+origin");
        const auto connect = [&] { return wire->Connect(url, true), wire; };
        // clang-format off
#define SAYS(name, value) {name, [&] { return Say(value); }}
        // clang-format on
        const std::map<std::string, std::function<std::string()>> calls{
            SAYS("url", ToStd(url.scheme + "|" + url.host + "|" + url.path + "|") +
                            (url.valid ? std::to_string(url.port) : "invalid")),
            SAYS("encode", ToStd(UrlEncode(given))),
            SAYS("decode", ToStd(UrlDecode(given))),
            SAYS("decode8", ToStd(UrlDecode<CUTF8String>(given))),
            SAYS("address", std::to_string(CHttpConnection::GetInternetAddress(url))),
            SAYS("header", ToStd(header.GetName() + "|" + header.GetValue())),
            SAYS("parameter",
                 ToStd(header.GetParameter(call.substr(10).c_str()) + "|" + header.GetValue())),
            SAYS("find", ToStd(answer->GetHeader(text).GetValue())),
            SAYS("empty", answer->GetHeader(text).IsEmpty() ? "yes" : "no"),
            SAYS("pieces", (wire->pieces.str(rest), "")),
            SAYS("taken", (wire->taken = std::stoi(rest), "")),
            SAYS("proxy", (wire->proxy = url, "")),
            SAYS("with", (body = CByteZone(rest.c_str()), "")),
            SAYS("sent", std::exchange(wire->sent, "")),
            SAYS("send", (wire->SendText(text), "")),
            SAYS("limit", std::to_string(LimitDescriptors(number))),
            SAYS("alive", wire->IsAlive() ? "yes" : "no"),
            SAYS("line", ToStd(wire->ReadLine())),
            SAYS("secure", ToStd(wire->ReadSecureLine())),
            SAYS("raw", ToStd(wire->ReadRawLine())),
            SAYS("block", wire->RecvBlock(body) ? Say(body) : "end " + Say(body)),
            SAYS("cap",
                 wire->RecvBlockWithCappedLength(body, number) ? Say(body) : "end " + Say(body)),
            SAYS("read", answer = CHttpResponse::Read(wire)),
            SAYS("body", answer->GetBody()),
            SAYS("upto", answer->GetBodyUpTo(number)),
            SAYS("Get", answer = Get(*this, url, origin, true)),
            SAYS("GetUrl", answer = GetUrl(*this, text, origin, false)),
            SAYS("GetAcceptingJson", answer = GetAcceptingJson(*this, text, with.Split("|"))),
            SAYS("PostFormTo", answer = PostForm(*connect(), url, body, origin)),
            SAYS("PostForm", answer = PostForm(*this, url, body, origin)),
            SAYS("PostText", answer = PostText(has("+null") ? nullptr : connect(), url, body,
                                               origin, has("+alive"), has("+silent"))),
            SAYS("PostJson", answer = PostJson(*this, url, body)),
            SAYS("PostTimestampQuery", answer = PostTimestampQuery(*this, url, body)),
            SAYS("PostTyped", answer = PostTyped(*this, url, body, with)),
        };
        return Outcome(calls.at(call.substr(0, call.find('+'))));
    }

private:
    const std::shared_ptr<CWire> wire = std::make_shared<CWire>();
    std::unique_ptr<CHttpResponse> answer;
    CByteZone body;
};

/** Puts the peer's port into a call. */
std::string At(std::string calls, const CLoopbackPeer& peer) {
    for (size_t at = 0; (at = calls.find("~port")) != std::string::npos;) {
        calls.replace(at, 5, std::to_string(peer.GetPort()));
    }
    return calls;
}

/** The body that a peer answers with, or the failure. */
std::string Fetch(const CLoopbackPeer& peer) {
    CCalls calls;
    const std::string status = calls.Make(At("GetUrl http://localhost:~port/", peer));
    return status[0] == '2' ? calls.Make("body") : status;
}

const CLoopbackPeer::Script kScript{"read", "send HTTP/1.0 200 OK\r\n\r\nbody"};

/** The descriptors and the heap in use. */
std::pair<ptrdiff_t, size_t> Holdings() {
    const std::filesystem::directory_iterator first("/proc/self/fd");
    return {std::distance(begin(first), end(first)), mallinfo2().uordblks + mallinfo2().hblkhd};
}

}  // namespace

TEST(HttpExchange, CallsAndBytes) {
    FOR_EACH_STANZA(row, ReadStanzas("system/http_calls.txt")) {
        const std::string reply = row.Has("reply_text") ? row.Text("reply_text") : "";
        const std::string then = row.Has("then_text") ? row.Text("then_text") : "read";
        CLoopbackPeer peer({{"read", "send " + reply, then}});
        std::istringstream lines(At(row.Text("do_text"), peer));
        std::string said;
        auto calls = std::make_unique<CCalls>();
        for (std::string line; std::getline(lines, line, '\t');) {
            said += calls->Make(line) + "\n";
        }
        EXPECT_EQ(said, row.Text("gives_text") + "\n");
        calls.reset();
        if (row.Has("sent_text")) {
            EXPECT_EQ(peer.Wait()[0], row.Text("sent_text"));
        }
    }
}

TEST(HttpExchange, PeerMayCloseOrResetAtAnyByte) {
    const std::string reply = "HTTP/1.0 200 OK\r\nA: b\r\nCd:\r\n\r\nbody";
    // Where the end of the stream leaves a response.
    const std::string whole = "..........||||||||.|||||..|||||||||";
    for (size_t cut = 0; cut <= reply.size(); ++cut) {
        SCOPED_TRACE(cut);
        const std::string body = cut > 30 ? reply.substr(30, cut - 30) : "null";
        const std::string part = "send " + reply.substr(0, cut);
        const CLoopbackPeer peer({{"read", part}, {"read", part, "reset"}});
        EXPECT_EQ(Fetch(peer), whole.at(cut) == '|' ? body : "http: Bad HTTP response");
        EXPECT_EQ(Fetch(peer), "http: Unable to receive data: Connection reset by peer");
    }
}

TEST(HttpExchange, TenThousandInARowLeaveNothing) {
    std::vector<std::pair<ptrdiff_t, size_t>> held;
    for (const size_t count : {100, kInstrumented ? 1000 : 10000}) {
        {
            const CLoopbackPeer peer(std::vector<CLoopbackPeer::Script>(count, kScript));
            for (size_t i = 0; i < count; ++i) {
                ASSERT_EQ(Fetch(peer), "body");
            }
        }
        held.push_back(Holdings());
    }
    EXPECT_EQ(held[1].first, held[0].first);
    EXPECT_LE(held[1].second, held[0].second + 65536);
}

TEST(HttpConnection, PeerThatIsGoneNeitherKillsTheHostNorTakesItsSignal) {
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    CHttpConnection connection(ends[0]);
    EXPECT_TRUE(connection.IsAlive());
    close(ends[1]);
    EXPECT_FALSE(connection.IsAlive());
    sigset_t pipe, set;
    sigemptyset(&pipe), sigaddset(&pipe, SIGPIPE);
    for (const bool pending : {false, true, false}) {
        EXPECT_EQ(pending ? pthread_sigmask(SIG_BLOCK, &pipe, nullptr) + raise(SIGPIPE) : 0, 0);
        EXPECT_RAISED(CHttpException, "Unable to send data: Broken pipe", connection.SendText("x"));
        EXPECT_EQ(sigpending(&set) + sigismember(&set, SIGPIPE), pending ? 1 : 0);
        EXPECT_EQ(pending ? sigwaitinfo(&pipe, nullptr) : SIGPIPE, SIGPIPE);
    }
    pthread_sigmask(SIG_UNBLOCK, &pipe, nullptr);
}

TEST(HttpExchangeConcurrency, SilentPeerHoldsUpNobodyElse) {
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    const CLoopbackPeer peer(std::vector<CLoopbackPeer::Script>(200, kScript));
    std::vector<std::thread> threads(4);
    for (std::thread& thread : threads) {
        thread = std::thread([&peer] {
            for (int turn = 0; turn < 50; ++turn) {
                EXPECT_EQ(Fetch(peer), "body");
            }
        });
    }
    std::thread waiting([&ends] {
        CHttpConnection silent(ends[0]);
        EXPECT_RAISED(CHttpException, "Bad HTTP response", CHttpResponse::Read(&silent));
    });
    std::for_each(threads.begin(), threads.end(), std::mem_fn(&std::thread::join));
    close(ends[1]);
    waiting.join();
}
