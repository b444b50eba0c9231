/**
 * pace_terminal: a terminal and a chip that establish keys with PACE, step by step.
 *
 * Usage: pace_terminal [--password=TEXT] [--chip-password=TEXT] [--domain=ID] [--variant=NAME]
 *
 * The terminal's side is the library's; the chip's is written on OpenSSL alone. Both are given the
 * card access number 123456 unless told otherwise, and each value is printed where it arises:
 *
 *     $ pace_terminal --domain=13 --variant=ecdh-gm-aes-128
 *     Variant            ecdh-gm-aes-128 0.4.0.127.0.7.2.2.4.2.2
 *     Domain             13
 *     Password key       591468CDA83D65219CCCB8560233600F
 *     Encrypted nonce    34AAB70ABF6C6F6AB1B5B5349B5C3A2F
 *     ...
 *     Chip's token       151868372C8432E9
 *     Both sides agree
 *
 * Variants are dh-gm, ecdh-gm, dh-im, ecdh-im and ecdh-cam, each with -3des, -aes-128, -aes-192 or
 * -aes-256 behind it (ecdh-cam with AES only). Domains are the numbers of the standardized domain
 * parameters: 0 to 2 for DH, 8 to 18 for ECDH.
 *
 * The exit status is 0 when both sides agree and 1 when they do not, or when a side refuses to go
 * on. With two different passwords they must not agree.
 *
 * These values are secrets in earnest; printing them is for learning and for finding mistakes.
 */
#include "chip_side.h"
#include "crypto/openssl_wrapper.h"
#include "icao/authentication_token.h"
#include "icao/icao_errors.h"
#include "icao/icao_exception.h"
#include "icao/key_derivation.h"
#include "icao/object_ids.h"
#include "icao/pace.h"
#include "icao/pace_mapping.h"
#include "icao/pace_parameters.h"
#include "util/exception.h"
#include "util/hex.h"

#include <openssl/rand.h>

#include <cstring>
#include <iomanip>
#include <iostream>
#include <iterator>

using namespace icao;

/** What a run is made with. */
struct COptions {
    std::string password = "123456";
    std::string chipPassword;  // that of the terminal when empty
    int domain = 13;
    std::string variantName = "ecdh-gm-aes-128";
    CPaceVariant variant{2, 2};
};

/** The library's operations for one kind of keys. */
struct CSteps {
    decltype(&SetIFDKeyParametersECDH) setParameters;
    decltype(&GenerateIFDKeyECDH) generate;
    void (*setChipKey)(const EVP_PKEY*, const CByteZone&, CTHandle<EVP_PKEY>&);
    decltype(&DoGenericMappingECDH) mapGenerically;
    decltype(&DoIntegratedMappingECDH) mapIntegrated;
    decltype(&ProcessSharedSecretECDH) processSecret;
};

constexpr CSteps kDhSteps = {SetIFDKeyParametersDH, GenerateIFDKeyDH,      SetICCKeyDH,
                             DoGenericMappingDH,    DoIntegratedMappingDH, ProcessSharedSecretDH};
constexpr CSteps kEcdhSteps = {SetIFDKeyParametersECDH, GenerateIFDKeyECDH,
                               SetICCKeyECDH,           DoGenericMappingECDH,
                               DoIntegratedMappingECDH, ProcessSharedSecretECDH};

static CByteZone ToZone(const COctets& octets) { return {octets.data(), octets.size()}; }

template <class Zone>
COctets ToOctets(const Zone& zone) {
    return {zone.GetData(), zone.GetData() + zone.GetSize()};
}

template <class Zone>
void Show(const char* name, const Zone& zone) {
    std::cout << std::left << std::setw(19) << name
              << ToHex(zone.GetData(), zone.GetSize()).GetText() << '\n';
}
static void Show(const char* name, const COctets& octets) { Show(name, ToZone(octets)); }

/** The terminal, with the chip on the other side of every call that sends something. */
class CTerminal {
public:
    CTerminal(const COptions& run, CChipSide& peer);

    void DecryptNonceOf(const COctets& encrypted, const std::string& password);
    void Map();
    void Agree();
    /** Whether the chip takes the terminal's token, and the terminal the chip's. */
    bool ExchangeTokens();

private:
    void MapGenerically();
    void MapIntegrated();
    CByteZone ComputeToken(const CByteZone& publicKey) const;

    CChipSide& chip;
    const CPaceVariant variant;
    const CSteps& steps;
    CObjectIdentifier oid;
    bool isEcdh = false;
    bool isAes = false;
    int mapping = kGenericMapping;
    int keyBits = 0;
    CTHandle<EVP_PKEY> key;
    CSecureByteZone nonce, encKey, macKey;
    CByteZone sent, received;
};

CTerminal::CTerminal(const COptions& run, CChipSide& peer)
    : chip(peer), variant(run.variant), steps(variant.IsEcdh() ? kEcdhSteps : kDhSteps) {
    const uint32_t arcs[] = {0, 4, 0, 127, 0, 7, 2, 2, 4, variant.family, variant.cipher};
    oid = CObjectIdentifier(arcs, std::size(arcs));
    GetPACEParametersFromOID(oid, isEcdh, mapping, isAes, keyBits);
    CPACEInfo info;
    info.parameterId = std::make_unique<int32_t>(run.domain);
    steps.setParameters(&info, nullptr, key);
    std::cout << "Variant            " << run.variantName << " 0.4.0.127.0.7.2.2.4."
              << variant.family << '.' << variant.cipher << "\nDomain             " << run.domain
              << '\n';
}

void CTerminal::DecryptNonceOf(const COctets& encrypted, const std::string& password) {
    CSecureByteZone passwordKey;
    DerivePasswordKey(CAN, CByteZone(password.c_str()), keyBits, passwordKey);
    Show("Password key", passwordKey);
    Show("Encrypted nonce", encrypted);
    DecryptNonce(passwordKey, isAes, ToZone(encrypted), nonce);
    Show("Nonce", nonce);
}

void CTerminal::Map() {
    if (mapping == kIntegratedMapping) {
        MapIntegrated();
    } else {
        MapGenerically();
    }
    Show("Chip's generator", chip.GetGenerator());
}

void CTerminal::MapGenerically() {
    CTHandle<EVP_PKEY> chipKey;
    CTHandle<EVP_PKEY> mapped;
    steps.generate(key, sent);
    Show("Mapping key", sent);
    received = ToZone(chip.MapGenerically(ToOctets(sent)));
    Show("Chip's mapping key", received);
    steps.setChipKey(key.Get(), received, chipKey);
    steps.mapGenerically(nonce, key.Get(), chipKey.Get(), mapped);
    key = std::move(mapped);
}

void CTerminal::MapIntegrated() {
    COctets own(variant.GetKeySize());
    CTHandle<EVP_PKEY> mapped;
    Require(RAND_bytes(own.data(), static_cast<int>(own.size())) == 1, "get a nonce");
    Show("Terminal's nonce", own);
    chip.MapIntegrated(own);
    steps.mapIntegrated(nonce, ToZone(own), isAes, key.Get(), mapped);
    key = std::move(mapped);
}

void CTerminal::Agree() {
    CTHandle<EVP_PKEY> chipKey;
    CSecureByteZone secret;
    steps.generate(key, sent);
    Show("Ephemeral key", sent);
    received = ToZone(chip.Agree(ToOctets(sent)));
    Show("Chip's ephemeral", received);
    steps.setChipKey(key.Get(), received, chipKey);
    steps.processSecret(key.Get(), chipKey.Get(), secret);
    Show("Secret", secret);
    DeriveKeys(secret, keyBits, encKey, macKey);
    Show("Encryption key", encKey);
    Show("Chip's", chip.GetEncryptionKey());
    Show("MAC key", macKey);
    Show("Chip's", chip.GetMacKey());
}

/** Numbers are sent at the prime's width, and go into a token without leading zeros. */
CByteZone CTerminal::ComputeToken(const CByteZone& publicKey) const {
    size_t zeros = 0;
    while (!isEcdh && publicKey[zeros] == 0) {
        ++zeros;
    }
    CByteZone token;
    ComputeAuthenticationToken(
        oid, CByteZone(publicKey.GetData() + zeros, publicKey.GetSize() - zeros), macKey, token);
    return token;
}

bool CTerminal::ExchangeTokens() {
    const CByteZone token = ComputeToken(received);
    Show("Terminal's token", token);
    if (!chip.IsRight(ToOctets(token))) {
        return false;
    }
    const COctets answer = chip.MakeToken();
    Show("Chip's token", answer);
    return ToOctets(ComputeToken(sent)) == answer;
}

/** The variant of a name; false when there is none. */
static bool FindVariant(const std::string& name, CPaceVariant& variant) {
    constexpr const char* kFamilies[] = {"dh-gm", "ecdh-gm", "dh-im", "ecdh-im", "", "ecdh-cam"};
    constexpr const char* kCiphers[] = {"3des", "aes-128", "aes-192", "aes-256"};
    for (unsigned family = 0; family < std::size(kFamilies); ++family) {
        for (unsigned cipher = 0; cipher < std::size(kCiphers); ++cipher) {
            if (name == std::string(kFamilies[family]) + '-' + kCiphers[cipher]) {
                variant = {family + 1, cipher + 1};
                return true;
            }
        }
    }
    return false;
}

static bool ReadOption(const std::string& argument, COptions& options) {
    const size_t equals = argument.find('=');
    if (equals == std::string::npos) {
        return false;
    }
    const std::string name = argument.substr(0, equals);
    const std::string value = argument.substr(equals + 1);
    if (name == "--password") {
        options.password = value;
    } else if (name == "--chip-password") {
        options.chipPassword = value;
    } else if (name == "--domain") {
        char* end = nullptr;
        options.domain = static_cast<int>(strtol(value.c_str(), &end, 10));
        return end != value.c_str() && *end == '\0';
    } else if (name == "--variant") {
        options.variantName = value;
        return FindVariant(value, options.variant);
    } else {
        return false;
    }
    return true;
}

static bool RunBothSides(const COptions& options) {
    CChipSide chip(options.variant, options.domain);
    CTerminal terminal(options, chip);
    const std::string& known =
        options.chipPassword.empty() ? options.password : options.chipPassword;
    terminal.DecryptNonceOf(chip.EncryptNonce({known.begin(), known.end()}), options.password);
    terminal.Map();
    terminal.Agree();
    const bool agreed = terminal.ExchangeTokens();
    std::cout << (agreed ? "Both sides agree\n" : "The sides do not agree\n");
    return agreed;
}

int main(int argc, char** argv) {
    COptions options;
    for (int i = 1; i < argc; ++i) {
        if (!ReadOption(argv[i], options)) {
            std::cerr << "Usage: pace_terminal [--password=TEXT] [--chip-password=TEXT]"
                         " [--domain=ID] [--variant=NAME]\n";
            return 1;
        }
    }
    try {
        return RunBothSides(options) ? 0 : 1;
    } catch (const CICAOException& exception) {
        std::cerr << "The terminal stops: " << GetICAOErrorText(exception.GetErrorCode()).GetText()
                  << '\n';
    } catch (const CException& exception) {
        std::cerr << "The terminal stops: " << RenderMessage(exception.GetMessage()).GetText()
                  << "; the log says more\n";
    } catch (const std::exception& exception) {
        std::cerr << exception.what() << '\n';
    }
    return 1;
}
