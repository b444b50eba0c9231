#include "trace/structure_dump.h"

#include "qorvs/ck_extensions.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr size_t kPrefixLength = sizeof("00-00_00:00:00:000000 XXXXXXXX.. ") - 1;
constexpr CK_ULONG kUnavailable = static_cast<CK_ULONG>(-1);

/** What a dump writes, with "> " in place of the prefix of its first line. */
template <class Dump>
std::string Text(Dump dump) {
    CLineWriter writer;
    CStructureDump structure(writer);
    dump(structure);
    writer.Append('\0');
    std::string text = writer.GetText();
    const std::string prefix = text.substr(0, kPrefixLength);
    for (size_t at = 0; !prefix.empty() && (at = text.find(prefix, at)) != std::string::npos;) {
        text.replace(at, prefix.size(), "> ");
    }
    return text;
}

std::string TemplateText(const std::vector<CK_ATTRIBUTE>& attributes, bool hideValues = false) {
    return Text([&](CStructureDump& dump) {
        dump.Template(attributes.data(), attributes.size(), hideValues);
    });
}

/** The bytes of a number, and of a text with zero bytes in it. */
std::string N(CK_ULONG number) {
    return std::string(reinterpret_cast<const char*>(&number), sizeof(number));
}
template <size_t Size>
std::string B(const char (&bytes)[Size]) {
    return std::string(bytes, Size - 1);
}

/** A copy with no byte behind it, at an odd address. */
class COddValue {
public:
    explicit COddValue(const std::string& bytes) : block(new char[bytes.size() + 1]) {
        std::memcpy(block.get() + 1, bytes.data(), bytes.size());
    }
    void* Get() const { return block.get() + 1; }

private:
    std::unique_ptr<char[]> block;
};

struct CAttributeRow {
    CK_ATTRIBUTE_TYPE type;
    std::string value;
    const char* text;
};

void Fill(CK_UTF8CHAR* field, size_t size, const char* text) {
    std::memset(field, ' ', size);
    std::memcpy(field, text, std::strlen(text));
}

}  // namespace

TEST(StructureDump, AttributeValuesFollowTheirType) {
    static const CAttributeRow kRows[] = {
        {CKA_CLASS, N(CKO_PRIVATE_KEY), "CKA_CLASS\tLen=8\tCKO_PRIVATE_KEY"},
        {CKA_CLASS, N(CXO_CONTAINER), "CKA_CLASS\tLen=8\tCXO_CONTAINER"},
        {CKA_CLASS, N(0x123456789A), "CKA_CLASS\tLen=8\t0x000000123456789A"},
        {CKA_CLASS, N(3).substr(0, 4), "CKA_CLASS\tLen=4\t03000000"},
        {CKA_CLASS, "", "CKA_CLASS\tLen=0\t(empty)"},
        {CKA_CERTIFICATE_TYPE, N(CKC_X_509), "CKA_CERTIFICATE_TYPE\tLen=8\tCKC_X_509"},
        {CKA_CERTIFICATE_TYPE, N(77), "CKA_CERTIFICATE_TYPE\tLen=8\t0x000000000000004D"},
        {CKA_KEY_TYPE, N(CKK_EC), "CKA_KEY_TYPE\tLen=8\tCKK_EC"},
        {CKA_KEY_TYPE, N(6), "CKA_KEY_TYPE\tLen=8\t0x0000000000000006"},
        {CKA_KEY_GEN_MECHANISM, N(CKM_RSA_PKCS_KEY_PAIR_GEN),
         "CKA_KEY_GEN_MECHANISM\tLen=8\tCKM_RSA_PKCS_KEY_PAIR_GEN"},
        {CKA_KEY_GEN_MECHANISM, N(0x7FFF0001),
         "CKA_KEY_GEN_MECHANISM\tLen=8\tunknown (0x7FFF0001)"},
        {CXA_CONTAINER_KEYSPEC, N(1), "CXA_CONTAINER_KEYSPEC\tLen=8\tCXKEYSPEC_KEYEXCHANGE"},
        {CXA_CONTAINER_KEYSPEC, N(9), "CXA_CONTAINER_KEYSPEC\tLen=8\t0x0000000000000009"},
        {CXA_CARD_CONTAINER, N(CXC_SIGN), "CXA_CARD_CONTAINER\tLen=8\tCXC_SIGN (0x80000002)"},
        {CXA_CARD_CONTAINER, N(7), "CXA_CARD_CONTAINER\tLen=8\t0x0000000000000007 (0x00000007)"},

        {CKA_TOKEN, B("\x01"), "CKA_TOKEN\tLen=1\tTRUE (1)"},
        {CKA_PRIVATE, B("\0"), "CKA_PRIVATE\tLen=1\tFALSE (0)"},
        {CKA_HAS_RESET, "\xFF", "CKA_HAS_RESET\tLen=1\tTRUE (255)"},
        {CKA_SENSITIVE, B("\0\0\0\1"), "CKA_SENSITIVE\tLen=4\t00000001"},
        {CKA_DERIVE, "", "CKA_DERIVE\tLen=0\t(empty)"},

        {CKA_MODULUS_BITS, N(2048), "CKA_MODULUS_BITS\tLen=8\t2048 (0x00000800)"},
        {CKA_VALUE_LEN, N(kUnavailable), "CKA_VALUE_LEN\tLen=8\t-1 (0xFFFFFFFF)"},
        {CXA_VSLOT, N(0x100000002), "CXA_VSLOT\tLen=8\t2 (0x00000002)"},
        {CXA_ACTIVATE_CONTAINER_COUNT, "\x02", "CXA_ACTIVATE_CONTAINER_COUNT\tLen=1\t02"},

        {CKA_START_DATE, "20261121", "CKA_START_DATE\tLen=8\t20261121"},
        {CKA_END_DATE, B("2026\0\0\0\0"), "CKA_END_DATE\tLen=8\t2026"},
        {CKA_END_DATE, "", "CKA_END_DATE\tLen=0\t(empty)"},

        {CKA_LABEL, "100% \"sure\"\n", "CKA_LABEL\tLen=12\t\"100% \"sure\"\n\""},
        {CKA_LABEL, "", "CKA_LABEL\tLen=0\t\"\""},
        {CKA_APPLICATION, B("ab\0cd"), "CKA_APPLICATION\tLen=5\t\"ab\""},
        {CXA_CONTAINER_NAME, "\xFF", "CXA_CONTAINER_NAME\tLen=1\t\"\xFF\""},

        {CKA_VALUE, std::string(32, 'k'), "CKA_VALUE\tLen=32\t<undisclosed, length is 32>"},
        {CKA_VALUE, "", "CKA_VALUE\tLen=0\t<undisclosed, length is 0>"},

        {CKA_ID, B("\0\x9F\xA0\x0F"), "CKA_ID\tLen=4\t009FA00F"},
        {CKA_PUBLIC_EXPONENT, "", "CKA_PUBLIC_EXPONENT\tLen=0\t(empty)"},
        {0x1234, "%s", "0x0000000000001234\tLen=2\t2573"},
        {0x100000000, "a", "0x0000000100000000\tLen=1\t61"},
        {kUnavailable, "a", "0xFFFFFFFFFFFFFFFF\tLen=1\t61"},
    };
    for (const CAttributeRow& row : kRows) {
        const COddValue value(row.value);
        EXPECT_EQ(TemplateText({{row.type, value.Get(), row.value.size()}}),
                  std::string("> \t") + row.text + "\n");
    }
}

TEST(StructureDump, AttributesOfOneKind) {
    static const struct {
        std::vector<CK_ATTRIBUTE_TYPE> types;
        std::string value;
        const char* text;
    } kRows[] = {
        {{CKA_TOKEN,
          CKA_PRIVATE,
          CKA_TRUSTED,
          CKA_SENSITIVE,
          CKA_ENCRYPT,
          CKA_DECRYPT,
          CKA_WRAP,
          CKA_UNWRAP,
          CKA_SIGN,
          CKA_SIGN_RECOVER,
          CKA_VERIFY,
          CKA_VERIFY_RECOVER,
          CKA_DERIVE,
          CKA_EXTRACTABLE,
          CKA_LOCAL,
          CKA_NEVER_EXTRACTABLE,
          CKA_ALWAYS_SENSITIVE,
          CKA_MODIFIABLE,
          CKA_SECONDARY_AUTH,
          CKA_RESET_ON_INIT,
          CKA_HAS_RESET},
         "\x01",
         "\tLen=1\tTRUE (1)\n"},
        {{CKA_MODULUS_BITS, CKA_PRIME_BITS, 0x134, CKA_VALUE_BITS, CKA_VALUE_LEN,
          CKA_AUTH_PIN_FLAGS, CXA_VSLOT, CXA_ACTIVATE_CONTAINER_COUNT},
         N(1024),
         "\tLen=8\t1024 (0x00000400)\n"},
        {{CKA_VALUE, CKA_PRIVATE_EXPONENT, CKA_PRIME_1, CKA_PRIME_2, CKA_EXPONENT_1, CKA_EXPONENT_2,
          CKA_COEFFICIENT},
         "key",
         "\tLen=3\t<undisclosed, length is 3>\n"},
    };
    for (const auto& row : kRows) {
        for (const CK_ATTRIBUTE_TYPE type : row.types) {
            const COddValue value(row.value);
            const std::string text = TemplateText({{type, value.Get(), row.value.size()}});
            EXPECT_NE(text.find(row.text), std::string::npos) << text;
        }
    }
}

TEST(StructureDump, MissingAndHiddenValues) {
    char byte = 'a';
    EXPECT_EQ(TemplateText({}), "");
    EXPECT_EQ(TemplateText({{CKA_LABEL, nullptr, 7}, {CKA_VALUE, nullptr, 0}, {CKA_ID, &byte, 1}}),
              "> \tCKA_LABEL\tLen=7\t(data NULL)\n"
              "> \tCKA_VALUE\tLen=0\t(data NULL)\n"
              "> \tCKA_ID\tLen=1\t61\n");
    EXPECT_EQ(
        TemplateText({{CKA_LABEL, nullptr, 7}, {CKA_VALUE, &byte, 1}, {CKA_ID, &byte, 0}}, true),
        "> \tCKA_LABEL\tLen=7\t(data NULL)\n"
        "> \tCKA_VALUE\tLen=1\t(data present)\n"
        "> \tCKA_ID\tLen=0\t(data present)\n");
}

TEST(StructureDump, LengthOfAFailedReadCountsAsEmpty) {
    char byte = 'a';
    EXPECT_EQ(TemplateText({{CKA_CLASS, &byte, kUnavailable},
                            {CKA_TOKEN, &byte, kUnavailable},
                            {CKA_LABEL, &byte, kUnavailable},
                            {CKA_ID, &byte, kUnavailable},
                            {CKA_ID, nullptr, kUnavailable}}),
              "> \tCKA_CLASS\tLen=-1\t(empty)\n"
              "> \tCKA_TOKEN\tLen=-1\t(empty)\n"
              "> \tCKA_LABEL\tLen=-1\t\"\"\n"
              "> \tCKA_ID\tLen=-1\t(empty)\n"
              "> \tCKA_ID\tLen=-1\t(data NULL)\n");
}

TEST(StructureDump, MechanismWithItsParameter) {
    unsigned char parameter[] = {0x00, 0xAB, 0x1F};
    const auto text = [](const CK_MECHANISM& mechanism) {
        return Text([&](CStructureDump& dump) { dump.Mechanism(mechanism); });
    };
    EXPECT_EQ(text({CKM_AES_CBC, parameter, 3}), "> \tCKM_AES_CBC\n> \tParameter: 00AB1F\n");
    EXPECT_EQ(text({CKM_AES_CBC, parameter, 0}), "> \tCKM_AES_CBC\n");
    EXPECT_EQ(text({CKM_AES_CBC, nullptr, 3}), "> \tCKM_AES_CBC\n");
    EXPECT_EQ(text({0x7FFF0001, nullptr, 0}), "> \tunknown (0x7FFF0001)\n");
}

TEST(StructureDump, MechanismInfoAndFlagLists) {
    static const struct {
        CK_FLAGS flags;
        const char* list;
    } kRows[] = {
        {0, "none"},
        {CKF_HW | CKF_SIGN | CKF_VERIFY, "CKF_HW CKF_SIGN CKF_VERIFY "},
        {0x80000000, "CKF_EXTENSION "},
        {CKF_HW | 2, "CKF_HW 0x00000002 "},
        // Kept: only 32 bits are looked at, but a value that is not zero is not "none".
        {0x100000000, ""},
    };
    for (const auto& row : kRows) {
        const CK_MECHANISM_INFO info{1024, kUnavailable, row.flags};
        EXPECT_EQ(Text([&](CStructureDump& dump) { dump.MechanismInfo(info); }),
                  std::string("> \tMin key size: 1024\n> \tMax key size: -1\n> \tFlags:        ") +
                      row.list + "\n");
    }
}

TEST(StructureDump, TokenInfo) {
    CK_TOKEN_INFO info{};
    Fill(info.label, sizeof(info.label), "my \"100%\" token");
    std::memset(info.manufacturerID, 'm', sizeof(info.manufacturerID));
    Fill(info.model, sizeof(info.model), "model");
    std::memcpy(info.serialNumber, "12\0004", 4);
    info.flags = CKF_RNG | CKF_TOKEN_INITIALIZED | 0x80000000;
    info.ulMaxSessionCount = info.ulSessionCount = 7777;
    info.ulMaxPinLen = 255;
    info.ulMinPinLen = 4;
    info.ulTotalPublicMemory = kUnavailable;
    info.ulFreePublicMemory = 1;
    info.ulTotalPrivateMemory = 2;
    info.ulFreePrivateMemory = 3;
    info.hardwareVersion = {2, 40};
    info.firmwareVersion = {255, 0};
    EXPECT_EQ(Text([&](CStructureDump& dump) { dump.TokenInfo(info); }),
              "> \tLabel:                \"my \"100%\" token                 \"\n"
              "> \tManufacturer:         \"mmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmm\"\n"
              "> \tModel:                \"model           \"\n"
              "> \tSerial number:        \"12\"\n"
              "> \tFlags:                CKF_RNG CKF_TOKEN_INITIALIZED 0x80000000 \n"
              "> \tMax PIN length:       255\n"
              "> \tMin PIN length:       4\n"
              "> \tTotal public memory:  -1\n"
              "> \tFree public memory:   1\n"
              "> \tTotal private memory: 2\n"
              "> \tFree private memory:  3\n"
              "> \tHardware version:     2.40\n"
              "> \tFirmware version:     255.0\n");
}

TEST(StructureDump, SessionInfoHasTheDeviceErrorAheadOfTheFlags) {
    const CK_SESSION_INFO info{5, CKS_RW_USER_FUNCTIONS, CKF_RW_SESSION | CKF_SERIAL_SESSION | 1,
                               0x30};
    EXPECT_EQ(Text([&](CStructureDump& dump) { dump.SessionInfo(info); }),
              "> \tSlot ID:                5\n"
              "> \tState:                  3\n"
              "> \tDevice Error:           48\n"
              "> \tFlags:                  0x00000001 CKF_RW_SESSION CKF_SERIAL_SESSION \n");
}
