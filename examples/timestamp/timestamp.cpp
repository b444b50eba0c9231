/**
 * timestamp: a trusted timestamp over a file, and what it takes to trust it.
 *
 * Usage: timestamp FILE CA-FILE [URL]
 *
 * Gets a token over the SHA-256 of FILE from the authority at URL, or else from the one that the
 * setting TSAURL names, and writes it to FILE.tst. The library has then compared the token with its
 * request, and nothing more: whoever has to rely on the token verifies its signature and the chain
 * of its certificates up to a root, here with the openssl command and the root in CA-FILE:
 *
 *     $ timestamp deed.pdf root.pem http://tsa.example/tsa
 *     Token    1248 bytes in deed.pdf.tst
 *     Library  version, imprint and nonce belong to the request
 *     Caller   signature, certificates and their use:
 *              openssl ts -verify -data deed.pdf -in deed.pdf.tst ...
 *     Verification: OK
 *     Result   proved
 *
 * The exit status is 0 when the token is proved and 1 when it is not. A token that the library
 * refuses is not written; one that only the command refuses is, for a closer look.
 */
#include "crypto/openssl_error.h"
#include "system/settings.h"
#include "timestamp/timestamp_token.h"

#include <openssl/objects.h>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

static CByteZone ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    const std::string content{std::istreambuf_iterator<char>(file), {}};
    if (!file) {
        throw std::runtime_error("cannot read " + path);
    }
    return CByteZone(reinterpret_cast<const unsigned char*>(content.data()), content.size());
}

static void WriteFile(const std::string& path, const CByteZone& content) {
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(content.GetData()),
               static_cast<std::streamsize>(content.GetSize()));
    if (!file.flush()) {
        throw std::runtime_error("cannot write " + path);
    }
}

/** Runs a command without a shell; whether it said that all is well. */
static bool Succeeds(std::vector<std::string> command) {
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (std::string& word : command) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    pid_t process = 0;
    int status = 0;
    return posix_spawnp(&process, arguments[0], nullptr, nullptr, arguments.data(), environ) == 0 &&
           waitpid(process, &status, 0) == process && status == 0;
}

/** The library's part: gets the token and compares it with the request. */
static void Stamp(const char* url, const std::string& path, const std::string& tokenPath) {
    CByteZone token;
    GetTimestampToken(url, ReadFile(path), NID_sha256, token);
    WriteFile(tokenPath, token);
    std::cout << "Token    " << token.GetSize() << " bytes in " << tokenPath << '\n'
              << "Library  version, imprint and nonce belong to the request\n";
}

/** The caller's part: whether somebody whom the root vouches for has signed the token. */
static bool Prove(const std::string& path, const std::string& tokenPath, const std::string& root) {
    const std::vector<std::string> command{"openssl", "ts",      "-verify",   "-data",   path,
                                           "-in",     tokenPath, "-token_in", "-CAfile", root};
    std::cout << "Caller   signature, certificates and their use:\n        ";
    for (const std::string& word : command) {
        std::cout << ' ' << word;
    }
    std::cout << std::endl;  // ahead of what the command writes
    return Succeeds(command);
}

int main(int argc, char** argv) {
    if (argc != 3 && argc != 4) {
        std::cerr << "Usage: timestamp FILE CA-FILE [URL]\n";
        return 1;
    }
    const std::string path = argv[1];
    const std::string tokenPath = path + ".tst";
    try {
        const char* const url = argc == 4 ? argv[3] : GetTsaUrl();
        Stamp(url != nullptr ? url : "", path, tokenPath);
        const bool proved = Prove(path, tokenPath, argv[2]);
        std::cout << "Result   " << (proved ? "proved" : "NOT PROVED: do not rely on it") << '\n';
        return proved ? 0 : 1;
    } catch (const OPENSSL_FUNCTION_FAILED&) {
        std::cerr << "The answer is no token for this request; the log says why.\n";
    } catch (const CException& exception) {
        std::cerr << RenderMessage(exception.GetMessage()).GetText() << '\n';
    } catch (const std::exception& exception) {
        std::cerr << exception.what() << '\n';
    }
    return 1;
}
