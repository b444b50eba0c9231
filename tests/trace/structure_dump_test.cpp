#include "trace/structure_dump.h"

#include "support/stanza_file.h"

#include <gmock/gmock.h>

#include <cstring>
#include <map>
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

TEST(StructureDump, TextsAreExact) {
    unsigned char bytes[] = {0x00, 0xAB, 0x1F};
    const auto mechanism = [&](CK_MECHANISM_TYPE type, CK_ULONG length) {
        return Text<const CK_MECHANISM&>(&CStructureDump::Mechanism, {type, bytes, length});
    };
    const auto flags = [](CK_FLAGS list) {
        return Text<const CK_MECHANISM_INFO&>(&CStructureDump::MechanismInfo,
                                              {1024, kUnavailable, list});
    };
    CK_TOKEN_INFO token{
        {},      {},           {},   {},   CKF_RNG | CKF_TOKEN_INITIALIZED | 0x80000000,
        7777,    7777,         7777, 7777, 255,
        4,       kUnavailable, 1,    2,    3,
        {2, 40}, {255, 0},     {}};
    std::memset(token.label, ' ', sizeof(token.label));
    std::memcpy(token.label, "my \"100%\" token", 15);
    std::memset(token.manufacturerID, 'm', sizeof(token.manufacturerID));
    std::memcpy(token.serialNumber, "12\0004", 4);
    const CK_SESSION_INFO session{5, CKS_RW_USER_FUNCTIONS, CKF_RW_SESSION | CKF_SERIAL_SESSION | 1,
                                  0x30};
    const std::map<std::string, std::string> dumps{
        {"mechanism", mechanism(CKM_AES_CBC, 3)},
        {"empty parameter", mechanism(CKM_AES_CBC, 0)},
        {"no parameter", mechanism(0x7FFF0001, kUnavailable)},
        {"no flags", flags(0)},
        {"flags", flags(CKF_HW | CKF_SIGN | CKF_VERIFY)},
        {"unknown flags", flags(CKF_HW | 2 | 0x80000000)},
        {"flags beyond 32 bits", flags(0x100000000)},
        {"token", Text<const CK_TOKEN_INFO&>(&CStructureDump::TokenInfo, token)},
        {"session", Text<const CK_SESSION_INFO&>(&CStructureDump::SessionInfo, session)},
    };
    FOR_EACH_STANZA(stanza, ReadStanzas("trace/structures.txt")) {
        EXPECT_EQ(dumps.at(stanza.Text("dump_text")), stanza.Text("text_text"));
    }
}
