#include "asn1/tlv.h"

#include "asn1/asn1_errors.h"
#include "asn1/big_number.h"
#include "asn1/object_identifier.h"
#include "asn1/primitives.h"
#include "asn1/return_data.h"
#include "asn1/tlv_data.h"
#include "support/log_capture.h"
#include "support/raised.h"
#include "support/stanza_file.h"
#include "util/hex.h"

#include <fstream>
#include <set>
#include <sstream>
#include <typeinfo>

namespace {

std::string Hex(CByteView bytes) {
    return bytes.IsEmpty() ? "-" : ToHex(bytes.GetData(), bytes.GetSize()).GetText();
}

/** One line of a vector file: the arguments of a call, what it says, and what it leaves. */
struct CCall {
    uint64_t Number(uint64_t fallback = 0) {
        return arguments >> word ? std::stoll(word, nullptr, 16) : fallback;
    }
    CMutableByteView Room() { return room = CByteZone(Number(), 0xEE); }
    size_t& At() { return position = Number(); }
    /** Bytes, "-" for none, in storage of just that size. */
    const CByteZone& Bytes() {
        CStanza stanza("", "");
        arguments >> word;
        stanza.Add("bytes", word == "-" ? "" : word);
        return bytes = stanza.Bytes("bytes");
    }
    CObjectIdentifier Arcs() {
        CObjectIdentifier arcs;
        for (uint64_t arc; (arc = Number(SIZE_MAX)) != SIZE_MAX;) {
            arcs.Append(arc);
        }
        return arcs;
    }
    void SayTag(uint32_t tag) { out << tag << (IsConstructedTag(tag) ? " yes" : " no"); }
    /** Content octets in a zone of their size or, if there is one more argument, of that size. */
    template <class Content>
    void Encode(const typename Content::Value& value) {
        room = CByteZone(Number(Content::GetEncodedDataLength(value)), 0xEE);
        Content::EncodeData(value, room);
    }
    /** Lists all items of a level, each asked for by its own tag. */
    void Walk() {
        const CTlvData data{Bytes()};
        for (position = 0; position < bytes.GetSize() && bytes[position] != 0;) {
            size_t peek = position;
            const uint32_t tag = DecodeTag(bytes, peek);
            const size_t size = data.GetNext(tag, position).GetData().GetSize();
            out << ' ' << tag << std::dec << '@' << position - size << '+' << size << std::hex;
        }
        EXPECT_FALSE(data.GetNext(0, position).IsPresent());
    }

    std::istringstream arguments;
    std::ostringstream out;
    std::string word;
    CByteZone bytes, room;
    size_t position = SIZE_MAX;
};

// clang-format off
#define CALL(name, ...) {#name, [](CCall& c) { __VA_ARGS__; }}

const std::map<std::string, void (*)(CCall&)> kCalls = {
    CALL(MakeTag, const uint64_t first = c.Number(); const uint32_t tag = MakeTag(first, c.Number());
        c.out << GetTagSize(tag) << ' '; c.SayTag(tag); c.out << ' '; c.SayTag(MakeConstructedTag(tag))),
    CALL(EncodeTag, auto to = c.Room(); auto& at = c.At(); EncodeTag(c.Number(), to, at)),
    CALL(EncodeLength, auto to = c.Room(); auto& at = c.At(); EncodeLength(c.Number(), to, at)),
    CALL(DecodeTag, c.position = 0; c.SayTag(DecodeTag(c.Bytes(), c.position))),
    CALL(DecodeLength, c.position = 0; c.out << std::dec << DecodeLength(c.Bytes(), c.position)),
    CALL(CheckTLV, const uint32_t tag = c.Number(); c.out << CheckTLV(tag, c.Bytes())),
    CALL(EncodeTLV, const uint32_t tag = c.Number(); const auto all = EncodeTLV(tag, c.Room());
        c.room.Assign(all.GetData(), all.GetSize() - c.room.GetSize())),
    CALL(Boolean, c.out << CBooleanContent::DecodeData(c.Bytes())),
    CALL(Integer, c.out << std::dec << CIntegerContent::DecodeData(c.Bytes())),
    CALL(BitString, const CBitString value = CBitStringContent::DecodeData(c.Bytes());
        c.out << std::dec << value.bits; c.Encode<CBitStringContent>(value)),
    CALL(OctetString, c.Encode<COctetStringContent>(COctetStringContent::DecodeData(c.Bytes()))),
    CALL(Oid, const auto arcs = CObjectIdentifierContent::DecodeData(c.Bytes());
        c.out << std::dec << arcs[0];
        for (size_t i = 1; i < arcs.GetSize(); ++i) { c.out << '.' << arcs[i]; }
        c.Encode<CObjectIdentifierContent>(arcs); c.out << (c.room == c.bytes ? " yes" : " no")),
    CALL(EncodeBoolean, c.Encode<CBooleanContent>(c.Number())),
    CALL(EncodeInteger, c.Encode<CIntegerContent>(c.Number())),
    CALL(EncodeBits, const uint64_t bits = c.Number(); c.Encode<CBitStringContent>({bits, c.Bytes()})),
    CALL(EncodeOid, c.Encode<CObjectIdentifierContent>(c.Arcs())),
    CALL(EncodeOidInto, auto to = c.Room(); CObjectIdentifierContent::EncodeData(c.Arcs(), to)),
    CALL(FromBigInt, c.Bytes(); c.out << FromBigInt(c.bytes.GetData(), c.bytes.GetSize())),
    CALL(DecodeUnsigned, c.out << DecodeUnsigned(c.Bytes())),
    CALL(BigNumber, CBigNumber number(c.Bytes()); c.out << Hex(number.GetContent()) << ' ';
        number = number.GetUnsigned(); c.out << Hex(number.GetUnsigned()) << ' ' << Hex(number.GetContent())),
    CALL(ReturnData, auto to = c.Room(); auto& offered = c.At(); c.Bytes();
        c.out << ReturnData(to.GetData(), &offered, c.bytes.GetData(), c.bytes.GetSize())),
    CALL(ReturnNoLength, c.out << ReturnData(nullptr, nullptr, nullptr, 0)),
    CALL(AsInteger, const CTlvData data(c.Bytes());
        c.out << std::dec << data.GetNext(0x30).GetNext(c.Number()).AsInteger()),
    CALL(Walk, c.Walk()),
};
// clang-format on

/** What a call says; class, code and words of what it throws; the position; what was written. */
std::string Outcome(const std::string& line) {
    CCall call;
    call.out << std::hex << std::uppercase << std::boolalpha;
    call.arguments.str(line);
    call.arguments >> call.word;
    try {
        kCalls.at(call.word)(call);
    } catch (const CException& failure) {
        call.out << ' ' << typeid(failure).name() + 2 << std::dec << ' ' << failure.GetErrorCode()
                 << (failure.HasMessage() ? " " + WordsOf(failure) : "");
    } catch (const std::bad_alloc& failure) {
        call.out << failure.what();
    }
    call.out << (call.position + 1 > 0 ? " @" + std::to_string(call.position) : "")
             << (call.room.IsEmpty() ? "" : " [" + Hex(call.room) + "]");
    return call.out.str().substr(call.out.str()[0] == ' ');
}

/** Rows of "key = value". */
std::map<std::string, std::string> ReadRows(const std::string& name) {
    std::ifstream file(QORVS_TEST_VECTORS "/asn1/" + name);
    std::map<std::string, std::string> rows;
    for (std::string line; std::getline(file, line);) {
        if (const size_t middle = line.find(" ="); line[0] != '#' && middle != std::string::npos) {
            rows.emplace(line.substr(0, middle), line.substr(middle + 2));
        }
    }
    EXPECT_GT(rows.size(), 10U);
    return rows;
}

/** Runs the cases of a public suite. */
void CheckShared(const std::string& file) {
    auto terms = ReadRows("tlv_shared.txt");
    FOR_EACH_STANZA(stanza, ReadSharedStanzas(file)) {
        stanza.Skip();
        const std::string name = stanza.Name().substr(0, stanza.Name().find_first_of("_ "));
        const std::string call = stanza.Has("items_text") ? "Walk" : terms[name];
        if (!stanza.Has("data") && !stanza.Has("content")) {
            continue;  // values that have no encoding are among our own rows
        }
        const CByteZone bytes = stanza.Bytes(stanza.Has("data") ? "data" : "content");
        terms["end"] = " @" + std::to_string(bytes.GetSize());
        std::string expected;
        for (const std::string key :
             {"items_text", "tag_text", "constructed_text", "length_int", "used_int", "value_int",
              "bits_int", "arcs_text", "canonical_text", "result_text", "stop_text"}) {
            const std::string text = stanza.Has(key) ? stanza.Text(key) : "";
            const bool isPosition = key == "used_int" || text.find("zero at") != std::string::npos;
            const size_t number = text.find_last_not_of("0123456789") + 1;
            expected += text.empty()            ? ""
                        : terms.count(text) > 0 ? terms[text]
                        : isPosition            ? " @" + text.substr(number)
                                                : " " + text;
        }
        const std::string outcome = " " + Outcome(call + " " + Hex(bytes)) + " ";
        EXPECT_EQ(outcome.substr(0, expected.size() + 1), expected + " ");
    }
}

size_t Nothing(CByteView /*zone*/, size_t& /*position*/) { return 0; }
uint32_t Nowhere(CByteView /*zone*/, size_t& /*position*/) { return 7; }
size_t Backwards(CByteView /*zone*/, size_t& position) { return position = 0, SIZE_MAX; }

}  // namespace

TEST(TlvCodec, CallsGiveTheirResults) {
    for (const auto& [call, result] : ReadRows("tlv.txt")) {
        EXPECT_EQ(" " + Outcome(call), result) << call;
    }
}

TEST(TlvCodec, EveryThrowIsTracedWithItsFunction) {
    CLogHome home;
    home.Run("asn1_tests", {"--gtest_filter=TlvCodec.CallsGiveTheirResults"});
    std::set<std::string> places;
    for (const std::string& line : home.Body()) {
        places.insert(line.substr(line.find('('), line.find(", line") - line.find('(')));
    }
    std::string joined;
    for (const std::string& place : places) {
        joined += place;
    }
    EXPECT_EQ(joined,
              "(DecodeData)(DecodeInteger)(DecodeLength)(DecodeOIDInt)(DecodeTag)(EncodeData)"
              "(EncodeLength)(EncodeOIDInt)(EncodeTLV)(EncodeTag)(FromBigInt)(GetData)"
              "(GetEncodedDataLength)(GetNext)(MakeTag)(ReturnData)(rethrow)' in (DecodeData)");
}

TEST(TlvCodec, PublicPiecesAgree) { CheckShared("ber.txt"); }
TEST(TlvCodec, PublicWalksAgree) { CheckShared("tlv_walk.txt"); }

TEST(TlvData, DecodersAreInheritedAndMayMisbehave) {
    const unsigned char bytes[] = {7, 7, 7};
    CTlvData data(CByteView(bytes, 3));
    const CTlvData item = data.SetLengthDecoder(Nothing).GetNext(7);
    EXPECT_EQ(item.GetData(), CByteView());
    EXPECT_RAISED(EASN1TagNotFound, "TLV Tag not found", item.GetNext(7).GetNext(7).GetData());
    EXPECT_RAISED(EASN1InvalidData, "TLV data truncated", data.SetTagDecoder(Nowhere).GetNext(7));
    EXPECT_RAISED(EASN1InvalidData, "TLV data truncated",
                  CTlvData(CByteView(bytes, 3), Nowhere, Backwards).GetNext(7));
}

TEST(TlvData, WalksDownAnyDepth) {
    constexpr size_t kDepth = 100000, kHeader = 6;
    CByteZone items(kDepth * kHeader, 0);
    for (size_t level = 0; level < kDepth; ++level) {
        const size_t inside = (kDepth - level - 1) * kHeader;
        unsigned char* const header = items.GetData() + level * kHeader;
        header[0] = 0x30;
        header[1] = 0x84;
        for (int octet = 0; octet < 4; ++octet) {
            header[2 + octet] = static_cast<unsigned char>(inside >> (24 - 8 * octet));
        }
    }
    size_t depth = 0;
    for (CTlvData item(items); (item = item.GetNext(0x30)).IsPresent(); ++depth) {
    }
    EXPECT_EQ(depth, kDepth);
}
