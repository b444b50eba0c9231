#include "support/stanza_file.h"
#include "trace/ck_error_text.h"
#include "trace/name_table.h"
#include <qorvs/ck_names.h>

#include <gmock/gmock.h>

#include <array>
#include <fstream>
#include <map>
#include <set>
#include <string>
#include <thread>

namespace {

struct CTableRow {
    const CNameTable& names;
    size_t count;
    const char* (*lookUp)(unsigned long);
    const char* unknown;  // how the text of a number without a row begins
};

const char* GetPcscName(unsigned long value) {
    return value >> 32 == 0 ? GetWin32ErrorString(static_cast<uint32_t>(value)) : "Unknown: 0x";
}

const char* GetStatusText(unsigned long value) {
    return value >> 16 == 0 ? GetSwString(static_cast<unsigned short>(value)) : "";
}

const char* GetSentence(unsigned long code) {
    static std::string text;
    text = GetCkErrorText(code).GetText();
    return text.c_str();
}

const std::map<std::string, CTableRow> kTables{
    {"CKR", {kErrorNames, 95 + 24, GetCkErrorString, "Unknown: 0x"}},
    {"CKU", {kUserTypeNames, 3 + 5, GetCkUserTypeString, "Unknown: 0x"}},
    {"CKA", {kAttributeTypeNames, 106 + 16, GetCkAttributeTypeString, "Unknown"}},
    {"CKO", {kObjectClassNames, 7 + 1, GetCkObjectClassString, "Unknown"}},
    {"CKK", {kKeyTypeNames, 6 + 16, GetCkKeyTypeString, "Unknown"}},
    {"CKC", {kCertificateTypeNames, 2, GetCkCertificateTypeString, "Unknown"}},
    {"CKM", {kMechanismTypeNames, 188, GetCkMechanismTypeString, "unknown (0x"}},
    {"key use", {kKeySpecNames, 2, GetCxKeySpecString, "Unknown"}},
    {"CKD", {kKdfNames, 2, GetKdfString, "unknown"}},
    {"CKF mechanism", {kMechanismInfoFlagNames, 20, GetCkMechanismInfoFlagString, "Unknown"}},
    {"CKF token", {kTokenInfoFlagNames, 19, GetCkTokenInfoFlagString, "Unknown"}},
    {"CKF session", {kSessionInfoFlagNames, 2, GetCkSessionInfoFlagString, "Unknown"}},
    {"CXC", {kCardContainerNames, 7, GetINCardContainer, "Unknown"}},
    {"SCARD", {kPcscErrorNames, 51 + 5, GetPcscName, "Unknown: 0x"}},
    {"status words", {kStatusWordTexts, 8, GetStatusText, ""}},
};

}  // namespace

TEST(NameTables, EveryRowAnswersForItsNumberAndNoOther) {
    for (const auto& [name, table] : kTables) {
        SCOPED_TRACE(name);
        std::map<unsigned long, const char*> rows;
        for (const CNameRow& row : table.names) {
            rows.emplace(row.value, row.text);
        }
        EXPECT_EQ(rows.size(), table.count);
        for (const auto& [value, text] : rows) {
            EXPECT_STREQ(table.lookUp(value), text);
            for (const unsigned long other : {value - 1, value + 1, value | 1UL << 32, ~value}) {
                if (rows.count(other) == 0 && other != 0) {
                    EXPECT_THAT(table.lookUp(other), testing::StartsWith(table.unknown)) << other;
                    EXPECT_EQ(table.names.Find(other), nullptr) << other;
                }
            }
        }
    }
}

TEST(NameTables, NumbersHaveTheirTexts) {
    FOR_EACH_STANZA(stanza, ReadStanzas("trace/names.txt")) {
        const std::string table = stanza.Text("table_text");
        const auto lookUp = table == "sentences" ? GetSentence : kTables.at(table).lookUp;
        EXPECT_EQ(lookUp(std::stoul(stanza.Text("number_text"), nullptr, 16)),
                  stanza.Text("text_text"));
    }
}

TEST(NameTables, EveryReturnCodeHasASentenceOfItsOwn) {
    std::set<std::string> sentences;
    for (const CNameRow& row : kErrorNames) {
        const std::string text = GetSentence(row.value);
        EXPECT_TRUE(text.rfind("Code ", 0) != 0 && sentences.insert(text).second) << text;
    }
}

TEST(NameTables, MechanismsAreFoundByTheirWholeName) {
    const CK_MECHANISM_TYPE notFound = static_cast<CK_MECHANISM_TYPE>(-1);
    std::set<std::string> others{"", "CKM_", "CKM_\xC3\xA9\xFF", std::string(100000, 'C')};
    for (const CNameRow& row : kMechanismTypeNames) {
        const std::string name = row.text;
        EXPECT_EQ(GetCkMechanismTypeFromString(row.text), row.value) << name;
        others.insert({name + "_", name.substr(1), name.substr(0, name.size() - 1) + "\xB0"});
    }
    for (const std::string& name : others) {
        EXPECT_EQ(GetCkMechanismTypeFromString(name.c_str()), notFound) << name;
    }
    EXPECT_EQ(GetCkMechanismTypeFromString(nullptr), notFound);
}

TEST(NameTables, PublishedNamesHaveTheirPublishedNumbers) {
    std::map<std::string, unsigned long> ours;
    for (const auto& [group, table] : kTables) {
        for (const CNameRow& row : table.names) {
            ours.emplace(row.text, row.value);
        }
    }
    size_t found = 0;
    for (const char* file : {"pkcs11_names.txt", "pcsc_codes.txt"}) {
        std::ifstream input(std::string(QORVS_SHARED_VECTORS "/") + file);
        for (std::string name, sign, value; input >> name;) {
            if (ours.count(name) != 0 && input >> sign && sign == "=" && input >> value) {
                EXPECT_EQ(ours[name], std::stoul(value, nullptr, 16)) << name;
                ++found;
            }
        }
    }
    if (found == 0) {
        GTEST_SKIP() << "the public test vectors are not on this machine";
    }
    EXPECT_EQ(found, 340U);
}

TEST(NamesConcurrency, NextUnknownCodeOverwritesOnlyTheTextsOfItsThread) {
    const auto ask = [](unsigned code) {
        return std::array{GetCkErrorString(code), GetCkUserTypeString(code),
                          GetCkMechanismTypeString(code), GetWin32ErrorString(code)};
    };
    const auto texts = ask(0x7FFF0001);
    EXPECT_EQ(ask(0x7FFF0002), texts);
    std::thread([&ask] { ask(0x7FFF0003); }).join();
    EXPECT_THAT(texts, testing::Each(testing::HasSubstr("0x7FFF0002")));
    EXPECT_EQ(std::set<const char*>(texts.begin(), texts.end()).size(), texts.size());
}
