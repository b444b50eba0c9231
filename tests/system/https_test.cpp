#include "system/https.h"

#include "support/certificates.h"
#include "support/log_capture.h"
#include "support/loopback_peer.h"
#include "support/raised.h"
#include "support/server_process.h"
#include "support/stanza_file.h"
#include "system/host.h"
#include "system/http_errors.h"

#include <gmock/gmock.h>
#include <openssl/err.h>

#include <arpa/inet.h>
#include <sys/socket.h>

#include <chrono>
#include <cstdio>
#include <future>
#include <iterator>
#include <memory>
#include <regex>
#include <sstream>

static int Listen(uint16_t port) {
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in address{AF_INET, htons(port), {htonl(INADDR_LOOPBACK)}, {}};
    EXPECT_EQ(bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    listen(listener, 16);
    return listener;
}

static CSslContext MakeServerContext(const std::string& file) {
    CSslContext context(SSL_CTX_new(TLS_server_method()));
    SSL_CTX_use_certificate_file(context.get(), file.c_str(), SSL_FILETYPE_PEM);
    SSL_CTX_use_PrivateKey_file(context.get(), file.c_str(), SSL_FILETYPE_PEM);
    return context;
}

/** Up to a blank line, or the first block of a handshake. */
static std::string ReadRequest(CHttpConnection& connection) {
    std::string request;
    for (CByteZone block; request.find("\r\n\r\n") == std::string::npos && request[0] != '\x16' &&
                          connection.RecvBlock(block);) {
        request.append(block.GetData(), block.GetEnd());
    }
    return request[0] != '\x16' ? request : "(hello)";
}

/** Plays the parts of a row, one a connection; gives what came, and why it failed. */
static std::string Play(int listener, const std::string& parts, SSL_CTX* context) {
    std::istringstream stream(parts);
    std::string seen;
    for (std::string part; std::getline(stream, part, '|');) {
        const int client = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
        CHttpConnection plain(client);
        const std::string action = part.substr(part.find('<'));
        const linger hard{action == "<reset>", 0};
        setsockopt(client, SOL_SOCKET, SO_LINGER, &hard, sizeof(hard));
        try {
            seen += part != action || action == "<>" ? ReadRequest(plain) : "";
            plain.SendBlock(part.data(), part.find('<'));
            if (action == "<tls>" || action == "<cut>") {
                CHttpsConnection secure(dup(client), context);
                seen += ReadRequest(secure);
                secure.SendText("HTTP/1.0 200 OK\r\n\r\nby TLS");
                shutdown(action == "<cut>" ? client : -1, SHUT_WR);
                secure.SendText(action == "<cut>" ? "x" : "");
            }
        } catch (const CHttpException& exception) {
            seen += WordsOf(exception);
        }
        EXPECT_EQ(ERR_peek_error(), 0U);
    }
    return seen;
}

/** In the rows, "~port" and "~/" stand for the port of the peer and for the home. */
static void RunRows(const std::string& file) {
    SKIP_WITHOUT("openssl");
    CLogHome home;
    MakeCertificates(home);
    home.Write("bin/gsettings",
               "#!/bin/sh\ncase $* in *mode) echo \"'$MODE'\";; *port) echo $PORT;; *url) echo "
               "\"'http://localhost:$PORT/pac'\";; *) echo \"'localhost'\"; esac\n");
    const CSslContext context = MakeServerContext(home.Path("tls/good.pem"));
    FOR_EACH_STANZA(row, ReadStanzas(file)) {
        const uint16_t free = FindFreePort();
        const std::string port = std::to_string(free);
        const auto text = [&](const char* key) {
            const std::string value = row.Has(key) ? row.Text(key) : "";
            return std::regex_replace(std::regex_replace(value, std::regex("~port"), port),
                                      std::regex("~/"), home.Path(""));
        };
        home.Write("openssl.runs", "");
        std::unique_ptr<CServerProcess> server;
        if (row.Has("server_text")) {
            const std::vector<std::string> command{"sh", "-c", text("server_text")};
            server = std::make_unique<CServerProcess>(command, free, home.Path(port));
        }
        const int listener = server ? -1 : Listen(free);
        auto peer =
            std::async(std::launch::async, Play, listener, text("peer_text"), context.get());
        std::istringstream words(text("client_text"));
        const std::string output =
            row.Has("command_text")
                ? ReadCommand(text("command_text").c_str()).GetText()
                : home.Run("https_child", {std::istream_iterator<std::string>(words), {}});
        peer.wait_for(
            std::chrono::seconds(20));  // what the client left may still have to be played
        shutdown(listener, SHUT_RDWR);
        EXPECT_EQ(peer.get(), text("seen_text"));
        close(listener);
        EXPECT_THAT(output + ReadWholeFile(home.Path("openssl.runs")),
                    testing::ContainsRegex(text("output_text")));
        if (row.Has("log_text")) {
            const std::regex changing("(^|\n)1\\.\\. |(, line) [^\n]*");
            EXPECT_EQ(std::regex_replace(home.BodyText(), changing, "$1$2"), text("log_text"));
        }
        for (const std::string& log : home.Files()) {
            remove(log.c_str());
        }
    }
}

TEST(Https, ClientsAndServersOfEachKind) { RunRows("system/https.txt"); }

TEST(HttpsConcurrency, FirstConnectionsAtOnce) { RunRows("system/https_at_once.txt"); }
