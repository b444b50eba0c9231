/**
 * Counts who is inside, and tells when the last one has left.
 */
#pragma once

#include "system/event.h"

#include <atomic>
#include <cstdint>

/** Adds one to the counter for a scope; the event is signalled when it comes back to 0. */
class CCountGuard {
public:
    CCountGuard(std::atomic<int32_t>& shared, CEvent& whenZero) noexcept
        : counter(shared), event(whenZero) {
        ++counter;
    }
    ~CCountGuard() {
        if (--counter == 0) {
            event.Signal();
        }
    }

    CCountGuard(const CCountGuard&) = delete;
    CCountGuard& operator=(const CCountGuard&) = delete;

private:
    std::atomic<int32_t>& counter;
    CEvent& event;
};
