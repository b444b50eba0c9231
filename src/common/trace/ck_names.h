/**
 * What the library itself asks of the name tables, beside what qorvs/ck_names.h exports.
 */
#pragma once

#include <qorvs/cryptoki.h>

/** The name of a return code, or null where GetCkErrorString has none. */
const char* FindCkErrorName(CK_RV code) noexcept;
