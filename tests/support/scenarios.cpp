#include "support/scenarios.h"

#include "support/log_capture.h"
#include "support/stanza_file.h"

#include <gtest/gtest.h>

#include <regex>
#include <vector>

void RunScenarios(const std::string& program, const std::string& file) {
    FOR_EACH_STANZA(row, ReadStanzas(file)) {
        CLogHome home;
        const auto placed = [&](const char* key) {
            return std::regex_replace(row.Text(key), std::regex("~"), home.Path(""));
        };
        if (!row.Has("log_text")) {
            home.Write("qorvs.conf", "");
        }
        if (row.Has("file_text")) {
            home.Write(row.Text("file_text"), row.Text("content_text"));
        }
        const std::string command = placed("command_text");
        const std::regex part("(^|\\|)([^|]*)");
        const std::sregex_token_iterator parts(command.begin(), command.end(), part, 2), end;
        EXPECT_EQ(home.Run(program, {parts, end}), placed("printed_text"));
        if (row.Has("log_text")) {
            const std::regex changing("(^|\n)1\\.\\. |(, line) [^\n]*");
            EXPECT_EQ(std::regex_replace(home.BodyText(), changing, "$1$2"), row.Text("log_text"));
        }
    }
}
