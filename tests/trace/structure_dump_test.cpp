#include "trace/structure_dump.h"

#include "support/stanza_file.h"

#include <gmock/gmock.h>

#include <cstring>
#include <sstream>
#include <string>
#include <vector>

namespace {

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
    FOR_EACH_STANZA(stanza, ReadStanzas("trace/structures.txt")) {
        const std::string kind = stanza.Text("kind_text");
        std::istringstream words(stanza.Text("numbers_text"));
        CK_ULONG numbers[11] = {};
        for (CK_ULONG& number : numbers) {
            words >> std::hex >> number;
        }
        std::string text;
        if (kind == "mechanism") {
            CByteZone parameter = stanza.Has("parameter") ? stanza.Bytes("parameter") : CByteZone();
            text = Text<const CK_MECHANISM&>(&CStructureDump::Mechanism,
                                             {numbers[0], parameter.GetData(), numbers[1]});
        } else if (kind == "mechanism info") {
            text = Text<const CK_MECHANISM_INFO&>(&CStructureDump::MechanismInfo,
                                                  {numbers[0], numbers[1], numbers[2]});
        } else if (kind == "session info") {
            text = Text<const CK_SESSION_INFO&>(&CStructureDump::SessionInfo,
                                                {numbers[0], numbers[1], numbers[2], numbers[3]});
        } else {
            CK_TOKEN_INFO token{};
            stanza.Text("texts_text").copy(reinterpret_cast<char*>(&token), 96);
            std::memcpy(&token.flags, numbers, sizeof(numbers));
            std::memcpy(&token.hardwareVersion, stanza.Bytes("versions").GetData(), 4);
            text = Text<const CK_TOKEN_INFO&>(&CStructureDump::TokenInfo, token);
        }
        EXPECT_EQ(text, stanza.Text("text_text"));
    }
}
