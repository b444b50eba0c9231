#include "system/http_stream_buffer.h"

#include "system/http_part.h"
#include "util/raise.h"

#include <algorithm>
#include <utility>

namespace {

constexpr uint64_t kBlockSize = 100000;

char* AsText(unsigned char* bytes) { return reinterpret_cast<char*>(bytes); }

}  // namespace

CHttpStreamBuffer::CHttpStreamBuffer(std::shared_ptr<CHttpServerConnection> serverConnection)
    : connection(std::move(serverConnection)), blockSize(kBlockSize) {}

CHttpStreamBuffer::~CHttpStreamBuffer() {
    try {
        CHttpStreamBuffer::sync();
    } catch (...) {
        TraceLine("WARNING Exception raised (rethrow)", __LINE__, __func__);
    }
}

bool CHttpStreamBuffer::ResetWriteArea() {
    if (!std::exchange(made, true)) {
        buffer.Fill(blockSize, 0);
    }
    setp(AsText(buffer.GetData()), AsText(buffer.GetEnd()));
    return true;
}

bool CHttpStreamBuffer::Reset(const CISOString& partBoundary, uint64_t length) {
    boundary = partBoundary;
    contentLength = length;
    buffer.Resize(0);
    made = true;
    SetWindow(0);
    return true;
}

void CHttpStreamBuffer::FinishPart() {
    connection->SkipMultipartBlock(boundary, true);
    ReadPartHeaders(*connection, false, nullptr);
    lastBlock = false;
    finished = true;
}

CHttpStreamBuffer::int_type CHttpStreamBuffer::underflow() {
    if (gptr() < egptr()) {
        return traits_type::to_int_type(*gptr());
    }
    if (finished) {
        return traits_type::eof();
    }
    CHttpStreamBuffer::sync();
    return Receive() ? traits_type::to_int_type(*gptr()) : traits_type::eof();
}

/** Takes the next block in place of the window; whether there is any. */
bool CHttpStreamBuffer::Receive() {
    const uint64_t remaining = GetRemaining();
    lastBlock = remaining < blockSize;
    made = true;
    buffer.Resize(0);
    SetWindow(0);
    const bool more = connection->RecvBlockWithCappedLength(buffer, std::min(remaining, blockSize));
    if (buffer.IsEmpty()) {
        return false;
    }
    finished = !more;
    received += buffer.GetSize();
    SetWindow(0);
    if (buffer.GetSize() < remaining) {
        lastBlock = false;
    } else if (lastBlock) {
        CloseReceived();
    }
    return true;
}

/** Closes the part, all of whose bytes are in the window. */
void CHttpStreamBuffer::CloseReceived() {
    try {
        FinishPart();
    } catch (...) {
        // It was traced. The part is whole, and would be lost to who reads it by a failure here.
        finished = false;
    }
}

/** Makes all of the buffer what is read, from a position on, and nothing what is written to. */
void CHttpStreamBuffer::SetWindow(size_t position) {
    char* const first = AsText(buffer.GetData());
    setg(first, first + position, first + buffer.GetSize());
    setp(nullptr, nullptr);
}

int CHttpStreamBuffer::sync() {
    const auto written = static_cast<size_t>(pptr() - pbase());
    if (written == 0) {
        return 0;
    }
    buffer.Resize(written);
    // Ahead of sending: what fails to be sent is not sent again by the destructor.
    setg(nullptr, nullptr, nullptr);
    setp(nullptr, nullptr);
    connection->SendBlock(buffer);
    sent += written;
    buffer.Clear();
    buffer.Fill(blockSize, 0);
    ResetWriteArea();
    return 0;
}

CHttpStreamBuffer::int_type CHttpStreamBuffer::overflow(int_type character) {
    if (!made) {
        ResetWriteArea();
    }
    if (pptr() == epptr()) {
        CHttpStreamBuffer::sync();
    }
    // Kept: 0 for the end-of-file, where other buffers answer with anything else.
    if (traits_type::eq_int_type(character, traits_type::eof())) {
        return 0;
    }
    if (pptr() == epptr()) {
        return traits_type::eof();
    }
    *pptr() = traits_type::to_char_type(character);
    pbump(1);
    return traits_type::to_int_type(traits_type::to_char_type(character));
}

CHttpStreamBuffer::pos_type CHttpStreamBuffer::seekoff(off_type offset,
                                                       std::ios_base::seekdir direction,
                                                       std::ios_base::openmode which) {
    if (which == std::ios_base::in) {
        return SeekInput(offset, direction);
    }
    return which == std::ios_base::out ? SeekOutput(offset, direction) : pos_type(off_type{-1});
}

CHttpStreamBuffer::pos_type CHttpStreamBuffer::seekpos(pos_type position,
                                                       std::ios_base::openmode which) {
    return CHttpStreamBuffer::seekoff(off_type(position), std::ios_base::beg, which);
}

CHttpStreamBuffer::pos_type CHttpStreamBuffer::SeekInput(off_type offset,
                                                         std::ios_base::seekdir direction) {
    off_type target = 0;
    bool fails = false;
    if (direction == std::ios_base::beg) {
        target = offset;
    } else if (direction == std::ios_base::cur) {
        const uint64_t unread = static_cast<uint64_t>(egptr() - gptr());
        fails = __builtin_add_overflow(offset, received - unread, &target);
    } else if (direction == std::ios_base::end) {
        fails = offset > 0 || __builtin_add_overflow(offset, contentLength, &target);
    }
    return fails ? pos_type(off_type{-1}) : MoveInput(target);
}

CHttpStreamBuffer::pos_type CHttpStreamBuffer::MoveInput(off_type target) {
    const auto end = static_cast<off_type>(received);
    const off_type first = end - (egptr() - eback());
    if (target < first) {
        return off_type{-1};
    }
    if (target > end) {
        return ReceiveUpTo(static_cast<uint64_t>(target));
    }
    setg(eback(), eback() + (target - first), egptr());
    return target;
}

/** Extends the window to a position behind it, or to the end of the data when that comes first. */
CHttpStreamBuffer::pos_type CHttpStreamBuffer::ReceiveUpTo(uint64_t target) {
    if (finished || lastBlock || target - received > GetRemaining()) {
        return off_type{-1};
    }
    CHttpStreamBuffer::sync();
    made = true;
    buffer.Resize(static_cast<size_t>(egptr() - eback()));
    CByteZone block;
    while (!finished && received < target) {
        finished =
            !connection->RecvBlockWithCappedLength(block, std::min(target - received, blockSize));
        buffer.Append(block);
        received += block.GetSize();
        SetWindow(buffer.GetSize());
    }
    if (received == contentLength) {
        CloseReceived();
    }
    return static_cast<off_type>(received);
}

CHttpStreamBuffer::pos_type CHttpStreamBuffer::SeekOutput(off_type offset,
                                                          std::ios_base::seekdir direction) {
    if (!made) {
        ResetWriteArea();
    }
    off_type target = 0;
    bool fails = false;
    if (direction == std::ios_base::beg) {
        fails = __builtin_sub_overflow(offset, sent, &target);
    } else if (direction == std::ios_base::cur) {
        fails = __builtin_add_overflow(offset, pptr() - pbase(), &target);
    } else {
        fails = direction == std::ios_base::end || pbase() != nullptr;
    }
    if (fails || target < 0 || target > epptr() - pbase()) {
        return off_type{-1};
    }
    setp(pbase(), epptr());
    pbump(static_cast<int>(target));
    return target;
}
