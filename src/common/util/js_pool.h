/**
 * Memory for the values of one tree.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>

/**
 * Hands out memory from blocks, which count what is in use and go with the last of it. So values
 * outlive the pool that they come from.
 *
 * A block belongs to one thread at a time, as the tree does whose values are in it.
 */
class CJSPool {
public:
    CJSPool() = default;
    ~CJSPool() { Leave(); }
    CJSPool(const CJSPool&) = delete;
    CJSPool& operator=(const CJSPool&) = delete;

    /** Memory for a value, of far less than a block; throws std::bad_alloc. */
    void* Allocate(size_t size) {
        const size_t bytes = (size + alignof(CBlock) - 1) / alignof(CBlock) * alignof(CBlock);
        if (block == nullptr || kBlockBytes - block->used < bytes) {
            CBlock* const next = CBlock::Create();
            Leave();
            block = next;
        }
        void* const memory = reinterpret_cast<unsigned char*>(block) + block->used;
        block->used += bytes;
        ++block->users;
        return memory;
    }

    /** Gives memory back, of whichever pool. */
    static void Release(void* memory) noexcept {
        const auto address = reinterpret_cast<uintptr_t>(memory);
        CBlock::Drop(reinterpret_cast<CBlock*>(address - address % kBlockBytes));
    }

private:
    // The address of a value leads to its block, which begins at a multiple of this. Smaller blocks
    // scatter the texts that are allocated in between.
    static constexpr size_t kBlockBytes = 32 << 10;

    struct alignas(8) CBlock {
        size_t used;   // bytes, with this header
        size_t users;  // values that are in use, and the pool

        static CBlock* Create() {
            void* const memory = std::aligned_alloc(kBlockBytes, kBlockBytes);
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

    void Leave() noexcept {
        if (block != nullptr) {
            CBlock::Drop(block);
        }
    }

    CBlock* block = nullptr;
};
