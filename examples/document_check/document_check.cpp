/**
 * document_check: whether the files read from a travel document are what its issuer has signed.
 *
 * Usage: document_check --csca FILE --sod FILE [--card-security FILE] NUMBER=FILE ...
 *
 *   --csca FILE           the country signing certificate (X.509) that you trust, as DER;
 *                         `openssl x509 -in FILE -outform DER` makes DER from PEM
 *   --sod FILE            EF.SOD as read from the document
 *   --card-security FILE  EF.CardSecurity, where the document has one
 *   NUMBER=FILE           a data group as read from the document; at least one
 *
 * Each step stands on a line of its own and is made whatever the others say:
 *
 *     $ document_check --csca utopia.cer --sod EF.SOD 1=EF.DG1 2=EF.DG2
 *     Signature of EF.SOD           right
 *     Chain to the CSCA             right
 *     Hash algorithm                SHA256
 *     Data group 1                  as listed
 *     Data group 2                  WRONG
 *     Data group 14                 not given
 *     Verdict                       REFUSED
 *
 * The list of EF.SOD is worth as much as the signature and the chain. The exit status is 0 and the
 * verdict "accepted" when every step is right and each data group that is given is as listed; 1
 * when one is not, or cannot be checked; 2 when the call is wrong or a file cannot be opened.
 *
 * Dates count as of today: with an expired certificate the chain is wrong. Signatures by RSASSA-PSS
 * cannot be checked and are WRONG.
 *
 * Files alone do not tell a document from its copy: only a dialogue with the chip does.
 *
 * With the trace log turned on in the settings, the log has OpenSSL's reason for each refusal.
 */
#include "icao/document_security.h"
#include "icao/icao_exception.h"
#include "util/exception.h"

#include <openssl/evp.h>

#include <fstream>
#include <iomanip>
#include <iostream>
#include <iterator>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

using namespace icao;

namespace {

constexpr const char* kUsage =
    "Usage: document_check --csca FILE --sod FILE [--card-security FILE] NUMBER=FILE ...\n"
    "Checks the signature of EF.SOD, its signer's chain to the country signing certificate\n"
    "(X.509, DER) and the hash of each data group, as in 1=EF.DG1.\n"
    "Exit status: 0 all is right, 1 the document is refused, 2 the call is wrong.\n";

constexpr int kAccepted = 0, kRefused = 1, kWrongCall = 2;
constexpr int32_t kUnreadable = -1;  // beside the codes of ICAOError
constexpr const char* kRight = "right";
constexpr const char* kAsListed = "as listed";
constexpr const char* kWrong = "WRONG";
constexpr const char* kNotChecked = "not checked";

/** What was read from the document, and whom to trust. */
struct CDocument {
    std::map<std::string, CByteZone> files;  // by option
    std::map<int32_t, CByteZone> dataGroups;

    bool IsComplete() const {
        return files.count("--csca") > 0 && files.count("--sod") > 0 && !dataGroups.empty();
    }
};

/** The list of hashes in EF.SOD. */
struct CHashes {
    const EVP_MD* digest = nullptr;
    std::vector<int32_t> numbers;
    std::vector<CByteZone> values;
};

/** A line for each step. What is not right refuses the document. */
class CReport {
public:
    void Tell(const std::string& step, const std::string& words) {
        std::cout << std::left << std::setw(30) << step << words << '\n';
    }
    void Judge(const std::string& step, bool isRight, const std::string& words) {
        Tell(step, words);
        accepted = accepted && isRight;
    }
    bool IsAccepted() const { return accepted; }

private:
    bool accepted = true;
};

CByteZone ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    file.peek();
    if (!file.is_open() || file.bad()) {
        throw std::runtime_error("cannot read " + path);
    }
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    return {reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()};
}

/** Whether "NUMBER=FILE" was one; each number may come once. */
bool ReadDataGroup(const std::string& argument, CDocument& document) {
    const size_t equals = argument.find('=');
    if (equals == 0 || equals > 2 || argument.find_first_not_of("0123456789") != equals) {
        return false;
    }
    const int32_t number = std::stoi(argument.substr(0, equals));
    return document.dataGroups.emplace(number, ReadFile(argument.substr(equals + 1))).second;
}

/** Whether the arguments are a right call; what they name is read. */
bool ReadDocument(int argc, char** argv, CDocument& document) {
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument == "--csca" || argument == "--sod" || argument == "--card-security") {
            if (++i == argc || !document.files.emplace(argument, ReadFile(argv[i])).second) {
                return false;
            }
        } else if (!ReadDataGroup(argument, document)) {
            return false;
        }
    }
    return document.IsComplete();
}

/** How the check ends: one of ICAOError, or kUnreadable. */
int32_t Check(const CDocument& document, const CByteZone& cardSecurity) {
    const CByteZone& sod = document.files.at("--sod");
    const CByteZone& csca = document.files.at("--csca");
    try {
        CheckSecurityObjectDocument(sod, cardSecurity, csca, CByteZone());
    } catch (const CICAOException& exception) {
        return sod.IsEmpty() || csca.IsEmpty() ? kUnreadable : exception.GetErrorCode();
    } catch (const CException&) {
        return kUnreadable;
    }
    return ICAO_ERR_OK;
}

/**
 * Where the check ends tells which steps before were right: the signature of EF.SOD comes first,
 * then that of EF.CardSecurity, then the chain.
 */
void CheckSignatures(const CDocument& document, CReport& report) {
    const int32_t end = Check(document, CByteZone());
    const bool isChained = end == ICAO_ERR_OK;
    const bool isSigned = isChained || end == ICAO_ERR_VERIFY_CERTIFICATE_FAILED;
    report.Judge("Signature of EF.SOD", isSigned,
                 isSigned                                ? kRight
                 : end == ICAO_ERR_AUTHENTICATION_FAILED ? kWrong
                 : end == kUnreadable ? "not checked: EF.SOD or the CSCA cannot be read"
                                      : "not checked: no certificate of the signer");
    report.Judge("Chain to the CSCA", isChained,
                 isChained  ? kRight
                 : isSigned ? kWrong
                            : kNotChecked);
    const auto card = document.files.find("--card-security");
    if (card == document.files.end()) {
        return;
    }
    // No bytes would stand for no file.
    const int32_t cardEnd =
        card->second.IsEmpty() || !isSigned ? kUnreadable : Check(document, card->second);
    report.Judge("Signature of EF.CardSecurity", isSigned && cardEnd == end,
                 !isSigned                                   ? kNotChecked
                 : cardEnd == end                            ? kRight
                 : cardEnd == ICAO_ERR_AUTHENTICATION_FAILED ? kWrong
                                                             : "not checked: it cannot be read");
}

CHashes ReadHashes(const CDocument& document, CReport& report) {
    CHashes hashes;
    std::string words = "the list cannot be read";
    try {
        GetEncapContentInfo(document.files.at("--sod"), hashes.digest, hashes.numbers,
                            hashes.values);
        words = hashes.digest != nullptr ? EVP_MD_get0_name(hashes.digest) : "unknown";
    } catch (const CException& exception) {
        const CUTF8String reason = RenderMessage(exception.GetMessage());
        words += reason.IsEmpty() ? "" : std::string(": ") + reason.GetText();
    } catch (const CICAOException&) {  // no file
    }
    report.Tell("Hash algorithm", words);
    return hashes;
}

/** "as listed" when the list has the number and all that it says of it is true. */
const char* CompareHash(const CHashes& hashes, int32_t number, const CByteZone& dataGroup) {
    CByteZone hash(EVP_MAX_MD_SIZE, 0);
    unsigned size = 0;
    if (hashes.digest == nullptr ||
        EVP_Digest(dataGroup.GetData(), dataGroup.GetSize(), hash.GetData(), &size, hashes.digest,
                   nullptr) != 1) {
        return kNotChecked;
    }
    hash.Resize(size);
    const char* words = "WRONG: not on the list";
    for (size_t i = 0; i < hashes.numbers.size(); ++i) {
        if (hashes.numbers[i] == number) {
            if (hashes.values[i] != hash) {
                return kWrong;
            }
            words = kAsListed;
        }
    }
    return words;
}

void CheckDataGroups(const CDocument& document, CReport& report) {
    const CHashes hashes = ReadHashes(document, report);
    for (const auto& [number, dataGroup] : document.dataGroups) {
        const std::string words = CompareHash(hashes, number, dataGroup);
        report.Judge("Data group " + std::to_string(number), words == kAsListed, words);
    }
    for (const int32_t number : hashes.numbers) {
        if (document.dataGroups.count(number) == 0) {
            report.Tell("Data group " + std::to_string(number), "not given");
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    CDocument document;
    try {
        if (!ReadDocument(argc, argv, document)) {
            std::cerr << kUsage;
            return kWrongCall;
        }
    } catch (const std::exception& exception) {
        std::cerr << "document_check: " << exception.what() << '\n';
        return kWrongCall;
    }
    CReport report;
    CheckSignatures(document, report);
    CheckDataGroups(document, report);
    report.Tell("Verdict", report.IsAccepted() ? "accepted" : "REFUSED");
    return report.IsAccepted() ? kAccepted : kRefused;
}
