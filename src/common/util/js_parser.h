/**
 * The reader of JSON texts. There is no writer.
 */
#pragma once

#include "util/js_value.h"

/**
 * Reads the first value from the cursor on and moves the cursor behind it. What follows is left
 * alone.
 *
 * More lenient than RFC 8259: hexadecimal numbers ("0x1F"), keys without quotes, a comma before a
 * closing brace and further escapes are taken; any character but a comma ends an array. Stricter:
 * numbers have neither sign nor exponent, and integers keep their low 32 bits. A double is read
 * alike under every locale. Text is UTF-8 and is not checked; keys are narrowed to ISO 8859-1, with
 * "?" for what has no place in it.
 *
 * Nothing is thrown: where no value can be read the result is the shared null value, also as an
 * element, and an object that is malformed or cut off becomes it, whereas an array keeps what it
 * has. A malformed object moves the cursor to the end; a missing ":" or "}" is traced. Depth is
 * bounded by memory alone, and the time grows with the length of the text. The text needs no
 * terminator.
 */
CJSValuePtr Parse(const char*& cursor, const char* end);
