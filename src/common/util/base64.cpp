#include "util/base64.h"

#include "util/exception.h"
#include "util/raise.h"

#include <openssl/bio.h>
#include <openssl/evp.h>

#include <climits>
#include <memory>

namespace {

struct CFreeBio {
    void operator()(BIO* bio) const noexcept { BIO_free_all(bio); }
};
using CBio = std::unique_ptr<BIO, CFreeBio>;

/** The filter over the text, or null. */
CBio OpenDecoder(const CUTF8String& text) {
    if (text.GetLength() > INT_MAX) {
        return nullptr;
    }
    CBio filter(BIO_new(BIO_f_base64()));
    CBio source(BIO_new_mem_buf(text.GetText(), static_cast<int>(text.GetLength())));
    if (filter == nullptr || source == nullptr) {
        return nullptr;
    }
    BIO_set_flags(filter.get(), BIO_FLAGS_BASE64_NO_NL);
    // BIO_push takes the source: freeing the filter frees the chain.
    BIO_push(filter.get(), source.release());
    return filter;
}

/** Reads until the end; false when the filter reports a failure. */
bool ReadAll(BIO* decoder, CByteZone& data) {
    size_t used = 0;
    while (used < data.GetSize()) {
        const int count =
            BIO_read(decoder, data.GetData() + used, static_cast<int>(data.GetSize() - used));
        if (count < 0) {
            return false;
        }
        if (count == 0) {
            break;
        }
        used += static_cast<size_t>(count);
    }
    data.Resize(used);
    return true;
}

bool IsBlank(char character) {
    return character == ' ' || character == '\t' || character == '\r' || character == '\n';
}

/** The number of bytes that a text of this length and padding should hold. */
size_t PromisedSize(const char* text, size_t length) {
    while (length > 0 && IsBlank(text[length - 1])) {
        --length;
    }
    size_t padding = 0;
    while (padding < 2 && padding < length && text[length - 1 - padding] == '=') {
        ++padding;
    }
    const size_t size = length / 4 * 3 + length % 4 * 3 / 4;
    return size > padding ? size - padding : 0;
}

}  // namespace

CByteZone DecodeBase64(const CUTF8String& text) {
    const size_t length = text.GetLength();
    CByteZone data;
    if (length == 0) {
        return data;
    }
    data.Resize(length / 4 * 3 + length % 4 * 3 / 4);
    const CBio decoder = OpenDecoder(text);
    if (decoder == nullptr || !ReadAll(decoder.get(), data)) {
        TraceString("Error while decoding");
        RAISE(CException());
    }
    // The filter gives up silently at a character that it does not know.
    if (data.IsEmpty() || data.GetSize() < PromisedSize(text.GetText(), length)) {
        TraceString("data is of invalid base 64 format");
        RAISE(CException());
    }
    return data;
}
