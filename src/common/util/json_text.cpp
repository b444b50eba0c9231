#include "util/json_text.h"

#include "util/exception.h"
#include "util/raise.h"

#include <cstring>

namespace {

/** The length of the object that a text begins with, or 0 when it is not closed. */
size_t MeasureObject(const char* text, size_t length) {
    size_t depth = 0;
    bool inString = false;
    for (size_t i = 0; i < length; ++i) {
        if (text[i] == '"') {
            inString = !inString;
        } else if (inString) {
            i += text[i] == '\\';
        } else if (text[i] == '{') {
            ++depth;
        } else if (text[i] == '}' && --depth == 0) {
            return i + 1;
        }
    }
    return 0;
}

/** The length up to the last "}", or the whole length without one. */
size_t MeasureUnclosed(const char* text, size_t length) {
    const void* const last = memrchr(text, '}', length);
    return last != nullptr ? static_cast<size_t>(static_cast<const char*>(last) - text) + 1
                           : length;
}

}  // namespace

CUTF8String GetJson(const CByteZone& reply) {
    const void* const first =
        reply.IsEmpty() ? nullptr : std::memchr(reply.GetData(), '{', reply.GetSize());
    if (first == nullptr) {
        RAISE(CException("Data is empty"));
    }
    const auto* const text = static_cast<const char*>(first);
    const size_t rest = reply.GetSize() -
                        static_cast<size_t>(text - reinterpret_cast<const char*>(reply.GetData()));
    size_t length = MeasureObject(text, rest);
    if (length == 0) {
        length = MeasureUnclosed(text, rest);
    }
    return CUTF8String(text, static_cast<ptrdiff_t>(length));
}
