/**
 * The heap of the secure strings and zones: what it hands out is wiped before it goes back.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>

/**
 * One heap for the process, made on first use and never destroyed, since static objects that end
 * after it still release their secrets. Its reserved block is zeroed and freed at exit.
 *
 * Any thread may call. Pages are not locked against swapping.
 */
class CSecureHeap {
public:
    static CSecureHeap& Instance();

    /**
     * `bytes` bytes, aligned for any type, not cleared. Throws std::bad_alloc when there is no
     * memory or the block with its header of 16 bytes would reach 2 GiB.
     */
    void* Allocate(size_t bytes);

    /** Wipes and frees a block that Allocate gave. Null is ignored. */
    void Release(void* block) noexcept;

    /** What releases have taken off, headers included: counted down from zero, modulo 2^64. */
    uint64_t GetStatistics();

private:
    CSecureHeap();

    static void ReleaseReserve();

    std::mutex mutex;
    unsigned char* reserve;
    // Kept: only ever taken from. The low word of a block's header is what it is taken by.
    uint64_t statistics = 0;
};
