/**
 * The object behind the exported trace functions.
 */
#pragma once

#include "qorvs/cryptoki.h"

#include <cstdarg>

/**
 * Writes to the log of the process. No data, one instance, made while the library loads and never
 * destroyed. The order of the operations is relied on by modules built against it.
 *
 * Every operation takes the output guard and does nothing when it is inactive. Any thread may call;
 * nothing is thrown.
 */
class Tracer {
public:
    virtual void Enter(const char* name) noexcept;
    virtual void Leave(const char* name) noexcept;
    virtual void String(const char* format, va_list arguments) noexcept
        __attribute__((format(printf, 2, 0)));
    virtual void Template(const CK_ATTRIBUTE* attributes, CK_ULONG count,
                          unsigned char hideValues) noexcept;
    virtual void Mechanism(const CK_MECHANISM* mechanism) noexcept;
    virtual void MechanismInfo(const CK_MECHANISM_INFO* info) noexcept;
    virtual void TokenInfo(const CK_TOKEN_INFO* info) noexcept;
    virtual void SessionInfo(const CK_SESSION_INFO* info) noexcept;

protected:
    ~Tracer() = default;
};
