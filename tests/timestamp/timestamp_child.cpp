/**
 * Gets timestamps over "signature value": timestamp_child TOKEN WORD..., in this order. "@TIME"
 * sets the clock; "NID:URL" gets one and says whether it is the one in the file TOKEN; "+NID:URL"
 * lets eight threads get one each. Prints what came or the words of the failure.
 */
#include "timestamp/time_manager.h"
#include "timestamp/timestamp_token.h"

#include <openssl/err.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <future>
#include <iterator>
#include <string>
#include <vector>

static struct CClock : TimeManager {
    time_t GetCurrentTime() override { return now; }
    std::atomic<time_t> now{0};
} testClock;

static std::string Stamp(const char* word, const char* tokenPath) {
    CByteZone token("untouched");
    std::string said;
    try {
        GetTimestampToken(strchr(word, ':') + 1, CByteZone("signature value"),
                          static_cast<uint32_t>(std::strtoul(word, nullptr, 10)), token);
        std::ifstream file(tokenPath, std::ios::binary);
        const std::string expected{std::istreambuf_iterator<char>(file), {}};
        return std::string(token.begin(), token.end()) == expected ? "token\n" : "other token\n";
    } catch (const TSException& exception) {
        said = RenderMessage(exception.GetMessage()).GetText();
    } catch (const OPENSSL_FUNCTION_FAILED& exception) {
        said = exception.HasMessage() ? "has a text" : "OPENSSL_FUNCTION_FAILED";
    }
    said += token == CByteZone("untouched") ? "" : ", touched";
    return said + (ERR_peek_error() == 0 ? "\n" : ", errors are left\n");
}

int main(int count, char** arguments) {
    TimeManager::SetInstance(&testClock);
    for (int i = 2; i < count; ++i) {
        const char* const word = arguments[i];
        if (*word == '@') {
            testClock.now = std::atol(word + 1);
        } else if (*word == '+') {
            std::vector<std::future<std::string>> threads(8);
            for (auto& thread : threads) {
                thread = std::async(std::launch::async, Stamp, word + 1, arguments[1]);
            }
            for (auto& thread : threads) {
                const std::string said = thread.get();
                fputs(said.find("token") < 7 ? "token " : said.c_str(), stdout);
            }
        } else {
            fputs(Stamp(word, arguments[1]).c_str(), stdout);
        }
    }
}
