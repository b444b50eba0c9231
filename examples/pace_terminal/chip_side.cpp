#include "chip_side.h"

#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/rand.h>

#include <algorithm>

namespace {

void Append(COctets& octets, const COctets& more) {
    octets.insert(octets.end(), more.begin(), more.end());
}

COctets Slice(const COctets& octets, size_t from, size_t size) {
    const auto begin = octets.begin() + static_cast<long>(from);
    return {begin, begin + static_cast<long>(size)};
}

/** A data object with a length below 65536. */
COctets MakeObject(COctets header, const COctets& value) {
    const size_t size = value.size();
    if (size > 0xFF) {
        Append(header, {0x82, static_cast<unsigned char>(size >> 8)});
    } else if (size > 0x7F) {
        header.push_back(0x81);
    }
    header.push_back(static_cast<unsigned char>(size));
    Append(header, value);
    return header;
}

COctets FromHex(const char* digits) {
    long size = 0;
    const std::unique_ptr<unsigned char, void (*)(unsigned char*)> octets(
        OPENSSL_hexstr2buf(digits, &size), [](unsigned char* held) { OPENSSL_free(held); });
    return {octets.get(), octets.get() + size};
}

/** A triple DES key of the parts in that order, each of them 8 octets. */
COctets JoinKeys(const COctets& a, const COctets& b, const COctets& c) {
    COctets key = a;
    Append(key, b);
    Append(key, c);
    return key;
}

COctets ComputeCmac(const COctets& key, const COctets& message) {
    std::string cipher = "AES-" + std::to_string(key.size() * 8) + "-CBC";
    const OSSL_PARAM parameters[] = {
        OSSL_PARAM_construct_utf8_string(OSSL_MAC_PARAM_CIPHER, cipher.data(), cipher.size()),
        OSSL_PARAM_construct_end()};
    COctets mac(16);
    size_t size = 0;
    Require(EVP_Q_mac(nullptr, "CMAC", nullptr, nullptr, parameters, key.data(), key.size(),
                      message.data(), message.size(), mac.data(), mac.size(), &size) != nullptr,
            "compute a MAC");
    return mac;
}

}  // namespace

CChipSide::CChipSide(const CPaceVariant& announced, int domainId)
    : variant(announced),
      group(variant.IsEcdh() ? MakeCurveGroup(domainId) : MakePrimeGroup(domainId)),
      generator(group->GetGenerator()) {}

COctets CChipSide::Encrypt(const COctets& key, const COctets& data, const COctets& iv) const {
    const std::string name = variant.IsAes() ? "AES-" + std::to_string(key.size() * 8) + "-CBC"
                                             : std::string("DES-EDE3-CBC");
    const COctets cipherKey = key.size() == 16 && !variant.IsAes()
                                  ? JoinKeys(Slice(key, 0, 8), Slice(key, 8, 8), Slice(key, 0, 8))
                                  : key;
    const std::unique_ptr<EVP_CIPHER, decltype(&EVP_CIPHER_free)> cipher(
        EVP_CIPHER_fetch(nullptr, name.c_str(), nullptr), EVP_CIPHER_free);
    const std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> context(
        EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free);
    COctets start = iv, encrypted(data.size());
    start.resize(16);
    int size = 0;
    Require(
        EVP_EncryptInit_ex2(context.get(), cipher.get(), cipherKey.data(), start.data(), nullptr) &&
            EVP_CIPHER_CTX_set_padding(context.get(), 0) &&
            EVP_EncryptUpdate(context.get(), encrypted.data(), &size, data.data(),
                              static_cast<int>(data.size())) &&
            static_cast<size_t>(size) == data.size(),
        "encrypt");
    return encrypted;
}

COctets CChipSide::Derive(COctets secret, unsigned char counter) const {
    Append(secret, {0, 0, 0, counter});
    COctets digest(EVP_MAX_MD_SIZE);
    size_t size = 0;
    Require(EVP_Q_digest(nullptr, variant.GetKeySize() == 16 ? "SHA1" : "SHA256", nullptr,
                         secret.data(), secret.size(), digest.data(), &size),
            "compute a digest");
    digest.resize(variant.GetKeySize());
    return digest;
}

COctets CChipSide::EncryptNonce(const COctets& password) {
    nonce.resize(variant.GetNonceSize());
    Require(RAND_bytes(nonce.data(), static_cast<int>(nonce.size())) == 1, "draw a nonce");
    return Encrypt(Derive(password, 3), nonce);
}

COctets CChipSide::Exchange(const COctets& terminalValue, COctets& shared) const {
    const CNumber secret = ToNumber({});
    Require(BN_priv_rand_range(secret.get(), group->GetOrder()), "draw a number");
    COctets own = group->Raise(generator, secret.get());
    Require(own != terminalValue, "take its own public value from the terminal");
    shared = group->Raise(terminalValue, secret.get());
    return own;
}

COctets CChipSide::MapGenerically(const COctets& terminalValue) {
    COctets shared;
    COctets own = Exchange(terminalValue, shared);
    generator = group->Combine(group->Raise(generator, ToNumber(nonce).get()), shared);
    return own;
}

/** The random number of both nonces (4.4.3.3.2), and the member that it stands for. */
void CChipSide::MapIntegrated(const COctets& terminalNonce) {
    const bool isShort = nonce.size() == 16;
    const COctets c0 =
        FromHex(isShort ? "a668892a7c41e3ca739f40b057d85904"
                        : "d463d65234124ef7897054986dca0a174e28df758cbaa03f240616414d5a1676");
    const COctets c1 =
        FromHex(isShort ? "a4e136ac725f738b01c1f60217c188ad"
                        : "54bd7255f0aaf831bec3423fcf39d69b6cbf066677d0faae5aadd99df8e53517");
    const size_t wanted = static_cast<size_t>(BN_num_bits(group->GetPrime())) + 64;
    COctets key = Encrypt(terminalNonce, nonce), random;
    while (random.size() * 8 < wanted) {
        const COctets roundKey = Slice(key, 0, variant.GetKeySize());
        Append(random, Encrypt(roundKey, c1));
        key = Encrypt(roundKey, c0);
    }
    const CNumber number = ToNumber(random);
    const std::unique_ptr<BN_CTX, decltype(&BN_CTX_free)> scratch(BN_CTX_new(), BN_CTX_free);
    Require(BN_mod(number.get(), number.get(), group->GetPrime(), scratch.get()), "reduce");
    generator = group->Encode(number.get());
}

COctets CChipSide::Agree(const COctets& terminalValue) {
    COctets shared;
    ownValue = Exchange(terminalValue, shared);
    peerValue = terminalValue;
    encryptionKey = Derive(group->GetSecret(shared), 1);
    macKey = Derive(group->GetSecret(shared), 2);
    return ownValue;
}

COctets CChipSide::MakeToken(const COctets& publicValue) const {
    COctets parts =
        MakeObject({0x06}, {4, 0, 127, 0, 7, 2, 2, 4, static_cast<unsigned char>(variant.family),
                            static_cast<unsigned char>(variant.cipher)});
    Append(parts, MakeObject({group->GetValueTag()}, group->GetTokenValue(publicValue)));
    COctets message = MakeObject({0x7F, 0x49}, parts);
    if (variant.IsAes()) {
        return Slice(ComputeCmac(macKey, message), 0, 8);
    }
    // The retail MAC: single DES up to the last block, which triple DES is with three equal keys.
    message.push_back(0x80);
    message.resize((message.size() + 7) / 8 * 8);
    const COctets first = Slice(macKey, 0, 8);
    const size_t last = message.size() - 8;
    const COctets chained = Encrypt(JoinKeys(first, first, first), Slice(message, 0, last));
    return Encrypt(macKey, Slice(message, last, 8), Slice(chained, last - 8, 8));
}

bool CChipSide::IsRight(const COctets& terminalToken) const {
    return terminalToken == MakeToken(ownValue);
}

COctets CChipSide::MakeToken() const { return MakeToken(peerValue); }
