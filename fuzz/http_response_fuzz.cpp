// Any bytes are a response or fail as one, however the network cuts them; the body is their end.
#include "system/http_errors.h"
#include "system/http_response.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

/** Receives the input in pieces of which its first byte gives the length. */
class CInput : public CHttpConnection {
public:
    explicit CInput(std::string text)
        : left(std::move(text)), step(left.empty() ? 1 : 1 + static_cast<uint8_t>(left[0])) {
        left.erase(0, 1);
    }

    int Recv(void* data, size_t length) override {
        const size_t count = left.copy(static_cast<char*>(data), std::min(length, step));
        left.erase(0, count);
        return static_cast<int>(count);
    }

private:
    std::string left;
    size_t step;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    try {
        CInput connection({reinterpret_cast<const char*>(data), size});
        const auto response = CHttpResponse::Read(&connection);
        response->GetHeader("content-type").GetParameter("charset");
        const CByteZone& body = response->GetBody();
        if (!std::equal(body.begin(), body.end(), data + size - body.GetSize())) {
            std::abort();
        }
    } catch (const CHttpException&) {
    }
    return 0;
}
