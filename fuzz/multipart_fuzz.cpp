// Any bytes are an upload or fail as one, however the network cuts them: no part is longer than it
// says, all of them are no longer than what came, and leaving them in any order throws nothing.
#include "system/http_errors.h"
#include "system/http_multipart.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <string>

namespace {

/** Receives the input in pieces of which its first byte gives the length. */
class CInput : public CHttpConnection {
public:
    explicit CInput(std::string text)
        : bytes(std::move(text)),
          at(std::min<size_t>(1, bytes.size())),
          step(bytes.empty() ? 1 : 1 + static_cast<uint8_t>(bytes[0])) {}

    int Recv(void* data, size_t length) override {
        const size_t count = bytes.copy(static_cast<char*>(data), std::min(length, step), at);
        at += count;
        return static_cast<int>(count);
    }

private:
    std::string bytes;
    size_t at;
    size_t step;
};

/** Reads a part to its end after a seek; how many bytes of it came. */
uint64_t ReadPart(CHttpIStream& stream, size_t seekTo) {
    const uint64_t length = stream.GetBuffer().GetRemaining();
    stream.seekg(static_cast<std::streamoff>(seekTo));
    const std::streamoff reached = stream ? std::streamoff{stream.tellg()} : 0;
    stream.clear();
    stream.ignore(std::numeric_limits<std::streamsize>::max());
    const uint64_t came = static_cast<uint64_t>(reached + stream.gcount());
    if (came != length - stream.GetBuffer().GetRemaining()) {
        std::abort();
    }
    return came;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    try {
        const auto server = std::make_shared<CHttpServerConnection>(
            new CInput({reinterpret_cast<const char*>(data), size}));
        CHttpMultipartReader reader(server, "b");
        uint64_t came = 0;
        for (CHttpMultipartReader::CPart& part : reader.GetParts()) {
            came += ReadPart(*part.stream, data[0] % 7U);
            if (came % 3 == 0) {
                part.stream.reset();
            }
        }
        if (came > size) {
            std::abort();
        }
    } catch (const CHttpException&) {
    }
    return 0;
}
