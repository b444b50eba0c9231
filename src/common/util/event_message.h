/**
 * The message that an exception carries and the event log reports: an entry of the catalog and the
 * arguments for it.
 */
#pragma once

#include "util/ct_string.h"
#include "util/fmt_args.h"

#include <cstdint>
#include <utility>

/** The entry whose text is its first argument. */
constexpr uint32_t kTextMessage = 0xC1010001;

/** The entry "The call to <%1> failed for the following reason: %2". */
constexpr uint32_t kFailedCallMessage = 0xC1010002;

/** The category "System error". */
constexpr int16_t kSystemCategory = 1;

/**
 * Event id, category and arguments. Copies share the arguments, so a message and its copies belong
 * to one thread at a time.
 */
struct CEventMessage {
    CEventMessage() = default;
    CEventMessage(uint32_t eventId, int16_t eventCategory, CUTF8FmtArgs arguments = {}) noexcept
        : id(eventId), category(eventCategory), args(std::move(arguments)) {}

    uint32_t id = 0;
    int16_t category = 0;
    CUTF8FmtArgs args;
};

static_assert(sizeof(CEventMessage) == 16, "modules rely on id, category, arguments");

/** A message that is the text itself. */
CEventMessage MakeTextMessage(const CUTF8String& text, int16_t category = kSystemCategory);

/** The system's words for an errno value and the value: "Permission denied. (13)". */
CUTF8String GetErrnoText(int error);

/** A message that is the text of an errno value. */
CEventMessage MakeErrnoMessage(int error, int16_t category);

/** A message that says which call failed with which errno value. */
CEventMessage MakeErrnoMessage(const CUTF8String& function, int error, int16_t category);

/**
 * The text of a message.
 *
 * For kTextMessage it is the first argument, or empty without one. Otherwise it is the catalog's
 * text, with the placeholders as they stand when there are no arguments, and expanded by
 * FormatMessage when there are. An id that the catalog does not know gives an empty text.
 */
CUTF8String RenderMessage(const CEventMessage& message);

/** As RenderMessage, with one blank for each carriage return and each line feed. */
CISOString RenderMessageOneLine(const CEventMessage& message);
