/**
 * Cryptoki structures as lines of the log.
 */
#pragma once

#include "qorvs/cryptoki.h"
#include "trace/line_prefix.h"
#include "trace/line_writer.h"
#include "trace/name_table.h"

/**
 * Writes one structure; all its lines have the prefix of the moment when the object was made.
 *
 * Made within an active output guard. Values are read as they stand: nothing is kept, and no byte
 * beyond a stated length is read.
 */
class CStructureDump {
public:
    explicit CStructureDump(CLineWriter& lineWriter) noexcept;

    void Template(const CK_ATTRIBUTE* attributes, CK_ULONG count, bool hideValues) noexcept;
    void Mechanism(const CK_MECHANISM& mechanism) noexcept;
    void MechanismInfo(const CK_MECHANISM_INFO& info) noexcept;
    void TokenInfo(const CK_TOKEN_INFO& info) noexcept;
    void SessionInfo(const CK_SESSION_INFO& info) noexcept;

private:
    void Attribute(const CK_ATTRIBUTE& attribute, bool hideValues) noexcept;
    void Line(const char* label) noexcept;
    void Number(const char* label, CK_ULONG number) noexcept;
    void Text(const char* label, const CK_UTF8CHAR* text, int length) noexcept;
    void Version(const char* label, const CK_VERSION& version) noexcept;
    void Flags(const char* label, CK_FLAGS flags, const CNameTable& names) noexcept;

    CLineWriter& writer;
    const CLinePrefix prefix;
};
