#include "util/event_message.h"

#include "system/catalog.h"
#include "util/format_message.h"

#include <charconv>
#include <cstring>
#include <iterator>

CEventMessage MakeTextMessage(const CUTF8String& text, int16_t category) {
    CEventMessage message(kTextMessage, category);
    message.args << text;
    return message;
}

CUTF8String GetErrnoText(int error) {
    char words[1024];
    char number[16];
    *std::to_chars(std::begin(number), std::end(number) - 1, error).ptr = 0;
    return CUTF8String(strerror_r(error, words, sizeof(words))) + ". (" + number + ")";
}

CEventMessage MakeErrnoMessage(int error, int16_t category) {
    return MakeTextMessage(GetErrnoText(error), category);
}

CEventMessage MakeErrnoMessage(const CUTF8String& function, int error, int16_t category) {
    CEventMessage message(kFailedCallMessage, category);
    message.args << function << GetErrnoText(error);
    return message;
}

CUTF8String RenderMessage(const CEventMessage& message) {
    const bool hasArguments = message.args.GetCount() > 0;
    if (message.id == kTextMessage) {
        return hasArguments ? message.args[0].GetText() : CUTF8String();
    }
    const CUTF8String text(GetCatalogText(message.id));
    return hasArguments ? FormatMessage(text, message.args) : text;
}

CISOString RenderMessageOneLine(const CEventMessage& message) {
    CISOString line(RenderMessage(message));
    char* const units = line.GetWritableBuffer();
    for (size_t i = 0; i < line.GetLength(); ++i) {
        if (units[i] == '\r' || units[i] == '\n') {
            units[i] = ' ';
        }
    }
    return line;
}
