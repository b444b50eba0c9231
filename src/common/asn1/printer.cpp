#include "asn1/printer.h"

void CPrinter::Emit(const CUTF8String& piece) {
    if (atLineStart && indent > 0) {
        text.PadRight(text.GetLength() + static_cast<size_t>(indent), U'\t');
    }
    text.Append(piece);
    atLineStart = piece.EndsWith("\n");
}

void CPlainPrinter::Open(const char* title) {
    Emit(CUTF8String(title) + "\n");
    ++indent;
}

void CPlainPrinter::Close() { --indent; }
