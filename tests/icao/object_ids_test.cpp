// The answers of the document protocols' small operations, and what they leave in the log.
#include "support/log_capture.h"
#include "support/stanza_file.h"

#include <gtest/gtest.h>

#include <regex>

class Documents : public testing::TestWithParam<const char*> {};

INSTANTIATE_TEST_SUITE_P(Files, Documents,
                         testing::Values("object_ids", "security_infos", "mrz", "aa_calls"));

TEST_P(Documents, AnswerInWordsAndInTheLog) {
    std::vector<std::string> calls;
    std::string outputs, lines;
    FOR_EACH_STANZA(row, ReadStanzas(std::string("icao/") + GetParam() + ".txt")) {
        const std::string argument = row.Text("argument_text");
        calls.insert(calls.end(), {row.Text("call_text"), argument == "-" ? "" : argument});
        outputs += row.Text("output_text") + "\n";
        lines += row.Has("lines_text") ? row.Text("lines_text") : "";
    }
    CLogHome home;
    EXPECT_EQ(home.Run("document_calls_child", calls), outputs);
    const std::string log = home.Files().empty() ? "" : home.BodyText() + "\n";
    EXPECT_EQ(std::regex_replace(log, std::regex("(, line )[0-9]+"), "$1N"), lines);
}
