#include "support/stanza_file.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <utility>

namespace {

std::string Trimmed(const std::string& text) {
    const size_t end = text.find_last_not_of(" \t\r") + 1;
    return end == 0 ? "" : text.substr(0, end).substr(text.find_first_not_of(" \t\r"));
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
        plain += kind == 'x'   ? FromHex(text.substr(i + 1, 2))
                 : kind == 'n' ? "\n"
                 : kind == 'r' ? "\r"
                 : kind == 't' ? "\t"
                               : std::string(1, kind);
        i += kind == 'x' ? 2 : 0;
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
    static const CValue none{};
    const auto found = values.find(key);
    EXPECT_TRUE(found != values.end()) << name << ": no " << key;
    const CValue& value = found != values.end() ? found->second : none;
    value.read = true;
    return value.text;
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

long CStanza::Int(const std::string& key) const { return std::atol(Find(key).c_str()); }

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
