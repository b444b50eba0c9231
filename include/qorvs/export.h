/**
 * Marks the operations that leave the shared object.
 *
 * The library is compiled with hidden visibility; only what carries QORVS_API and stands in the
 * linker's version script is exported.
 */
#pragma once

#define QORVS_API __attribute__((visibility("default")))

#ifdef __cplusplus
#define QORVS_BEGIN_C extern "C" {
#define QORVS_END_C }
#define QORVS_NOEXCEPT noexcept
#else
#define QORVS_BEGIN_C
#define QORVS_END_C
#define QORVS_NOEXCEPT
#endif
