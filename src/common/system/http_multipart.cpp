#include "system/http_multipart.h"

#include "util/js_parser.h"
#include "util/raise.h"

#include <algorithm>
#include <charconv>
#include <utility>
#include <vector>

namespace {

// Each takes a stream before a byte of it has come; uploads hold a handful.
constexpr int32_t kMaxParts = 65536;

constexpr char kLengthKey[] = "data";
constexpr size_t kLengthKeyLength = sizeof(kLengthKey) - 1;

/** The number of the part whose length has this key, from 1 on; 0 for other keys. */
size_t PartOfKey(const CISOString& key) {
    const char* const digits = key.GetText() + kLengthKeyLength;
    const char* const end = key.GetText() + key.GetLength();
    size_t number = 0;
    if (!key.StartsWith(kLengthKey) || digits == end || *digits == '0' ||
        std::from_chars(digits, end, number).ptr != end) {
        return 0;
    }
    return number;
}

/** The lengths of the parts, by one walk over the entries: both numbers are the peer's. */
std::vector<int64_t> ReadLengths(const CJSValue& description, size_t count) {
    constexpr int64_t kMissing = -1;
    std::vector<int64_t> lengths(count, kMissing);
    for (const CJSValue* entry : description) {
        const size_t part = PartOfKey(entry->GetKey());
        if (part >= 1 && part <= count && lengths[part - 1] == kMissing) {
            lengths[part - 1] = std::max(entry->GetInt(), 0);
        }
    }
    std::replace(lengths.begin(), lengths.end(), kMissing, int64_t{0});
    return lengths;
}

}  // namespace

CHttpMultipartReader::CHttpMultipartReader(std::shared_ptr<CHttpServerConnection> serverConnection,
                                           const CISOString& partBoundary)
    : connection(std::move(serverConnection)), boundary(partBoundary) {
    connection->SkipMultipartBlock(boundary, true);
    ReadPartHeaders(*connection, true, nullptr);
    CByteZone description;
    connection->RecvMultipartBlock(boundary, description, false);
    ReadDescription(description);
    ReadPartHeaders(*connection, false, &headers);
}

void CHttpMultipartReader::ReadDescription(const CByteZone& description) {
    const char* cursor = reinterpret_cast<const char*>(description.GetData());
    const CJSValuePtr value = Parse(cursor, cursor + description.GetSize());
    const int32_t count = value->GetByKey("nbData")->GetInt();
    if (count < 1) {
        return;
    }
    if (count > kMaxParts) {
        RAISE(CHttpException(kInvalidMultipartData));
    }
    for (const int64_t length : ReadLengths(*value, static_cast<size_t>(count))) {
        const auto size = static_cast<uint64_t>(length);
        auto stream = std::make_unique<CHttpIStream>(
            std::make_unique<CHttpStreamBuffer>(connection), boundary, size);
        parts.Append({std::move(stream), size});
    }
}
