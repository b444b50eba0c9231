#include "system/pid_file.h"

#include <unistd.h>

#include <cstdio>
#include <memory>

namespace {

struct CFileCloser {
    void operator()(FILE* file) const { fclose(file); }
};

}  // namespace

bool CPidFile::Exists() const noexcept { return access(path, F_OK) == 0; }

void CPidFile::Write() const noexcept {
    const std::unique_ptr<FILE, CFileCloser> file(fopen(path, "w"));
    if (file) {
        fprintf(file.get(), "%d\n", static_cast<int>(getpid()));
    }
}

void CPidFile::Remove() const noexcept { unlink(path); }
