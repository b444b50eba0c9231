#include "trace/name_table.h"
#include <qorvs/ck_names.h>

#include <gmock/gmock.h>

#include <cctype>
#include <fstream>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace {

using CLookUp = const char* (*)(unsigned long);

struct CTableRow {
    const char* name;
    const CNameTable& table;
    size_t count;
    CLookUp lookUp;
    const char* unknown;  // how the text of a number without a row begins
};

const char* GetPcscName(unsigned long value) {
    return value >> 32 == 0 ? GetWin32ErrorString(static_cast<uint32_t>(value)) : "Unknown: 0x";
}

const char* GetStatusText(unsigned long value) {
    return value >> 16 == 0 ? GetSwString(static_cast<unsigned short>(value)) : "";
}

const CTableRow kTables[] = {
    {"CKR", kErrorNames, 95 + 24, GetCkErrorString, "Unknown: 0x"},
    {"CKU", kUserTypeNames, 3 + 5, GetCkUserTypeString, "Unknown: 0x"},
    {"CKA", kAttributeTypeNames, 106 + 16, GetCkAttributeTypeString, "Unknown"},
    {"CKO", kObjectClassNames, 7 + 1, GetCkObjectClassString, "Unknown"},
    {"CKK", kKeyTypeNames, 6 + 16, GetCkKeyTypeString, "Unknown"},
    {"CKC", kCertificateTypeNames, 2, GetCkCertificateTypeString, "Unknown"},
    {"CKM", kMechanismTypeNames, 188, GetCkMechanismTypeString, "unknown (0x"},
    {"key spec", kKeySpecNames, 2, GetCxKeySpecString, "Unknown"},
    {"CKD", kKdfNames, 2, GetKdfString, "unknown"},
    {"CKF mechanism", kMechanismInfoFlagNames, 20, GetCkMechanismInfoFlagString, "Unknown"},
    {"CKF token", kTokenInfoFlagNames, 19, GetCkTokenInfoFlagString, "Unknown"},
    {"CKF session", kSessionInfoFlagNames, 2, GetCkSessionInfoFlagString, "Unknown"},
    {"CXC", kCardContainerNames, 7, GetINCardContainer, "Unknown"},
    {"SCARD", kPcscErrorNames, 51 + 5, GetPcscName, "Unknown: 0x"},
    {"status words", kStatusWordTexts, 8, GetStatusText, ""},
};

const CTableRow& FindTable(const std::string& name) {
    for (const CTableRow& row : kTables) {
        if (name == row.name) {
            return row;
        }
    }
    throw std::out_of_range(name);
}

struct CVector {
    std::string group;
    std::string name;
    unsigned long value;
};

// Lines "NAME = 0x12" under "[group]".
std::vector<CVector> ReadVectors(const std::string& file) {
    std::ifstream input(std::string(QORVS_SHARED_VECTORS) + "/" + file);
    std::vector<CVector> vectors;
    std::string group;
    for (std::string line; std::getline(input, line);) {
        const size_t equals = line.find(" = ");
        if (!line.empty() && line[0] == '[') {
            group = line.substr(1, line.find(']') - 1);
        } else if (!line.empty() && line[0] != '#' && equals != std::string::npos) {
            const unsigned long value = std::stoul(line.substr(equals + 3), nullptr, 16);
            vectors.push_back({group, line.substr(0, equals), value});
        }
    }
    return vectors;
}

}  // namespace

TEST(NameTables, EveryRowAnswersForItsNumberAndNoOther) {
    for (const CTableRow& row : kTables) {
        SCOPED_TRACE(row.name);
        std::set<unsigned long> values;
        std::set<std::string> texts;
        for (const CNameRow& entry : row.table) {
            EXPECT_STREQ(row.lookUp(entry.value), entry.text);
            EXPECT_STREQ(row.table.Find(entry.value), entry.text);
            values.insert(entry.value);
            texts.insert(entry.text);
        }
        EXPECT_EQ(values.size(), row.count);
        EXPECT_EQ(texts.size(), row.count) << "a name stands twice";
        for (const unsigned long value : values) {
            for (const unsigned long other : {value - 1, value + 1, value | 1UL << 32, ~value}) {
                if (values.count(other) == 0 && other != 0) {
                    EXPECT_EQ(std::string(row.lookUp(other)).find(row.unknown), 0U) << other;
                    EXPECT_EQ(row.table.Find(other), nullptr) << other;
                }
            }
        }
    }
}

TEST(NameTables, MechanismsAreFoundByTheirWholeName) {
    const CK_MECHANISM_TYPE notFound = static_cast<CK_MECHANISM_TYPE>(-1);
    for (const CNameRow& row : kMechanismTypeNames) {
        std::string name = row.text;
        EXPECT_EQ(GetCkMechanismTypeFromString(name.c_str()), row.value) << name;
        EXPECT_EQ(GetCkMechanismTypeFromString((name + "_").c_str()), notFound) << name;
        EXPECT_EQ(GetCkMechanismTypeFromString(name.substr(1).c_str()), notFound) << name;
        name.back() = static_cast<char>(name.back() ^ 0x40);
        EXPECT_EQ(GetCkMechanismTypeFromString(name.c_str()), notFound) << name;
    }
    for (const char* name : {"", "C", "CKM_", "ckm_rsa_pkcs", "CKM_rsa_PKCS", " CKM_RSA_PKCS",
                             "CKM_VENDOR_DEFINED", "CKA_CLASS", "CKM_\xC3\xA9\xFF\xFF\xFF\xFF"}) {
        EXPECT_EQ(GetCkMechanismTypeFromString(name), notFound) << name;
    }
    EXPECT_EQ(GetCkMechanismTypeFromString(nullptr), notFound);
    EXPECT_EQ(GetCkMechanismTypeFromString(std::string(100000, 'C').c_str()), notFound);
}

// The standard has these names, too, but they lie outside of what the tables hold.
static bool IsBeyondTable(const CVector& vector) {
    return vector.name == "CKR_VENDOR_DEFINED" || vector.name == "CKM_VENDOR_DEFINED" ||
           vector.name == "CKC_VENDOR_DEFINED" ||
           (vector.group.substr(0, 3) == "CKK" && vector.value > CKK_AES) ||
           (vector.group.substr(0, 3) == "CKO" && vector.value > CKO_DOMAIN_PARAMETERS) ||
           (vector.group == "CKD" && vector.value > CKD_SHA1_KDF);
}

TEST(NameTables, StandardNamesHaveTheStandardsNumbers) {
    const std::map<std::string, const char*> kTableOfGroup = {
        {"CKR", "CKR"},
        {"CKR amendments to 2.20", "CKR"},
        {"CKU", "CKU"},
        {"CKO", "CKO"},
        {"CKO amendments to 2.20", "CKO"},
        {"CKC", "CKC"},
        {"CKK", "CKK"},
        {"CKK amendments to 2.20", "CKK"},
        {"CKA", "CKA"},
        {"CKA amendments to 2.20", "CKA"},
        {"CKM 2.11 and before", "CKM"},
        {"CKF token", "CKF token"},
        {"CKF session", "CKF session"},
        {"CKF mechanism", "CKF mechanism"},
        {"CKD", "CKD"},
    };
    const std::set<std::string> kOlderNames = {"CKK_ECDSA",
                                               "CKK_CAST5",
                                               "CKA_SUB_PRIME_BITS",
                                               "CKA_ECDSA_PARAMS",
                                               "CKM_CAST5_KEY_GEN",
                                               "CKM_CAST5_ECB",
                                               "CKM_CAST5_MAC",
                                               "CKM_CAST5_MAC_GENERAL",
                                               "CKM_PBE_MD5_CAST5_CBC",
                                               "CKM_ECDSA_KEY_PAIR_GEN"};
    const std::vector<CVector> vectors = ReadVectors("pkcs11_names.txt");
    if (vectors.empty()) {
        GTEST_SKIP() << "no pkcs11_names.txt in " << QORVS_SHARED_VECTORS;
    }
    for (const CVector& vector : vectors) {
        const auto table = kTableOfGroup.find(vector.group);
        if (table == kTableOfGroup.end()) {
            continue;
        }
        const char* name = FindTable(table->second).table.Find(vector.value);
        if (IsBeyondTable(vector)) {
            EXPECT_EQ(name, nullptr) << vector.name;
        } else if (kOlderNames.count(vector.name) != 0) {
            ASSERT_NE(name, nullptr) << vector.name;
            EXPECT_NE(name, vector.name);
        } else {
            EXPECT_STREQ(name, vector.name.c_str());
        }
    }
    for (const CVector& vector : vectors) {
        const CK_MECHANISM_TYPE found = GetCkMechanismTypeFromString(vector.name.c_str());
        EXPECT_TRUE(found == vector.value || found == static_cast<CK_MECHANISM_TYPE>(-1))
            << vector.name;
    }
}

TEST(NameTables, PcscCodesAreThoseOfWindows) {
    const std::vector<CVector> vectors = ReadVectors("pcsc_codes.txt");
    if (vectors.empty()) {
        GTEST_SKIP() << "no pcsc_codes.txt in " << QORVS_SHARED_VECTORS;
    }
    for (const CVector& vector : vectors) {
        const char* name = kPcscErrorNames.Find(vector.value);
        EXPECT_STREQ(name, vector.value <= 0x80100069 ? vector.name.c_str() : nullptr);
    }
}

TEST(NameTables, NumbersWithoutNameAreWrittenOut) {
    const struct {
        const char* text;
        const char* expected;
    } kRows[] = {
        {GetCkErrorString(0x80000063), "Unknown: 0x80000063"},
        {GetCkUserTypeString(0xFFFFFFFF00000001), "Unknown: 0x00000001"},
        {GetCkMechanismTypeString(0x80000000), "unknown (0x80000000)"},
        {GetWin32ErrorString(0x80100018), "Unknown: 0x80100018"},
        {GetWin32ErrorString(0), "NO_ERROR"},
        {GetKdfString(3), "unknown"},
        {GetCxKeySpecString(3), "Unknown"},
        {GetCkSessionInfoFlagString(1), "Unknown"},
        {GetCkMechanismInfoFlagString(CKF_SIGN | CKF_VERIFY), "Unknown"},
    };
    for (const auto& row : kRows) {
        EXPECT_STREQ(row.text, row.expected);
    }
    // Kept: of a code beyond 32 bits only the low ones are printed, though all of them are
    // compared.
    EXPECT_STREQ(GetCkErrorString(0x100000000), "Unknown: 0x00000000");
    EXPECT_STREQ(GetCkMechanismTypeString(~0UL), "unknown (0xFFFFFFFFFFFFFFFF)");
    EXPECT_STREQ(GetWin32ErrorString(0x8010006A), "Unknown: 0x8010006A");
}

TEST(NameTables, NextUnknownCodeOverwritesTheTextOfItsFunction) {
    const char* first = GetCkErrorString(0x3FF);
    const char* userType = GetCkUserTypeString(0x3FE);
    const char* mechanism = GetCkMechanismTypeString(0x3FFF);
    EXPECT_EQ(GetCkErrorString(0x2FF), first);
    EXPECT_STREQ(first, "Unknown: 0x000002FF");
    EXPECT_STREQ(userType, "Unknown: 0x000003FE");
    EXPECT_STREQ(mechanism, "unknown (0x00003FFF)");
}

TEST(StatusWords, TheLastNibbleCountsTries) {
    for (unsigned tries = 0; tries < 16; ++tries) {
        const auto statusWord = static_cast<unsigned short>(0x63C0 + tries);
        EXPECT_EQ(GetSwString(statusWord), std::to_string(tries) + " remaining tries");
    }
    EXPECT_EQ(GetSwString(0x63C3), GetSwString(0x63C3));
    for (const unsigned short other : {0x0000, 0x63BF, 0x63D0, 0x73C3, 0x9000, 0xFFFF}) {
        EXPECT_STREQ(GetSwString(other), "") << other;
    }
}

TEST(NamesConcurrency, EachThreadHasItsOwnUnknownTexts) {
    std::vector<std::thread> threads;
    for (unsigned long id = 0; id < 8; ++id) {
        threads.emplace_back([id] {
            for (unsigned long i = 0; i < 1000; ++i) {
                const unsigned long code = 0x70000000 + 0x10000 * id + i;
                char expected[32];
                snprintf(expected, sizeof(expected), "Unknown: 0x%08lX", code);
                ASSERT_STREQ(GetCkErrorString(code), expected);
                ASSERT_STREQ(GetWin32ErrorString(static_cast<uint32_t>(code)), expected);
                ASSERT_STREQ(GetSwString(0x63C9), "9 remaining tries");
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}
