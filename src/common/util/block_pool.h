/**
 * Memory for the many small objects of one tree.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>

/**
 * Hands out memory from blocks, which count what is in use and go with the last of it. So objects
 * outlive the pool that they come from.
 *
 * Aligned blocks begin at a multiple of their size, which leads from an object to its block. With
 * others, which may have any size, a pointer in front of each object does.
 *
 * A block belongs to one thread at a time, as the tree does whose objects are in it.
 */
template <size_t blockBytes, bool isAligned>
class CTBlockPool {
public:
    CTBlockPool() = default;
    ~CTBlockPool() { Leave(); }
    CTBlockPool(const CTBlockPool&) = delete;
    CTBlockPool& operator=(const CTBlockPool&) = delete;

    /** Memory for an object, of far less than a block; throws std::bad_alloc. */
    void* Allocate(size_t size) {
        const size_t bytes =
            kOwnerBytes + (size + alignof(CBlock) - 1) / alignof(CBlock) * alignof(CBlock);
        if (block == nullptr || blockBytes - block->used < bytes) {
            CBlock* const next = CBlock::Create();
            Leave();
            block = next;
        }
        void* const memory = reinterpret_cast<unsigned char*>(block) + block->used + kOwnerBytes;
        if constexpr (!isAligned) {
            static_cast<CBlock**>(memory)[-1] = block;
        }
        block->used += bytes;
        ++block->users;
        return memory;
    }

    /** Gives memory back, of whichever pool of the kind. */
    static void Release(void* memory) noexcept {
        if constexpr (isAligned) {
            const auto address = reinterpret_cast<uintptr_t>(memory);
            CBlock::Drop(reinterpret_cast<CBlock*>(address - address % blockBytes));
        } else {
            CBlock::Drop(static_cast<CBlock**>(memory)[-1]);
        }
    }

private:
    struct alignas(8) CBlock {
        size_t used;   // bytes, with this header
        size_t users;  // objects that are in use, and the pool

        static CBlock* Create() {
            void* memory = nullptr;
            if constexpr (isAligned) {
                memory = std::aligned_alloc(blockBytes, blockBytes);
            } else {
                memory = std::malloc(blockBytes);
            }
            if (memory == nullptr) {
                throw std::bad_alloc();
            }
            return new (memory) CBlock{sizeof(CBlock), 1};
        }
        static void Drop(CBlock* block) noexcept {
            if (--block->users == 0) {
                std::free(block);
            }
        }
    };

    static constexpr size_t kOwnerBytes = isAligned ? 0 : sizeof(void*);

    void Leave() noexcept {
        if (block != nullptr) {
            CBlock::Drop(block);
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
