#include "support/certificates.h"
#include "support/child_process.h"
#include "support/log_capture.h"
#include "support/loopback_peer.h"
#include "support/server_process.h"
#include "support/stanza_file.h"

#include <gmock/gmock.h>

#include <iterator>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

namespace {

/** A home that trusts the endpoint of its scripts. */
class CRecordingHome : public CLogHome {
public:
    CRecordingHome() { MakeCertificates(*this); }

    void StartEndpoint(const std::string& option, const std::string& value) {
        const std::vector<std::string> command{"python3",       QORVS_RECORDING_ENDPOINT,
                                               "--certificate", Path("tls/good.pem"),
                                               "--key",         Path("tls/good.pem"),
                                               "--port",        std::to_string(port),
                                               option,          value};
        endpoint = nullptr;
        endpoint = std::make_unique<CServerProcess>(command, port, Path("endpoint.txt"));
    }

    /** Runs a script; then the file "recorded" has what the endpoint has. */
    std::string Record(const std::string& script) {
        std::string output = RunWords(script);
        RunWords("off endpoint URL keep");
        return output;
    }

private:
    /** Runs the words of a script, "URL" being the endpoint's. */
    std::string RunWords(const std::string& script) {
        const auto url = [](uint16_t at) {
            return "https://127.0.0.1:" + std::to_string(at) + "/record?a=b";
        };
        const std::string text = std::regex_replace(script, std::regex("URL"), url(port));
        std::istringstream words(std::regex_replace(text, std::regex("DEAF"), url(deaf.GetPort())));
        return Run("recording_child", {std::istream_iterator<std::string>(words), {}});
    }

    const CLoopbackPeer deaf{{}};
    const uint16_t port = FindFreePort();
    std::unique_ptr<CServerProcess> endpoint;
};

/** The places of the lines of a storm that are missing or where a newer one has gone ahead. */
std::string FindGaps(const std::string& text, int threads, int lines) {
    std::vector<int> next(static_cast<size_t>(threads), lines - 1);
    std::string gaps;
    // Backwards, since a line may have been sent twice, and the last time counts.
    for (size_t at = text.size(); (at = text.rfind("line ", at)) != std::string::npos; --at) {
        int line = 0;
        size_t thread = 0;
        sscanf(text.c_str() + at, "line %d of %zu", &line, &thread);
        gaps += line < next[thread] ? std::to_string(line) + " " : "";
        next[thread] -= line == next[thread] ? 1 : 0;
    }
    for (const int rest : next) {
        gaps += rest >= 0 ? "up to " + std::to_string(rest) : "";
    }
    return gaps;
}

}  // namespace

TEST(Recording, FollowsTheAnswers) {
    SKIP_WITHOUT("python3");
    CRecordingHome home;
    FOR_EACH_STANZA(row, ReadStanzas("trace/recordings.txt")) {
        home.StartEndpoint("--fail", row.Text("fail_text"));
        EXPECT_EQ(home.Record(row.Text("script_text")), row.Text("output_text"));
        std::string lines;
        for (const std::string& line : NumberThreads(CCapturedLog(home.Path("recorded")).lines)) {
            lines += line[0] == '#' ? "" : line + "\n";
        }
        EXPECT_EQ(lines, row.Text("recorded_text"));
    }
}

TEST(RecordingConcurrency, LosesNothingOverAnEndpointThatFails) {
    SKIP_WITHOUT("python3");
    constexpr int kThreads = 4;
    const int lines = kInstrumented ? 1000 : 25000;
    CRecordingHome home;
    home.StartEndpoint("--fail-rate", "0.01");
    home.Record("start URL storm 4x" + std::to_string(lines) + " join last await last");
    EXPECT_EQ(FindGaps(ReadWholeFile(home.Path("recorded")), kThreads, lines), "");
    EXPECT_EQ(FindGaps(ReadWholeFile(home.Files().at(0)), kThreads, lines), "");
}

TEST(RecordingConcurrency, IsWholeWhenTheProcessEndsAtOnce) {
    SKIP_WITHOUT("python3");
    CRecordingHome home;
    home.StartEndpoint("--fail", "");
    home.Record("start URL storm 2x200 join");
    EXPECT_EQ(FindGaps(ReadWholeFile(home.Path("recorded")), 2, 200), "");
}
