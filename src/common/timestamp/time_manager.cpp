#include "timestamp/time_manager.h"

#include <atomic>

static std::atomic<TimeManager*> instance{nullptr};

time_t TimeManager::GetCurrentTime() { return time(nullptr); }

bool TimeManager::IsDatePassed(int year, int month, int day) {
    tm midnight{};
    midnight.tm_year = year - 1900;
    midnight.tm_mon = month - 1;
    midnight.tm_mday = day;
    midnight.tm_isdst = -1;
    return mktime(&midnight) <= GetCurrentTime();
}

TimeManager& TimeManager::Instance() noexcept {
    static TimeManager systemClock;
    TimeManager* const clock = instance.load(std::memory_order_acquire);
    return clock != nullptr ? *clock : systemClock;
}

void TimeManager::SetInstance(TimeManager* clock) noexcept {
    instance.store(clock, std::memory_order_release);
}
