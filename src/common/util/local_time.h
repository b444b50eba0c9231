/**
 * Local time as text.
 */
#pragma once

#include "util/ct_string.h"

#include <time.h>

/** "2024-07-01T14:05:09+02:00": local time and what it is ahead of UTC (ISO 8601). */
CUTF8String GetTimeStampText(time_t moment);

/** "140509": the local time of day. */
CUTF8String GetShortTimeText(time_t moment);
