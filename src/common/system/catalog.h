/**
 * The catalog of messages for the event log, compiled in.
 *
 * An event id is a 32-bit word: the severity in the top two bits, the facility in bits 16 to 27 and
 * the number within the facility below. Categories are entries as well, with the ids 1 to 6. All
 * texts live as long as the process; any thread may ask.
 */
#pragma once

#include <cstdint>

/** The top two bits of an event id. */
enum class ESeverity : uint32_t { kInternal, kInformational, kWarning, kError };

constexpr ESeverity GetSeverity(uint32_t id) { return static_cast<ESeverity>(id >> 30); }

/** The text of an entry, with its placeholders "%1" to "%9", or null for an unknown id. */
const char* GetCatalogText(uint32_t id) noexcept;

/** "Internal", "Informational", "Warning" or "Error" for 0 to 3, else null. */
const char* GetSeverityName(uint32_t severity) noexcept;

/** "System", "IO", "Service", "Cache", "SCard" or "Log" for 0x101 to 0x106, else null. */
const char* GetFacilityName(uint32_t facility) noexcept;
