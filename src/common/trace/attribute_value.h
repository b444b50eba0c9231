/**
 * Values of Cryptoki attributes as text, and which of them may be shown.
 */
#pragma once

#include "qorvs/cryptoki.h"
#include "trace/line_writer.h"
#include "trace/name_table.h"

/** Appends a number's name, or "0x" and sixteen digits when the table has none. */
void AppendNameOrNumber(CLineWriter& writer, unsigned long number,
                        const CNameTable& names) noexcept;

/**
 * Appends the value of an attribute whose pointer is not null: in the form of its type, in
 * hexadecimal when the length does not fit the type, by its length only when it is a secret.
 */
void AppendAttributeValue(CLineWriter& writer, const CK_ATTRIBUTE& attribute) noexcept;
