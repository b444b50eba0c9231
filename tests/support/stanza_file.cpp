#include "support/stanza_file.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <utility>

namespace {

std::string Trimmed(const std::string& text) {
    const size_t first = text.find_first_not_of(" \t\r");
    return first == std::string::npos
               ? ""
               : text.substr(first, text.find_last_not_of(" \t\r") + 1 - first);
}

std::string FromHex(const std::string& digits) {
    EXPECT_EQ(digits.find_first_not_of("0123456789abcdefABCDEF"), std::string::npos) << digits;
    std::string bytes;
    for (size_t i = 0; i + 1 < digits.size(); i += 2) {
        bytes += static_cast<char>(std::stoul(digits.substr(i, 2), nullptr, 16));
    }
    return bytes;
}

std::string Unescaped(const std::string& text) {
    std::string plain;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\' || i + 1 == text.size()) {
            plain += text[i];
            continue;
        }
        const char kind = text[++i];
        if (kind == 'x') {
            plain += FromHex(text.substr(i + 1, 2));
            i += 2;
        } else {
            plain += kind == 'n' ? '\n' : kind == 'r' ? '\r' : kind == 't' ? '\t' : kind;
        }
    }
    return plain;
}

std::vector<CStanza> Read(const std::string& path) {
    std::vector<CStanza> stanzas;
    std::ifstream file(path);
    std::string line;
    for (int number = 1; std::getline(file, line); ++number) {
        const std::string place = path + ":" + std::to_string(number);
        const std::string text = Trimmed(line);
        const size_t equals = text.find('=');
        if (text.empty() || text[0] == '#') {
            continue;
        }
        if (text.front() == '[' && text.back() == ']') {
            stanzas.emplace_back(text.substr(1, text.size() - 2), place);
        } else if (equals != std::string::npos && !stanzas.empty()) {
            stanzas.back().Add(Trimmed(text.substr(0, equals)), Trimmed(text.substr(equals + 1)));
        } else {
            ADD_FAILURE() << place << ": neither a case nor a value";
        }
    }
    return stanzas;
}

}  // namespace

CStanza::CStanza(std::string caseName, std::string place)
    : name(std::move(caseName) + " (" + std::move(place) + ")") {}

CStanza::~CStanza() {
    for (const auto& [key, value] : values) {
        EXPECT_TRUE(value.read || testing::Test::HasFailure()) << name << ": nobody read " << key;
    }
}

void CStanza::Add(const std::string& key, const std::string& value) {
    EXPECT_TRUE(values.emplace(key, CValue{value}).second) << name << ": twice: " << key;
}

const std::string& CStanza::Find(const std::string& key) const {
    static const std::string none;
    const auto found = values.find(key);
    if (found == values.end()) {
        ADD_FAILURE() << name << ": no " << key;
        return none;
    }
    found->second.read = true;
    return found->second.text;
}

bool CStanza::Has(const std::string& key) const {
    const auto found = values.find(key);
    return found != values.end() && (found->second.text != "-" || Find(key).empty());
}

std::string CStanza::Text(const std::string& key) const { return Unescaped(Find(key)); }

CByteZone CStanza::Bytes(const std::string& key) const {
    const std::string bytes = FromHex(Find(key));
    return {reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()};
}

long CStanza::Int(const std::string& key) const {
    return std::strtol(Find(key).c_str(), nullptr, 10);
}

void CStanza::Skip() const {
    for (const auto& entry : values) {
        entry.second.read = true;
    }
}

std::vector<CStanza> ReadStanzas(const std::string& file) {
    std::vector<CStanza> stanzas = Read(std::string(QORVS_TEST_VECTORS "/") + file);
    EXPECT_FALSE(stanzas.empty()) << file;
    return stanzas;
}

std::vector<CStanza> ReadSharedStanzas(const std::string& file) {
    return Read(std::string(QORVS_SHARED_VECTORS "/") + file);
}
