#include "util/secure_heap.h"

#include "util/ct_string.h"
#include "util/ct_zone.h"

#include <gtest/gtest.h>

#include <malloc.h>

#include <algorithm>
#include <cstddef>
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

const void* HeaderOf(const void* data) { return static_cast<const char*>(data) - kHeader; }

const void* DataOf(const CSecureByteZone& zone) { return zone.GetData(); }
const void* DataOf(const CTString<CUTF8Encoding, true>& text) { return text.GetBuffer(); }

const char kSecret[] = "a secret that is longer than any header";

}  // namespace

TEST(SecureHeap, MarksBlocksThatFitAndCountsReleasesOnly) {
    CSecureHeap& heap = CSecureHeap::Instance();
    for (const size_t bytes : {0, 1, 8, 9, 100, 0x20000}) {
        const uint64_t before = heap.GetStatistics();
        void* const block = heap.Allocate(bytes);
        const uint64_t total = std::max<uint64_t>(bytes + kHeader, 24);
        EXPECT_EQ(*static_cast<const uint64_t*>(HeaderOf(block)), total + kInUse);
        heap.Release(block);
        EXPECT_EQ(heap.GetStatistics(), before - total);
    }
    heap.Release(nullptr);
    for (const size_t bytes : {size_t{0x7FFFFFF0}, SIZE_MAX, SIZE_MAX - 15}) {
        EXPECT_THROW(heap.Allocate(bytes), std::bad_alloc);
    }
}

template <class Holder>
static void ExpectWiped(const std::function<void(Holder&)>& release) {
    constexpr size_t kLength = sizeof(kSecret) - 1;
    Holder holder(kSecret);
    freedBytes.clear();
    watchedBlock = HeaderOf(DataOf(holder));
    release(holder);
    EXPECT_EQ(freedBytes.substr(std::min(kHeader, freedBytes.size()), kLength),
              std::string(kLength, '\0'));
}

TEST(SecureHeap, WipesBeforeTheBlockGoesBack) {
    SKIP_WITH_SANITIZER();
    using CZone = CSecureByteZone;
    ExpectWiped<CZone>([](CZone& zone) { zone.Clear(); });
    ExpectWiped<CZone>([](CZone& zone) { zone.Append(1); });
    ExpectWiped<CZone>([](CZone& zone) { CZone(std::move(zone)); });
    using CText = CTString<CUTF8Encoding, true>;
    ExpectWiped<CText>([](CText& text) { text.Truncate(0); });
    ExpectWiped<CText>([](CText& text) { text.Append("more"); });
    ExpectWiped<CText>([](CText& text) { text = "other"; });
}
