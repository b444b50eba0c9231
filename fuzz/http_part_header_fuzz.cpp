// Any bytes are the rest of a boundary's line and headers: names hold no line's end, each is that
// of a Content-Disposition, and a closing boundary or a line that is not empty has none.
#include "system/http_part.h"

#include <algorithm>
#include <cstdlib>
#include <string>

namespace {

class CInput : public CHttpConnection {
public:
    explicit CInput(std::string text) : bytes(std::move(text)) {}

    int Recv(void* data, size_t length) override {
        const size_t count = bytes.copy(static_cast<char*>(data), length);
        bytes.erase(0, count);
        return static_cast<int>(count);
    }

private:
    std::string bytes;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    std::string first = text.substr(0, text.find('\n'));
    first.erase(std::remove(first.begin(), first.end(), '\r'), first.end());
    CHttpServerConnection connection(new CInput(text));
    CPartHeaders headers;
    if (ReadPartHeaders(connection, false, &headers) == (first == "--") ||
        (!first.empty() && !headers.empty())) {
        std::abort();
    }
    for (auto& [name, header] : headers) {
        if (header.GetName() != "content-disposition" || header.GetParameter("name") != name ||
            !name.Find(U'\n').IsNull() || !name.Find(U'\r').IsNull()) {
            std::abort();
        }
    }
    return 0;
}
