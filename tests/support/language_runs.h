/**
 * Cases for language_child: files that a shell makes, commands, and what comes of them.
 */
#pragma once

#include "support/log_capture.h"
#include "support/stanza_file.h"

#include <gtest/gtest.h>

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <regex>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

/** Words that stand for what differs from run to run, as "~server" for a port. */
using CRunWords = std::vector<std::pair<std::string, std::string>>;

/**
 * Runs "prepare_text" in a shell, where `text FILE CONTENT` writes a file, then the commands of
 * "run_text", parted by "|". Compares what is printed and, if there is a "log_text", the log
 * without the numbers of source lines.
 */
inline void CheckLanguageRun(const CStanza& row, CRunWords words = {}) {
    CLogHome home;
    home.Write("bin/lsb_release", "#!/bin/sh\n");
    words.insert(words.end(), {{"~/", home.Path("")}, {"~vectors", QORVS_TEST_VECTORS}});
    words.emplace_back("~passwd", getpwuid(getuid())->pw_dir);
    for (const CStanza& word : ReadStanzas("util/language_words.txt")) {
        words.emplace_back(word.Text("word_text"), word.Text("meaning_text"));
    }
    const auto text = [&](const char* key) {
        std::string value = row.Has(key) ? row.Text(key) : "";
        for (const auto& [word, meaning] : words) {
            value = std::regex_replace(value, std::regex(word), meaning);
        }
        return value;
    };
    const std::string shell = "cd " + home.Path(".") +
                              "; text() { mkdir -p $(dirname $1); printf %s \"$2\" > $1; }\n" +
                              text("prepare_text") + "\ntrue";
    ASSERT_EQ(system(shell.c_str()), 0);
    std::vector<std::string> commands;
    std::istringstream list(text("run_text"));
    for (std::string command; std::getline(list, command, '|');) {
        commands.push_back(command);
    }
    EXPECT_EQ(home.Run("language_child", commands), text("printed_text"));
    if (row.Has("log_text")) {
        const std::regex place("(\\), line) [0-9]+");
        EXPECT_EQ(std::regex_replace(home.BodyText() + "\n", place, "$1"), text("log_text"));
    }
}
