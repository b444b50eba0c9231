/**
 * The size of a curve's field.
 */
#pragma once

#include "crypto/openssl_handle.h"

#include <cstddef>

/** In bytes: how long coordinates are. */
inline size_t GetFieldSize(const EC_GROUP* group) {
    return (static_cast<size_t>(EC_GROUP_get_degree(group)) + 7) / 8;
}
