#include "system/http_errors.h"

#include <cstring>

CUTF8String WithReason(const char* sentence, int error) {
    char words[128];
    return CUTF8String(sentence) + strerror_r(error, words, sizeof(words));
}
