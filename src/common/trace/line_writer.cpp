#include "trace/line_writer.h"

#include "trace/line_mirror.h"

#include <errno.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <new>

namespace {

// Room for a line as most are. A longer one makes the buffer grow, once.
constexpr size_t kUsualLine = 1024;

// What a huge structure has taken is given back.
constexpr size_t kMostKept = size_t{256} * 1024;

constexpr char kHexDigits[] = "0123456789ABCDEF";

void WriteAll(int file, const char* bytes, size_t length) noexcept {
    while (length > 0) {
        // Not write, which is a cancellation point: a thread must not leave with the log's lock.
        const long written = syscall(SYS_write, file, bytes, length);
        if (written > 0) {
            bytes += written;
            length -= static_cast<size_t>(written);
        } else if (written == 0 || errno != EINTR) {
            return;
        }
    }
}

}  // namespace

bool CLineWriter::Grow(size_t length) noexcept {
    try {
        gathered.Reserve(CheckedSum(gathered.GetSize(), std::max(length, kUsualLine)));
    } catch (const std::bad_alloc&) {
        lost = true;
        return false;
    }
    return true;
}

void CLineWriter::AppendDecimal(int number) noexcept {
    char digits[12];
    Append(digits, static_cast<size_t>(std::to_chars(digits, digits + sizeof(digits), number).ptr -
                                       digits));
}

void CLineWriter::AppendHexNumber(uint64_t number, int digits) noexcept {
    while (digits < 16 && number >> (4 * digits) != 0) {
        ++digits;
    }
    char* room = Extend(2 + static_cast<size_t>(digits));
    if (room == nullptr) {
        return;
    }
    *room++ = '0';
    *room++ = 'x';
    for (int shift = 4 * digits; shift > 0; *room++ = kHexDigits[number >> shift & 0x0F]) {
        shift -= 4;
    }
}

void CLineWriter::AppendHex(const unsigned char* bytes, size_t length) noexcept {
    char* room = length <= PTRDIFF_MAX / 2 ? Extend(2 * length) : nullptr;
    if (room == nullptr) {
        return;
    }
    for (size_t i = 0; i < length; ++i) {
        *room++ = kHexDigits[bytes[i] >> 4];
        *room++ = kHexDigits[bytes[i] & 0x0F];
    }
}

void CLineWriter::AppendFormat(const char* format, ...) noexcept {
    va_list arguments;
    va_start(arguments, format);
    AppendFormat(format, arguments);
    va_end(arguments);
}

void CLineWriter::AppendFormat(const char* format, va_list arguments) noexcept {
    const size_t before = gathered.GetSize();
    const size_t room = std::max(gathered.GetCapacity() - before, kUsualLine);
    char* at = Extend(room);
    if (at == nullptr) {
        return;
    }
    va_list again;
    va_copy(again, arguments);
    int length = vsnprintf(at, room, format, arguments);
    if (length >= 0 && static_cast<size_t>(length) >= room) {
        gathered.Resize(before);
        at = Extend(static_cast<size_t>(length) + 1);
        length = at != nullptr ? vsnprintf(at, static_cast<size_t>(length) + 1, format, again) : 0;
    }
    va_end(again);
    if (at != nullptr) {
        gathered.Resize(before + (length >= 0 ? static_cast<size_t>(length) : strnlen(at, room)));
    }
}

void CLineWriter::Flush(int file) noexcept {
    if (!lost) {
        WriteAll(file, gathered.GetData(), gathered.GetSize());
        MirrorLine(gathered.GetData(), gathered.GetSize());
    }
    Discard();
}

void CLineWriter::Discard() noexcept {
    lost = false;
    if (gathered.GetCapacity() > kMostKept) {
        gathered.Clear();
    } else {
        gathered.Resize(0);
    }
}
