#include "support/language_runs.h"
#include "support/loopback_peer.h"
#include "support/server_process.h"

#include <memory>

/** The pieces of a text between separators; none of an empty one. */
static std::vector<std::string> Pieces(const std::string& text, const std::string& separator) {
    std::vector<std::string> pieces;
    for (size_t at = 0, end = 0; !text.empty() && end != std::string::npos;) {
        end = text.find(separator, at);
        pieces.push_back(text.substr(at, end - at));
        at = end + separator.size();
    }
    return pieces;
}

TEST(Downloader, AsksItsServers) {
    FOR_EACH_STANZA(row, ReadStanzas("system/downloads.txt")) {
        CRunWords words{{"~closed", std::to_string(FindFreePort())}};
        std::vector<std::unique_ptr<CLoopbackPeer>> peers;
        for (const char* const name : {"one", "two"}) {
            std::vector<CLoopbackPeer::Script> scripts;
            const std::string key = std::string(name) + "_text";
            for (const std::string& script : Pieces(row.Has(key) ? row.Text(key) : "", "||")) {
                scripts.push_back(Pieces(script, "|"));
            }
            peers.push_back(std::make_unique<CLoopbackPeer>(scripts));
            words.emplace_back("~" + std::string(name), std::to_string(peers.back()->GetPort()));
        }
        CheckLanguageRun(row, words);
        if (row.Has("asked_text")) {
            std::string asked;
            for (const std::string& request : peers[0]->Wait()) {
                asked += request.substr(0, request.find('\r')) + "\n";
            }
            EXPECT_EQ(asked, row.Text("asked_text"));
        }
    }
}

TEST(Translate, SpeaksTheLanguageThatItFetched) {
    SKIP_WITHOUT(QORVS_TEST_BIN_DIR "/../examples/translate");
    const CLogHome home;
    const std::string reply = "send HTTP/1.0 200 OK\r\n\r\n{\"pin\": {\"enter\": \"PIN?\"}}";
    const CLoopbackPeer server(std::vector<CLoopbackPeer::Script>(1, {"read", reply}));
    const std::string url = "http://127.0.0.1:" + std::to_string(server.GetPort()) + "/languages/";
    const std::pair<const char*, std::vector<std::string>> runs[] = {
        {"LANG=de_DE.UTF-8", {"pin.enter", url}},
        {"LANG=fr", {"card.insert"}},
        {"LANG=it", {"pin.enter", url}},
        {"LANG=it", {"pin.enter"}},
        {"LANG=it", {"card.insert"}},
    };
    std::string said;
    for (const auto& [language, arguments] : runs) {
        std::vector<std::string> environment = home.Environment();
        environment.push_back(language);
        CChildProcess child("../examples/translate", arguments, environment);
        said += child.ReadAll();
        said += std::to_string(child.Wait()) + "\n";
    }
    EXPECT_EQ(said,
              "Bitte geben Sie Ihre PIN ein:\n0\nVeuillez insérer votre carte.\n0\n"
              "Please enter your PIN:\n0\nPIN?\n0\nUndefined\n1\n");
}
