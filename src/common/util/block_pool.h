/**
 * Memory for the many small objects of one tree.
 */
#pragma once

#include <cstddef>
#include <new>

/**
 * Hands out memory from blocks, which count what is in use and go with the last of it. So objects
 * outlive the pool that they come from.
 *
 * A block belongs to one thread at a time, as the tree does whose objects are in it.
 */
template <size_t blockBytes>
class CTBlockPool {
public:
    CTBlockPool() = default;
    ~CTBlockPool() { Leave(); }
    CTBlockPool(const CTBlockPool&) = delete;
    CTBlockPool& operator=(const CTBlockPool&) = delete;

    /** Memory for an object, of far less than a block; throws std::bad_alloc. */
    void* Allocate(size_t size) {
        const size_t bytes = (sizeof(CSlot) + size + alignof(CSlot) - 1) / alignof(CSlot);
        if (block == nullptr || kBlockSlots - block->used < bytes) {
            CBlock* const next = new CBlock;
            Leave();
            block = next;
        }
        CSlot* const slot = block->slots + block->used;
        slot->owner = block;
        block->used += bytes;
        ++block->users;
        return slot + 1;
    }

    /** Gives memory back, of whichever pool. */
    static void Release(void* memory) noexcept { Drop(static_cast<CSlot*>(memory)[-1].owner); }

private:
    struct CBlock;

    /** What stands before each object; also the unit of size. */
    struct CSlot {
        CBlock* owner;
    };

    static constexpr size_t kBlockSlots = blockBytes / sizeof(CSlot) - 2;

    struct CBlock {
        size_t used = 0;   // slots
        size_t users = 1;  // objects that are in use, and the pool
        CSlot slots[kBlockSlots];
    };

    static void Drop(CBlock* block) noexcept {
        if (--block->users == 0) {
            delete block;
        }
    }

    void Leave() noexcept {
        if (block != nullptr) {
            Drop(block);
        }
    }

    CBlock* block = nullptr;
};

/** The base of objects that are made as `new (pool) ...`. The pool may go before them. */
template <class Pool>
struct CTPoolObject {
    static void* operator new(size_t size, Pool& pool) { return pool.Allocate(size); }
    static void operator delete(void* memory, Pool& /*pool*/) { Pool::Release(memory); }
    // NOLINTNEXTLINE(misc-new-delete-overloads): the block is found by the address.
    static void operator delete(void* memory) { Pool::Release(memory); }
};
