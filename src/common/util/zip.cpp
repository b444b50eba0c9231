#include "util/zip.h"

#include "util/exception.h"
#include "util/raise.h"

#include <miniz.h>

#include <climits>

namespace {

constexpr size_t kBlockSize = 4096;

/** An inflate stream over a zone. */
class CInflateStream {
public:
    explicit CInflateStream(const CByteZone& zipped)
        : isOpen(zipped.GetSize() <= UINT_MAX && mz_inflateInit(&stream) == MZ_OK) {
        stream.next_in = zipped.GetData();
        stream.avail_in = static_cast<unsigned>(zipped.GetSize());
    }
    ~CInflateStream() {
        if (isOpen) {
            mz_inflateEnd(&stream);
        }
    }
    CInflateStream(const CInflateStream&) = delete;
    CInflateStream& operator=(const CInflateStream&) = delete;

    bool IsOpen() const { return isOpen; }
    bool IsAtEnd() const { return status == MZ_STREAM_END; }

    /** Appends up to a block; false when the stream is damaged or ends too early. */
    bool ReadBlock(CByteZone& data) {
        unsigned char block[kBlockSize];
        stream.next_out = block;
        stream.avail_out = kBlockSize;
        status = mz_inflate(&stream, MZ_SYNC_FLUSH);
        data.Append(block, kBlockSize - stream.avail_out);
        return status == MZ_OK || status == MZ_STREAM_END || stream.avail_out == 0;
    }

private:
    mz_stream stream = {};
    int status = MZ_OK;
    bool isOpen;
};

bool Inflate(const CByteZone& zipped, size_t limit, CByteZone& data) {
    CInflateStream stream(zipped);
    if (!stream.IsOpen()) {
        return false;
    }
    while (!stream.IsAtEnd()) {
        if (!stream.ReadBlock(data) || data.GetSize() > limit) {
            return false;
        }
    }
    return true;
}

}  // namespace

CByteZone ZipEncode(const CByteZone& data) {
    if (data.IsEmpty()) {
        return {};
    }
    mz_ulong length = mz_compressBound(data.GetSize());
    CByteZone zipped;
    zipped.Resize(length);
    if (mz_compress(zipped.GetData(), &length, data.GetData(), data.GetSize()) != MZ_OK) {
        // Kept: the two directions report each other's sentence. Logs are matched on these words.
        TraceString("Could not inflate");
        RAISE(CException());
    }
    zipped.Resize(length);
    return zipped;
}

CByteZone ZipDecode(const CByteZone& zipped, size_t limit) {
    CByteZone data;
    if (!zipped.IsEmpty() && !Inflate(zipped, limit, data)) {
        TraceString("Could not initialize deflate");
        RAISE(CException());
    }
    return data;
}
