/**
 * Outputs whose size OpenSSL tells when it is asked with a null buffer.
 */
#pragma once

#include <cstddef>
#include <utility>

/**
 * Runs `call(buffer, size)` of the code style twice, for the size and for the bytes, and cuts the
 * zone to what the second run says. The zone may be one of the call's inputs; it is empty after a
 * failure.
 */
template <class Zone, class Call>
int FillZone(Zone& out, Call call) {
    Zone filled;
    size_t size = 0;
    int result = call(nullptr, size);
    if (result > 0) {
        filled = Zone(size, 0);
        result = call(filled.GetData(), size);
        filled.Resize(result > 0 ? size : 0);
    }
    out = std::move(filled);
    return result;
}
