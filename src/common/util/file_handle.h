/**
 * Owning handles of the C library's files.
 */
#pragma once

#include <cstdio>
#include <memory>

struct CFileCloser {
    void operator()(FILE* file) const noexcept { fclose(file); }
};

/** Closes its file. Whoever must know whether all was written releases it to fclose. */
using CFileHandle = std::unique_ptr<FILE, CFileCloser>;
