#include "support/log_capture.h"
#include "support/loopback_peer.h"
#include "support/stanza_file.h"
#include "system/http_connection.h"

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <regex>
#include <string>
#include <vector>

// Writes down how it was asked. Answers are lines "<last name of the schema> <key> <value>".
constexpr auto kAnswer = "#!/bin/sh\necho $@ >>~/asked\nsed -n \"s|^${2##*.} $3 ||p\" ~/answers";

using CPorts = std::vector<std::pair<const char*, uint16_t>>;

// Cases name ports as "~script", where the proxy script comes from, and so on.
static std::string Place(std::string text, const CPorts& ports) {
    for (const auto& [name, port] : ports) {
        text = std::regex_replace(text, std::regex(name), std::to_string(port));
    }
    return text;
}

TEST(ProxyResolver, AsksTheDesktopAndItsScript) {
    const CLoopbackPeer deaf({});
    CHttpConnection waiting[17];  // these fill its queue: who comes next gets no answer
    for (CHttpConnection& connection : waiting) {
        connection.ConnectSocket({true, "http", "127.0.0.1", deaf.GetPort(), "/"});
    }
    FOR_EACH_STANZA(row, ReadStanzas("system/proxies.txt")) {
        const CLoopbackPeer proxy({{"send proxy\n"}}), target({{"send target\n"}});
        CPorts ports{{"~proxy", proxy.GetPort()}, {"~target", target.GetPort()}};
        ports.insert(ports.end(), {{"~refused", FindFreePort()}, {"~deaf", deaf.GetPort()}});
        const auto text = [&](auto key) { return row.Has(key) ? Place(row.Text(key), ports) : ""; };
        CLoopbackPeer script({{"read", "send " + text("reply_text")}});
        ports.emplace_back("~script", script.GetPort());
        CLogHome home;
        home.Write("answers", text("answers_text"));
        home.Write("bin/gsettings", row.Has("asked_text") ? kAnswer : "#!/bin/false\n");
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(home.Run("proxy_child", {text("command_text"), text("url_text")}),
                  text("printed_text"));
        const auto passed = std::chrono::steady_clock::now() - start;
        if (row.Has("dead_int")) {
            EXPECT_EQ(passed / std::chrono::seconds(3), row.Int("dead_int"));
        }
        std::string asked;
        std::getline(std::ifstream(home.Path("asked")), asked, '\0');
        EXPECT_EQ(asked, text("asked_text"));
        const std::regex changing("(^|\n)\\d\\.\\. |(, line) [^\n]*");
        EXPECT_EQ(std::regex_replace(home.BodyText(), changing, "$1$2"), text("log_text"));
        EXPECT_EQ(row.Has("fetched_text") ? script.Wait()[0] : "", text("fetched_text"));
    }
}

TEST(ProxyConcurrency, ThreadsResolveAtOnce) {
    const std::string reply = "send HTTP/1.0 200 OK\r\n\r\nfunction FindProxyForURL(u){return u}";
    const CLoopbackPeer script(std::vector<CLoopbackPeer::Script>(4, {"read", reply}));
    CLogHome home;
    home.Write("bin/gsettings", kAnswer);
    home.Write("answers", Place("proxy mode 'auto'\nproxy autoconfig-url 'http://127.1:~script/'\n",
                                {{"~script", script.GetPort()}}));
    EXPECT_EQ(home.Run("proxy_child", {"list", "http://a", "http://b", "http://c", "http://d"}),
              "[http://a:80//][http://b:80//][http://c:80//][http://d:80//]");
}
