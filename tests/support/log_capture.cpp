#include "support/log_capture.h"

#include "support/child_process.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>

namespace fs = std::filesystem;

namespace {

constexpr size_t kPrefixLength = 30;
constexpr size_t kHeaderLines = 12;

CLogLine ParseLine(const std::string& line) {
    static const std::regex prefix(R"((\d\d-\d\d_\d\d:\d\d:\d\d:\d{6} )([0-9A-F]{8}))");
    const std::string start = line.substr(0, kPrefixLength);
    std::smatch parts;
    return !std::regex_match(start, parts, prefix)
               ? CLogLine{"", 0, line}
               : CLogLine{parts[1], std::stoull(parts[2], nullptr, 16), line.substr(kPrefixLength)};
}

}  // namespace

CCapturedLog::CCapturedLog(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::string line;
    while (std::getline(file, line)) {
        line += file.eof() ? "(no line feed)" : "";
        if (header.size() < kHeaderLines) {
            header.push_back(line);
        } else {
            lines.push_back(ParseLine(line));
        }
    }
}

CLogHome::CLogHome() {
    fs::create_directory(Path("log"));
    WriteSuite("qorvs.conf", "EnableTrace = 1\nTrace = " + Path("log"));
}

std::string CLogHome::Run(const std::string& program, const std::vector<std::string>& arguments) {
    CChildProcess child(program, arguments, Environment());
    process = child.GetId();
    std::string output = child.ReadAll();
    EXPECT_EQ(child.Wait(), 0) << program;
    return output;
}

std::vector<std::string> CLogHome::Files() const {
    std::vector<std::string> files;
    for (const fs::directory_entry& entry : fs::directory_iterator(Path("log"))) {
        files.push_back(entry.path());
    }
    return files;
}

CCapturedLog CLogHome::Log() const {
    const std::vector<std::string> files = Files();
    EXPECT_EQ(files.size(), 1U);
    return CCapturedLog(files.empty() ? "" : files[0]);
}

std::vector<std::string> CLogHome::Body() const {
    std::vector<std::string> lines = NumberThreads(Log().lines);
    const std::vector<std::string> closing{"", "# Ending log", std::string(50, '#')};
    lines.resize(std::max<size_t>(lines.size(), 4));
    EXPECT_EQ(lines[0], "");
    EXPECT_EQ(std::vector<std::string>(lines.end() - 3, lines.end()), closing);
    return {lines.begin() + 1, lines.end() - 3};
}

std::string CLogHome::BodyText() const {
    std::string text;
    for (const std::string& line : Body()) {
        text += "\n" + line;
    }
    return text.substr(text.empty() ? 0 : 1);
}

std::vector<std::string> NumberThreads(const std::vector<CLogLine>& lines) {
    std::map<uint64_t, size_t> numbers;
    std::vector<std::string> texts;
    for (const CLogLine& line : lines) {
        const size_t next = numbers.size() + 1;
        texts.push_back(line.stamp.empty()
                            ? line.text
                            : std::to_string(numbers.emplace(line.thread, next).first->second) +
                                  line.text);
    }
    return texts;
}
