/**
 * The placeholder language of messages.
 */
#pragma once

#include "util/ct_string.h"
#include "util/fmt_args.h"

/**
 * Expands the placeholders of a text.
 *
 * "%1" to "%9" stand for the arguments, "%1!SPEC!" for an argument by a conversion (CTFmtArg),
 * "%%" for a percent sign. An argument that is not there gives an empty text, "%" and any other
 * character give nothing. A "%" at the end, or a conversion without its closing "!", ends the
 * text there. Malformed sequences of the text become "?". Nothing is thrown but std::bad_alloc.
 */
template <class Encoding>
CTString<Encoding, false> FormatMessage(const typename CTFmtArgs<Encoding, false>::Text& text,
                                        const CTFmtArgs<Encoding, false>& args);

extern template CUTF8String FormatMessage(const CUTF8String&, const CUTF8FmtArgs&);
extern template CISOString FormatMessage(const CISOString&, const CISOFmtArgs&);
