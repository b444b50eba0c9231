#include "trace/structure_dump.h"

#include "support/stanza_file.h"

#include <gmock/gmock.h>

#include <cstring>
#include <sstream>
#include <string>
#include <vector>

namespace {

constexpr CK_ULONG kUnavailable = static_cast<CK_ULONG>(-1);

/** What a dump writes, with "> " in place of the prefix of its first line. */
template <class Structure, class... Rest>
std::string Text(void (CStructureDump::*dump)(Structure, Rest...) noexcept, Structure structure,
                 Rest... rest) {
    CLineWriter writer;
    CStructureDump structureDump(writer);
    (structureDump.*dump)(structure, rest...);
    writer.Append('\0');
    std::string text = writer.GetText();
    const std::string prefix = text.substr(0, std::strlen("00-00_00:00:00:000000 XXXXXXXX.. "));
    for (size_t at = 0; !prefix.empty() && (at = text.find(prefix, at)) != std::string::npos;) {
        text.replace(at, prefix.size(), "> ");
    }
    return text;
}

}  // namespace

TEST(StructureDump, AttributeValuesFollowTheirType) {
    FOR_EACH_STANZA(stanza, ReadStanzas("trace/attributes.txt")) {
        const CByteZone value = stanza.Has("value") ? stanza.Bytes("value") : CByteZone();
        // At an odd address, with no byte behind it.
        std::vector<char> block(value.GetSize() + 1);
        std::copy(value.begin(), value.end(), block.begin() + 1);
        void* const data = stanza.Has("value") ? block.data() + 1 : nullptr;
        const CK_ULONG length = stanza.Has("length_int")
                                    ? static_cast<CK_ULONG>(stanza.Int("length_int"))
                                    : value.GetSize();
        const bool hidden = stanza.Has("hidden_int") && stanza.Int("hidden_int") != 0;
        std::istringstream types(stanza.Text("types_text"));
        for (CK_ATTRIBUTE_TYPE type; types >> std::hex >> type;) {
            const CK_ATTRIBUTE attribute{type, data, length};
            EXPECT_THAT(Text<const CK_ATTRIBUTE*>(&CStructureDump::Template, &attribute,
                                                  CK_ULONG{1}, bool{hidden}),
                        testing::EndsWith(stanza.Text("line_text") + "\n"));
        }
    }
}

TEST(StructureDump, MechanismWithItsParameter) {
    unsigned char bytes[] = {0x00, 0xAB, 0x1F};
    const auto text = [](CK_MECHANISM_TYPE type, void* parameter, CK_ULONG length) {
        return Text<const CK_MECHANISM&>(&CStructureDump::Mechanism, {type, parameter, length});
    };
    EXPECT_EQ(text(CKM_AES_CBC, bytes, 3), "> \tCKM_AES_CBC\n> \tParameter: 00AB1F\n");
    for (const CK_ULONG length : {CK_ULONG{0}, kUnavailable}) {
        EXPECT_EQ(text(CKM_AES_CBC, bytes, length), "> \tCKM_AES_CBC\n");
    }
    EXPECT_EQ(text(0x7FFF0001, nullptr, 3), "> \tunknown (0x7FFF0001)\n");
}

TEST(StructureDump, MechanismInfoAndFlagLists) {
    const std::pair<CK_FLAGS, std::string> kRows[] = {
        {0, "none"},
        {CKF_HW | CKF_SIGN | CKF_VERIFY, "CKF_HW CKF_SIGN CKF_VERIFY "},
        {CKF_HW | 2 | 0x80000000, "CKF_HW 0x00000002 CKF_EXTENSION "},
        // Kept: only 32 bits are looked at, but a value that is not zero is not "none".
        {0x100000000, ""},
    };
    for (const auto& [flags, list] : kRows) {
        EXPECT_EQ(Text<const CK_MECHANISM_INFO&>(&CStructureDump::MechanismInfo,
                                                 {1024, kUnavailable, flags}),
                  "> \tMin key size: 1024\n> \tMax key size: -1\n> \tFlags:        " + list + "\n");
    }
}

TEST(StructureDump, TokenInfo) {
    CK_TOKEN_INFO info{
        {},      {},           {},   {},   CKF_RNG | CKF_TOKEN_INITIALIZED | 0x80000000,
        7777,    7777,         7777, 7777, 255,
        4,       kUnavailable, 1,    2,    3,
        {2, 40}, {255, 0},     {}};
    std::memset(info.label, ' ', sizeof(info.label));
    std::memcpy(info.label, "my \"100%\" token", 15);
    std::memset(info.manufacturerID, 'm', sizeof(info.manufacturerID));
    std::memcpy(info.serialNumber, "12\0004", 4);
    EXPECT_EQ(Text<const CK_TOKEN_INFO&>(&CStructureDump::TokenInfo, info),
              "> \tLabel:                \"my \"100%\" token                 \"\n"
              "> \tManufacturer:         \"mmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmm\"\n"
              "> \tModel:                \"\"\n"
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
    EXPECT_EQ(Text<const CK_SESSION_INFO&>(
                  &CStructureDump::SessionInfo,
                  {5, CKS_RW_USER_FUNCTIONS, CKF_RW_SESSION | CKF_SERIAL_SESSION | 1, 0x30}),
              "> \tSlot ID:                5\n"
              "> \tState:                  3\n"
              "> \tDevice Error:           48\n"
              "> \tFlags:                  0x00000001 CKF_RW_SESSION CKF_SERIAL_SESSION \n");
}
