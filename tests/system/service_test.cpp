#include "support/child_process.h"
#include "support/log_capture.h"
#include "support/server_process.h"
#include "support/stanza_file.h"
#include "support/string_print.h"
#include "util/string_list.h"

#include <sys/prctl.h>
#include <sys/wait.h>

#include <regex>
#include <string>
#include <vector>

/** How the background process that a child has left behind ends; -1 when there is none. */
static int WaitForBackground() {
    int status = 0;
    return waitpid(-1, &status, 0) < 0 ? -1 : status;
}

// A case is a command of service_child, its parts parted by "|", with "~" for its home and "@" for
// the program; its exit status, what it prints and what all its processes report; the exit status
// of the one in the background, the PID file that is left, and the log.
TEST(Service, StartsAndEndsInTheseWords) {
    ASSERT_EQ(prctl(PR_SET_CHILD_SUBREAPER, 1), 0);  // background processes become our children
    FOR_EACH_STANZA(row, ReadStanzas("system/service.txt")) {
        const CLogHome home;
        const auto placed = [&](const char* key) {
            const std::string text = row.Has(key) ? row.Text(key) : "";
            const std::string program = QORVS_TEST_BIN_DIR "/service_child";
            return std::regex_replace(std::regex_replace(text, std::regex("@"), program),
                                      std::regex("~"), home.Path(""));
        };
        if (row.Has("file_text")) {
            home.Write(row.Text("file_text"), row.Text("content_text"));
        }
        std::vector<std::string> command;
        const auto parts = CUTF8String(placed("command_text").c_str()).Split("|");
        for (const CUTF8String& part : parts) {
            if (part.GetLength() > 0) {
                command.push_back(ToStd(part));
            }
        }
        std::vector<std::string> environment = home.Environment();
        environment.push_back("SERVICE_DIR=" + home.Path(""));
        environment.push_back("SERVICE_DOES=" + placed("does_text"));
        environment.push_back("FAILING_CALL=" + placed("failing_text"));
        CChildProcess first("service_child", command, environment);
        EXPECT_EQ(first.ReadAll(), placed("printed_text"));
        EXPECT_EQ(first.Wait(), row.Int("exit_int"));
        EXPECT_EQ(WaitForBackground(), row.Has("end_int") ? row.Int("end_int") << 8 : -1);
        EXPECT_EQ(ReadWholeFile(home.Path("reports")), placed("reports_text"));
        EXPECT_EQ(ReadWholeFile(home.Path("told.pid")), placed("left_text"));
        const std::regex changing("(^|\n)1\\.\\. |(, line) [^\n]*");
        const std::string log = home.Files().empty() ? "" : home.BodyText();
        EXPECT_EQ(std::regex_replace(log, changing, "$1$2"), placed("log_text"));
    }
}
