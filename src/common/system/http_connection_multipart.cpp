#include "system/http_connection.h"
#include "system/http_part.h"
#include "util/raise.h"

#include <vector>

namespace {

/** Finds a boundary in bytes that come one by one, each looked at a fixed number of times. */
class CBoundarySearch {
public:
    CBoundarySearch(const CISOString& boundary, bool first)
        : pattern(CISOString(first ? "--" : "\r\n--") + boundary), shorter(GetLength(), 0) {
        for (size_t i = 1; i < GetLength(); ++i) {
            Take(At(i));
            shorter[i] = matched;
        }
        matched = 0;
    }

    /** Whether the boundary ends with this byte. */
    bool Take(char byte) {
        while (matched > 0 && At(matched) != byte) {
            matched = shorter[matched - 1];
        }
        matched += At(matched) == byte ? 1 : 0;
        return matched == GetLength();
    }

    size_t GetLength() const { return pattern.GetLength(); }

private:
    char At(size_t position) const { return pattern.GetText()[position]; }

    CISOString pattern;
    // For each number of bytes matched, less one: the longest other match that ends there.
    std::vector<size_t> shorter;
    size_t matched = 0;
};

}  // namespace

void CHttpConnection::RecvMultipartBlock(const CISOString& boundary, CByteZone& out, bool first) {
    out.Clear();
    RecvMultipartBlock(boundary, &out, first);
}

void CHttpConnection::SkipMultipartBlock(const CISOString& boundary, bool first) {
    RecvMultipartBlock(boundary, nullptr, first);
}

/** Takes no byte behind the boundary from the buffer: what follows is not for line reads alone. */
void CHttpConnection::RecvMultipartBlock(const CISOString& boundary, CByteZone* out, bool first) {
    if (boundary.GetLength() == 0) {
        RAISE(CHttpException(kInvalidMultipartData));
    }
    CBoundarySearch search(boundary, first);
    bool found = false;
    while (!found && EnsureData()) {
        const unsigned char byte = recvBuffer[recvPos++];
        found = search.Take(static_cast<char>(byte));
        if (out != nullptr) {
            out->Append(byte);
        }
    }
    if (out != nullptr) {
        out->DropLast(search.GetLength());
    }
    if (!found) {
        RAISE(CHttpException(kInvalidMultipartData));
    }
}
