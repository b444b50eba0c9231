#include "util/secure_heap.h"

#include <pthread.h>
#include <string.h>

#include <algorithm>
#include <cstdlib>
#include <new>

namespace {

constexpr size_t kReserveBytes = 0x20000;
constexpr size_t kHeaderBytes = 16;
constexpr size_t kSmallestBlock = 24;

// The high bit of the header's low word marks a block in use, so totals have 31 bits.
constexpr uint64_t kInUse = 0x80000000;

unsigned char* HeaderOf(void* block) { return static_cast<unsigned char*>(block) - kHeaderBytes; }

}  // namespace

CSecureHeap& CSecureHeap::Instance() {
    alignas(CSecureHeap) static unsigned char storage[sizeof(CSecureHeap)];
    static CSecureHeap* const heap = new (storage) CSecureHeap;
    return *heap;
}

CSecureHeap::CSecureHeap() : reserve(static_cast<unsigned char*>(std::malloc(kReserveBytes))) {
    std::atexit(&CSecureHeap::ReleaseReserve);
    // A child must not inherit the lock from a thread that it does not have.
    pthread_atfork([] { Instance().mutex.lock(); }, [] { Instance().mutex.unlock(); },
                   [] { Instance().mutex.unlock(); });
}

void CSecureHeap::ReleaseReserve() {
    CSecureHeap& heap = Instance();
    const std::lock_guard<std::mutex> lock(heap.mutex);
    if (heap.reserve != nullptr) {
        explicit_bzero(heap.reserve, kReserveBytes);
    }
    std::free(heap.reserve);
    heap.reserve = nullptr;
}

void* CSecureHeap::Allocate(size_t bytes) {
    if (bytes >= kInUse - kHeaderBytes) {
        throw std::bad_alloc();
    }
    const std::lock_guard<std::mutex> lock(mutex);
    const size_t total = std::max(bytes + kHeaderBytes, kSmallestBlock);
    auto* header = static_cast<unsigned char*>(std::malloc(total));
    if (header == nullptr) {
        throw std::bad_alloc();
    }
    const uint64_t mark = total + kInUse;
    memcpy(header, &mark, sizeof(mark));
    return header + kHeaderBytes;
}

void CSecureHeap::Release(void* block) noexcept {
    if (block == nullptr) {
        return;
    }
    const std::lock_guard<std::mutex> lock(mutex);
    unsigned char* const header = HeaderOf(block);
    uint64_t mark = 0;
    memcpy(&mark, header, sizeof(mark));
    const uint64_t total = (mark - kInUse) & (kInUse - 1);
    statistics -= total;
    explicit_bzero(block, total - kHeaderBytes);
    std::free(header);
}

uint64_t CSecureHeap::GetStatistics() {
    const std::lock_guard<std::mutex> lock(mutex);
    return statistics;
}
