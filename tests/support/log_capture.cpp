#include "support/log_capture.h"

#include "support/child_process.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>

namespace fs = std::filesystem;

namespace {

// A digit stands for digits, X for upper-case hexadecimal ones, anything else for itself.
constexpr char kStamp[] = "00-00_00:00:00:000000 ";
constexpr char kThread[] = "XXXXXXXX";
constexpr size_t kStampLength = sizeof(kStamp) - 1;
constexpr size_t kPrefixLength = kStampLength + sizeof(kThread) - 1;
constexpr size_t kHeaderLines = 12;

bool HasForm(const std::string& line, size_t at, const char* form) {
    for (; *form != '\0'; ++form, ++at) {
        const bool digit = at < line.size() && line[at] >= '0' && line[at] <= '9';
        const bool letter = at < line.size() && line[at] >= 'A' && line[at] <= 'F';
        const bool fits = *form == '0'   ? digit
                          : *form == 'X' ? digit || letter
                                         : at < line.size() && line[at] == *form;
        if (!fits) {
            return false;
        }
    }
    return true;
}

CLogLine ParseLine(const std::string& line) {
    if (!HasForm(line, 0, kStamp) || !HasForm(line, kStampLength, kThread)) {
        return {"", 0, line};
    }
    return {line.substr(0, kStampLength), std::stoull(line.substr(kStampLength, 8), nullptr, 16),
            line.substr(kPrefixLength)};
}

}  // namespace

CCapturedLog::CCapturedLog(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::string line;
    while (std::getline(file, line)) {
        if (file.eof()) {
            line += "(no line feed)";
        }
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
    if (lines.size() < 4 || lines[0] != "" ||
        !std::equal(closing.begin(), closing.end(), lines.end() - 3)) {
        ADD_FAILURE() << "no blank line at the begin, or no closing lines";
        return lines;
    }
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
        if (line.stamp.empty()) {
            texts.push_back(line.text);
        } else {
            const size_t number = numbers.emplace(line.thread, numbers.size() + 1).first->second;
            texts.push_back(std::to_string(number) + line.text);
        }
    }
    return texts;
}
