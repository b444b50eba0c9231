#include "util/secure_heap.h"

#include "util/ct_string.h"
#include "util/ct_zone.h"

#include <gtest/gtest.h>

#include <malloc.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <functional>
#include <new>
#include <string>
#include <utility>

static const void* watchedBlock;
static std::string freedBytes;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define SKIP_WITH_SANITIZER() GTEST_SKIP() << "the sanitizer has the heap"
#else
#define SKIP_WITH_SANITIZER()

// The program's own free sees the blocks as they go back to the heap.
extern "C" void __libc_free(void* block);
extern "C" void free(void* block) noexcept {
    if (block != nullptr && block == watchedBlock) {
        watchedBlock = nullptr;
        freedBytes.assign(static_cast<const char*>(block), malloc_usable_size(block));
    }
    __libc_free(block);
}
#endif

namespace {

constexpr size_t kHeader = 16;
constexpr uint64_t kInUse = 0x80000000;

const unsigned char* HeaderOf(const void* data) {
    return static_cast<const unsigned char*>(data) - kHeader;
}

uint64_t MarkOf(const void* data) {
    uint64_t mark = 0;
    std::memcpy(&mark, HeaderOf(data), sizeof(mark));
    return mark;
}

using CSecureString = CTString<CUTF8Encoding, true>;

const char kSecret[] = "a secret that is longer than any header";

}  // namespace

TEST(SecureHeap, MarksBlocksAndCountsReleasesOnly) {
    CSecureHeap& heap = CSecureHeap::Instance();
    for (const size_t bytes : {0, 1, 8, 9, 100, 0x20000}) {
        const uint64_t before = heap.GetStatistics();
        void* const block = heap.Allocate(bytes);
        const uint64_t total = std::max<uint64_t>(bytes + kHeader, 24);
        EXPECT_EQ(MarkOf(block), total + kInUse);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % alignof(max_align_t), 0u);
        EXPECT_EQ(heap.GetStatistics(), before);
        heap.Release(block);
        EXPECT_EQ(heap.GetStatistics(), before - total);
    }
    heap.Release(nullptr);
}

TEST(SecureHeap, RefusesWhatItsMarkCannotHold) {
    CSecureHeap& heap = CSecureHeap::Instance();
    for (const size_t bytes : {size_t{0x7FFFFFF0}, size_t{0x80000000}, SIZE_MAX, SIZE_MAX - 15}) {
        EXPECT_THROW(heap.Allocate(bytes), std::bad_alloc);
    }
}

TEST(SecureHeap, WipesBeforeTheBlockGoesBack) {
    SKIP_WITH_SANITIZER();
    const struct {
        const char* name;
        std::function<void(CSecureByteZone&, CSecureString&)> release;
        bool isString;
    } rows[] = {
        {"clear", [](auto& zone, auto&) { zone.Clear(); }, false},
        {"growth", [](auto& zone, auto&) { zone.Append(1); }, false},
        {"assignment", [](auto& zone, auto&) { zone = CSecureByteZone(); }, false},
        {"empty assignment", [](auto& zone, auto&) { zone.Assign(nullptr, 0); }, false},
        {"destructor", [](auto& zone, auto&) { CSecureByteZone(std::move(zone)); }, false},
        {"string truncated", [](auto&, auto& text) { text.Truncate(0); }, true},
        {"string growth", [](auto&, auto& text) { text.Append("more"); }, true},
        {"string assigned", [](auto&, auto& text) { text = "other"; }, true},
        {"string destructor", [](auto&, auto& text) { CSecureString(std::move(text)); }, true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        CSecureByteZone zone(kSecret);
        CSecureString text(kSecret);
        const void* const data = row.isString ? static_cast<const void*>(text.GetBuffer())
                                              : static_cast<const void*>(zone.GetData());
        freedBytes.clear();
        watchedBlock = HeaderOf(data);
        row.release(zone, text);
        ASSERT_GE(freedBytes.size(), kHeader + sizeof(kSecret) - 1);
        EXPECT_EQ(freedBytes.substr(kHeader, sizeof(kSecret) - 1),
                  std::string(sizeof(kSecret) - 1, '\0'));
    }
}
