#include "support/stanza_file.h"
#include "trace/ck_error_text.h"
#include "trace/name_table.h"
#include <qorvs/ck_names.h>

#include <gmock/gmock.h>

#include <fstream>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <vector>

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
    size_t same = 0;
    std::string others;
    for (const char* file : {"pkcs11_names.txt", "pcsc_codes.txt"}) {
        std::ifstream input(std::string(QORVS_SHARED_VECTORS "/") + file);
        std::string group = "SCARD";
        for (std::string line; std::getline(input, line);) {
            char name[64];
            unsigned long value = 0;
            if (line[0] == '[') {
                group = line.substr(1, line.size() - 2);
            } else if (sscanf(line.c_str(), "%63[A-Za-z0-9_] = %lx", name, &value) == 2) {
                const auto table = kTables.find(kTables.count(group) ? group : group.substr(0, 3));
                const char* const ours =
                    table == kTables.end() ? nullptr : table->second.names.Find(value);
                if (ours != nullptr) {
                    std::string(ours) == name ? void(++same)
                                              : void(others += name + std::string(" "));
                }
            }
        }
    }
    if (same == 0) {
        GTEST_SKIP() << "the public test vectors are not on this machine";
    }
    // Of the numbers with two names the tables have the newer one.
    EXPECT_EQ(others,
              "CKK_ECDSA CKK_CAST5 CKA_SUB_PRIME_BITS CKA_ECDSA_PARAMS CKM_CAST5_KEY_GEN "
              "CKM_CAST5_ECB CKM_CAST5_MAC CKM_CAST5_MAC_GENERAL CKM_PBE_MD5_CAST5_CBC "
              "CKM_ECDSA_KEY_PAIR_GEN ");
    EXPECT_EQ(same, 340U);
}

TEST(NamesConcurrency, NextUnknownCodeOverwritesOnlyTheTextOfItsFunctionAndThread) {
    const char* const first = GetCkErrorString(0x3FF);
    const char* const userType = GetCkUserTypeString(0x3FE);
    EXPECT_EQ(GetCkErrorString(0x2FF), first);
    std::vector<std::thread> threads;
    for (unsigned long id = 0; id < 8; ++id) {
        threads.emplace_back([id] {
            for (unsigned long code = 0x70000000 + 0x10000 * id, i = 0; i < 1000; ++i, ++code) {
                ASSERT_EQ(std::stoul(GetCkErrorString(code) + 9, nullptr, 16), code);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_STREQ(first, "Unknown: 0x000002FF");
    EXPECT_STREQ(userType, "Unknown: 0x000003FE");
}
