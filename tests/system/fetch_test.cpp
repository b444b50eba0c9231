/**
 * The whole client against real servers: examples/fetch on a machine whose desktop settings, trust
 * store and proxies are the test's.
 */
#include "support/certificates.h"
#include "support/log_capture.h"
#include "support/loopback_peer.h"
#include "support/server_process.h"
#include "support/stanza_file.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <list>
#include <map>
#include <regex>
#include <set>

namespace fs = std::filesystem;

namespace {

#define FETCH QORVS_TEST_BIN_DIR "/../examples/fetch"

// Where there is no such command, the shell says so among the words of fetch.
constexpr const char* kNoDistribution = "#!/bin/sh\n";

/** Runs fetch with variables: "Exit " and its exit status, then both outputs. */
std::string RunFetch(const std::string& url, std::vector<std::string> environment) {
    environment.insert(environment.end(), {"sh", "-c", "exec " FETCH " '" + url + "' 2>&1"});
    CChildProcess child("", {}, environment);
    const std::string output = child.ReadAll();
    return "Exit " + std::to_string(child.Wait()) + "\n" + output;
}

/** A machine and the servers around it. */
class CMachine {
public:
    CMachine() {
        std::set<uint16_t> ports;
        for (const char* const name :
             {"nginx", "tls", "far_tls", "squid", "asking", "tinyproxy", "closed"}) {
            while (!ports.insert(std::stoi(names[name] = std::to_string(FindFreePort()))).second) {
            }
        }
        MakeCertificates(home);
        home.Write("bin/lsb_release", kNoDistribution);
        const fs::path templates = QORVS_TEST_VECTORS "/system/fetch";
        for (const fs::path& file : fs::recursive_directory_iterator(templates)) {
            if (fs::is_regular_file(file)) {
                home.Write(fs::relative(file, templates), Filled(ReadWholeFile(file)));
            }
        }
        home.Write("www/1k", std::string(1024, 'x'));
        home.Write("www/10m", std::string(size_t{10} << 20, 'x'));
        Start({"nginx", "-p", home.Path(""), "-e", "stderr", "-c"});
        // Named by its port, and so is its shared memory.
        Start({"squid", "-n", "squid" + names["squid"], "-N", "-d", "1", "-f"});
        Start({"tinyproxy", "-d", "-c"});
    }

    /** Replaces words in braces: names of ports, "home", and what fetch_words.txt has. */
    std::string Filled(std::string text) const {
        for (std::smatch word; std::regex_search(text, word, std::regex("\\{(\\w+)\\}"));) {
            const auto known = names.find(word[1]);
            text.replace(
                word.position(), word.length(),
                known != names.end() ? known->second : words[0].Text(word.str(1) + "_text"));
        }
        return text;
    }

    /** What fetch prints ahead of the log, without the time and all headers but X-Seen. */
    std::string Fetch(const std::string& url, const std::string& desktop) {
        fs::remove_all(home.Path("log"));
        fs::create_directory(home.Path("log"));
        home.Write("desktop", desktop);
        const std::string output = RunFetch(url, home.Environment());
        return std::regex_replace(output.substr(0, output.find("Log  ")),
                                  std::regex("(Time|Header  (?!X-Seen)).*\n"), "");
    }

    /** The log's body, with "N" for the numbers of source lines. */
    std::string LogText() const {
        return std::regex_replace(home.BodyText(), std::regex("(\\), line )[0-9]+"), "$1N");
    }

private:
    /** Starts a program that takes its settings, "<program>.conf", behind what is given. */
    void Start(std::vector<std::string> command) {
        const std::string path = home.Path(command[0]);
        command.push_back(path + ".conf");
        servers.emplace_back(command, std::stoi(names[command[0]]), path + ".out");
    }

    CLogHome home;
    std::map<std::string, std::string> names{{"home", home.Path("")}};
    std::vector<CStanza> words = ReadStanzas("system/fetch_words.txt");
    std::list<CServerProcess> servers;
};

}  // namespace

TEST(Fetch, ReachesServersAsTheDesktopSays) {
    SKIP_WITHOUT(FETCH " nginx squid tinyproxy");
    CMachine machine;
    FOR_EACH_STANZA(row, ReadStanzas("system/fetch.txt")) {
        const std::string url = machine.Filled(row.Text("url_text"));
        const std::string way = url + machine.Filled(row.Text("log_text"));
        EXPECT_EQ(machine.Fetch(url, machine.Filled(row.Text("desktop_text"))),
                  row.Text("answer_text"));
        EXPECT_EQ(machine.LogText(),
                  "1.. Entering Fetch.\n1..     " + way + "\n1.. Leaving Fetch.\n");
    }
}

TEST(Fetch, KeepsALogOfItsOwn) {
    SKIP_WITHOUT(FETCH);
    const CSettingsHome home;
    home.Write("bin/lsb_release", kNoDistribution);
    const std::string path = home.Environment().back();
    const std::string output =
        RunFetch("ftp://nowhere/", {"-u", "QORVS_CONFFILE", "TMPDIR=" + home.Path(""), path});
    std::smatch parts;
    const std::regex place(
        "^Exit 1\nInvalid protocol : ftp\nLog     ((.*)/qorvs_[^/]*_fetch_[0-9]+\\.log)\n\n");
    ASSERT_TRUE(std::regex_search(output, parts, place)) << output;
    EXPECT_EQ(ReadWholeFile(parts[1]).find(parts.suffix()), 0U);
    EXPECT_EQ(fs::status(parts[2].str()).permissions(), fs::perms::owner_all);
}
