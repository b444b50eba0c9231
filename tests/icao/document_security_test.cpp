#include "icao/document_security.h"

#include "asn1/asn1_errors.h"
#include "crypto/openssl_error.h"
#include "icao/icao_exception.h"
#include "support/raised.h"
#include "support/server_process.h"
#include "support/settings_home.h"
#include "support/stanza_file.h"
#include "support/string_print.h"
#include "util/hex.h"

#include <openssl/err.h>
#include <openssl/evp.h>

#include <ctime>
#include <regex>

using namespace icao;

namespace {

/** How a call ends: "OK", the code of the protocols, or a class or words of what is thrown. */
template <class Call>
std::string End(Call call) {
    std::string end = "OK";
    try {
        call();
    } catch (const CICAOException& exception) {
        end = std::to_string(exception.GetErrorCode()) + exception.GetMessage().GetText();
    } catch (const OPENSSL_FUNCTION_FAILED&) {
        end = "OPENSSL_FUNCTION_FAILED";
    } catch (const EASN1& exception) {
        end = WordsOf(exception);
    }
    EXPECT_EQ(ERR_get_error(), 0U) << "left for the next report";
    return end;
}

std::string Check(const CByteZone& sod, const CByteZone& card, const CByteZone& csca,
                  const CByteZone& ds) {
    return End([&] { CheckSecurityObjectDocument(sod, card, csca, ds); });
}

/** How reading the hashes of EF.SOD ends, and what was read: "OK SHA256 1:00FF,2:FF00". */
std::string List(const CByteZone& sod) {
    const EVP_MD* digest = EVP_md5();
    std::vector<int32_t> numbers{7};
    std::vector<CByteZone> hashes(1);
    std::string list = End([&] { GetEncapContentInfo(sod, digest, numbers, hashes); });
    list += std::string(" ") + (digest != nullptr ? OBJ_nid2sn(EVP_MD_get_type(digest)) : "none");
    EXPECT_EQ(numbers.size(), hashes.size());
    for (size_t i = 0; i < numbers.size(); ++i) {
        list += (i == 0 ? " " : ",") + std::to_string(numbers[i]) + ":";
        list += ToStd(ToHex(hashes[i]).ToLower());
    }
    return list;
}

/** The stated end of a check, as of today. */
std::string StatedEnd(const CStanza& row) {
    char today[sizeof "2026-11-21"];
    const std::time_t now = std::time(nullptr);
    std::strftime(today, sizeof today, "%F", std::gmtime(&now));
    const std::string end = row.Text("check_text"), until = "check_valid_until_text";
    return end == "TAG_NOT_FOUND"                      ? "TLV Tag not found"
           : end.find("D2I_") == 0                     ? "OPENSSL_FUNCTION_FAILED"
           : row.Has(until) && row.Text(until) < today ? "12"
                                                       : end;
}

/** A directory with documents of all kinds. */
struct CDocuments : CSettingsHome {
    CDocuments() {
        const std::string make = "cd " + Path("") + " && " QORVS_TEST_VECTORS;
        EXPECT_EQ(std::system((make + "/icao/make_documents.sh >log 2>&1").c_str()), 0);
    }
    CByteZone Read(const std::string& name) const {
        const std::string bytes = ReadWholeFile(Path(name));
        return {reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()};
    }
};

}  // namespace

TEST(PassiveAuthentication, PublicFiles) {
    for (const char* const file : {"sod_issued.txt", "sod_specimen.txt", "sod_made.txt"}) {
        FOR_EACH_STANZA(row, ReadSharedStanzas(file)) {
            const auto bytes = [&](const char* key) {
                return row.Has(key) ? row.Bytes(key) : CByteZone();
            };
            if (row.Has("check_text")) {
                EXPECT_EQ(Check(bytes("sod"), bytes("card_security"), bytes("csca"),
                                bytes("ds_certificate")),
                          StatedEnd(row));
            }
            const bool isRead = row.Text("lds_text") == "ok";
            const std::string list = List(bytes("sod"));
            EXPECT_EQ(isRead ? "OK " + row.Text("digest_name_text") + " " + row.Text("dg_text")
                             : std::regex_replace(list, std::regex("^OK"), ""),
                      list);
            EXPECT_TRUE(isRead || std::regex_search(list, std::regex(" none$"))) << list;
            row.Skip();
        }
    }
}

TEST(PassiveAuthentication, MadeDocumentsAndWhatABitChanges) {
    const CDocuments made;
    FOR_EACH_STANZA(row, ReadStanzas("icao/documents.txt")) {
        const auto bytes = [&](const char* key, const char* usual) {
            return made.Read(row.Has(key) ? row.Text(key) : usual);
        };
        EXPECT_EQ(Check(bytes("sod_text", "ds.sod"), bytes("card_text", "empty"),
                        bytes("csca_text", "csca.cer"), bytes("ds_text", "empty")),
                  row.Text("end_text"));
    }
    const CByteZone csca = made.Read("named.cer"), sod = made.Read("ds_named.sod");
    for (size_t i = 0; i < sod.GetSize(); ++i) {
        CByteZone turned = sod;
        turned[i] ^= static_cast<unsigned char>(1 << i % 8);
        const std::string found = List(turned);
        EXPECT_TRUE(found == List(sod) || found.find("OK") != 0 ||
                    Check(turned, CByteZone(), csca, CByteZone()) != "OK")
            << i;
    }
}
