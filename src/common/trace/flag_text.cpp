#include "trace/flag_text.h"

void AppendFlags(CLineWriter& writer, unsigned long flags, const CNameTable& names) noexcept {
    if (flags == 0) {
        writer.Append("none\n");
        return;
    }
    for (unsigned bit = 0; bit < 32; ++bit) {
        const unsigned long flag = 1UL << bit;
        if ((flags & flag) == 0) {
            continue;
        }
        if (const char* const name = names.Find(flag)) {
            writer.Append(name);
        } else {
            writer.AppendHexNumber(flag, 8);
        }
        writer.Append(' ');
    }
    writer.Append('\n');
}
