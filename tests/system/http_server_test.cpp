#include "support/log_capture.h"
#include "support/raised.h"
#include "support/stanza_file.h"
#include "support/string_print.h"
#include "system/http_errors.h"
#include "system/http_server_connection.h"

#include <gmock/gmock.h>

#include <sys/socket.h>
#include <unistd.h>

#include <functional>
#include <map>
#include <regex>
#include <sstream>
#include <thread>

namespace {

/** Makes calls, each "name argument|argument"; gives what the peer got until the end. */
class CExchange {
public:
    CExchange() { EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0); }
    ~CExchange() { close(ends[1]); }
    CExchange(const CExchange&) = delete;
    CExchange& operator=(const CExchange&) = delete;

    std::string Run(const std::string& lines) {
        {
            auto server = std::make_unique<CHttpServerConnection>(ends[0]);
            std::istringstream calls(lines);
            for (std::string line; std::getline(calls, line, '\t');) {
                Make(*server, line);
            }
        }
        char piece[512];
        for (ssize_t count; (count = recv(ends[1], piece, sizeof(piece), 0)) > 0;) {
            said.append(piece, static_cast<size_t>(count));
        }
        return said;
    }

private:
    static CISOString Text(const std::string& bytes) {
        return {bytes.data(), static_cast<ptrdiff_t>(bytes.size())};
    }

    void Make(CHttpServerConnection& server, const std::string& line) {
        const std::string call = line.substr(0, line.find(' '));
        const std::string rest = line.substr(std::min(line.size(), call.size() + 1));
        std::vector<std::string> with;
        std::istringstream fields(rest);
        for (std::string field; std::getline(fields, field, '|');) {
            with.push_back(field);
        }
        with.resize(std::max<size_t>(with.size(), 3));
        CHttpExtraHeaders extra;
        for (size_t i = 3; i < with.size(); ++i) {
            const size_t mark = with[i].find('=');
            extra.emplace_back(Text(with[i].substr(0, mark)), Text(with[i].substr(mark + 1)));
        }
        const CUTF8String utf8(with[0].data(), static_cast<ptrdiff_t>(with[0].size()));
        const auto number = std::atoll(with[0].c_str());
        const auto code = static_cast<int32_t>(number);
        const int32_t length = std::atoi(with[1].c_str());
        CByteZone zone;
        zone.Append(reinterpret_cast<const unsigned char*>(with[1].data()), with[1].size());
        // clang-format off
#define DOES(name, ...) {name, [&] { __VA_ARGS__; }}
        const std::map<std::string, std::function<void()>> calls{
            DOES("origin", server.SetOrigin(Text(rest))),
            DOES("headers", server.SendHeaders(Text(with[0]), length, with[2] == "fresh", extra)),
            DOES("nothing", server.SendNoContent()),
            DOES("file", server.SendFile(utf8, zone)),
            DOES("http", server.SendHttpError(code)),
            DOES("custom", server.SendCustomError(utf8)),
            DOES("cryptoki", server.SendCryptokiError(std::stoul(with[0], nullptr, 0))),
            DOES("icao", server.SendIcaoError(code, CUTF8String(with[1].c_str()))),
            DOES("desfire", server.SendDesfireError(code)),
            DOES("text", server << Text(rest) << "!"; server.SendCrLf()),
            DOES("ask", said += send(ends[1], rest.data(), rest.size(), 0) < 0 ? "unasked" : ""),
            DOES("header", CHttpHeader header = server.ReadHeader();
                 said += ToStd(header.GetName() + "=" + header.GetValue()) + "\n"),
            DOES("secret", said += ToStd(server.ReadSecureLine()) + "\n"),
            DOES("leave", shutdown(ends[1], SHUT_RDWR)),
            DOES("alive", said += server.IsAlive() ? "alive\n" : "gone\n"),
        };
        // clang-format on
        try {
            calls.at(call)();
        } catch (const CHttpException& failure) {
            said += WordsOf(failure) + "\n";
        }
    }

    int ends[2] = {-1, -1};
    std::string said;
};

}  // namespace

// Each case is what a server does, what its peer gets and what the log says.
TEST(HttpServer, AnswersAndTheirTraces) {
    const bool traced = getenv("QORVS_CONFFILE") != nullptr;
    std::string log;
    FOR_EACH_STANZA(row, ReadStanzas("system/http_server.txt")) {
        log += row.Has("log_text") ? row.Text("log_text") + "\n" : "";
        const std::string calls = row.Text("do_text"), gives = row.Text("gives_text");
        if (traced) {
            EXPECT_EQ(CExchange().Run(calls), gives);
        }
    }
    if (!traced) {
        CLogHome home;
        const std::string output =
            home.Run("system_tests", {"--gtest_filter=HttpServer.AnswersAndTheirTraces"});
        EXPECT_NE(output.find("[  PASSED  ] 1 test"), std::string::npos) << output;
        const std::regex changing("(^|\n)1\\.\\. +|, line [0-9]+");
        EXPECT_EQ(std::regex_replace(home.BodyText(), changing, "$1") + "\n", log);
    }
}

// The peer takes the head, and leaves while the file is on its way.
TEST(HttpServer, PeerThatLeavesIsAFailure) {
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    CHttpServerConnection server(ends[0]);
    std::thread peer([&] {
        char head[100];
        EXPECT_EQ(recv(ends[1], head, sizeof(head), MSG_WAITALL), 100);
        close(ends[1]);
    });
    CByteZone data;
    data.Fill(64000000, 'x');
    const std::string words = WordsRaisedBy<CHttpException>([&] { server.SendFile("f", data); });
    peer.join();
    EXPECT_THAT(words, testing::AnyOf("Unable to send data: Broken pipe",
                                      "Unable to send data: Connection reset by peer"));
    EXPECT_FALSE(server.IsAlive());
}
