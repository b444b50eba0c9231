/**
 * Where the timestamp code gets the time from.
 */
#pragma once

#include <time.h>

/**
 * The clock, in one place, so that a program can run on another one.
 *
 * Has no state: any thread may ask.
 */
// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor): never deleted through a base.
class TimeManager {
public:
    /** Seconds since the Epoch. */
    virtual time_t GetCurrentTime();

    /**
     * Whether a day of the local calendar has begun; `month` and `day` count from 1. What lies
     * outside the calendar is carried over, as mktime does.
     */
    bool IsDatePassed(int year, int month, int day);

    /** The clock in use: the system's, until another one is set. */
    static TimeManager& Instance() noexcept;

    /** Sets the clock, which stays the caller's and must stay; null for the system's. */
    static void SetInstance(TimeManager* clock) noexcept;
};
