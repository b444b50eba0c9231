#include "system/pid_file.h"

#include "util/file_handle.h"

#include <unistd.h>

bool CPidFile::Exists() const noexcept { return access(path, F_OK) == 0; }

void CPidFile::Write() const noexcept {
    const CFileHandle file(fopen(path, "w"));
    if (file) {
        fprintf(file.get(), "%d\n", static_cast<int>(getpid()));
    }
}

void CPidFile::Remove() const noexcept { unlink(path); }
