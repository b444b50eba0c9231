// The answers of the document protocols, and what they leave in the log, as rows of calls.
#include "support/child_process.h"
#include "support/log_capture.h"
#include "support/stanza_file.h"
#include "support/string_print.h"
#include "util/hex.h"

#include <gtest/gtest.h>

#include <regex>
#include <sstream>

namespace {

std::vector<std::string> Split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, separator);) {
        parts.push_back(part);
    }
    return parts;
}

/** The text with the values of a published case in it. */
std::string Fill(std::string text, const CStanza& published) {
    static const std::regex key("~(~?)(\\w+)");
    for (std::smatch match; std::regex_search(text, match, key);) {
        std::string value = published.Has(match[2]) ? published.Text(match[2]) : "";
        value = match[1].length() > 0 ? ToHex(CByteZone(value.c_str())).GetText()
                : value == "valid"    ? "1"
                : value == "invalid"  ? "0"
                                      : value;
        text.replace(static_cast<size_t>(match.position()), static_cast<size_t>(match.length()),
                     value.empty() ? "-" : value);
    }
    return text;
}

std::string Lower(const std::string& text) { return ToStd(CUTF8String(text.c_str()).ToLower()); }

/** Runs a row's calls with the values of a published case, if it has what the row needs. */
void CheckPublished(const CSettingsHome& home, const CStanza& row, const CStanza& published) {
    published.Skip();
    for (const std::string& key : Split(row.Has("needs_text") ? row.Text("needs_text") : "", ' ')) {
        const bool isUnwanted = key[0] == '!';
        if (published.Has(key.substr(isUnwanted)) == isUnwanted) {
            return;
        }
    }
    const std::string calls = Fill(row.Text("call_text"), published);
    CChildProcess child("document_calls_child", Split(calls, '\n'), home.Environment());
    const std::string said = child.ReadAll();
    if (published.Has("result_text") && published.Text("result_text") == "error") {
        EXPECT_EQ(said[0], '!') << published.Name();
    } else {
        EXPECT_EQ(Lower(said), Lower(Fill(row.Text("output_text"), published))) << published.Name();
    }
}

}  // namespace

class Documents : public testing::TestWithParam<const char*> {};

INSTANTIATE_TEST_SUITE_P(Files, Documents,
                         testing::Values("object_ids", "security_infos", "mrz", "aa_calls",
                                         "pace_domains", "pace_refusals"));

TEST_P(Documents, AnswerInWordsAndInTheLog) {
    std::vector<std::string> calls;
    std::string outputs, lines, log;
    FOR_EACH_STANZA(row, ReadStanzas(std::string("icao/") + GetParam() + ".txt")) {
        for (const std::string& call : Split(row.Text("call_text"), '\n')) {
            calls.push_back(call);
        }
        outputs += row.Text("output_text");
        lines += row.Has("lines_text") ? row.Text("lines_text") : "";
    }
    CLogHome home;
    EXPECT_EQ(home.Run("document_calls_child", calls), outputs);
    for (const std::string& line :
         home.Files().empty() ? std::vector<std::string>() : home.Body()) {
        if (line.find("1..") == 0) {  // the others are OpenSSL's
            log += std::regex_replace(line, std::regex("(, line| failed:).*"), "$1") + "\n";
        }
    }
    EXPECT_EQ(log, lines);
}

TEST(Documents, AnswerAsPublished) {
    CSettingsHome home;
    FOR_EACH_STANZA(row, ReadStanzas("icao/published.txt")) {
        for (const std::string& file : Split(row.Text("files_text"), ' ')) {
            for (const CStanza& published : ReadSharedStanzas(file)) {
                CheckPublished(home, row, published);
            }
        }
        row.Skip();  // all of it, where the public files are not there
    }
}
