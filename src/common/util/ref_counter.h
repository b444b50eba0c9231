/**
 * A value with a reference count behind it, for records that are shared on copy.
 */
#pragma once

#include <cstdint>
#include <utility>

/**
 * The value first, then the count, which starts at 1. The count is plain memory: the holders of one
 * record belong to one thread at a time.
 */
template <class Value>
class CValRefCounter : public Value {
public:
    template <class... Arguments>
    explicit CValRefCounter(Arguments&&... arguments)
        : Value(std::forward<Arguments>(arguments)...) {}

    void AddReference() noexcept { ++count; }

    /** Takes one reference off; true when it was the last, and the caller must delete the record.
     */
    bool DropReference() noexcept { return --count == 0; }

    bool IsShared() const noexcept { return count > 1; }

private:
    int32_t count = 1;
};
