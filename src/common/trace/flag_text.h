/**
 * Lists of flags by name.
 */
#pragma once

#include "trace/line_writer.h"
#include "trace/name_table.h"

/**
 * Appends the names of the set bits, lowest first, each with a blank behind it, and a line feed;
 * "none" for a value of zero. A bit without a name appears as a number. Only the low 32 bits count.
 */
void AppendFlags(CLineWriter& writer, unsigned long flags, const CNameTable& names) noexcept;
