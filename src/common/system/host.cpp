#include "system/host.h"

#include "system/product.h"
#include "util/raise.h"
#include <qorvs/trace.h>

#include <errno.h>
#include <string.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <memory>
#include <stdexcept>

namespace {

struct CPipeCloser {
    void operator()(FILE* pipe) const { pclose(pipe); }
};
using CPipe = std::unique_ptr<FILE, CPipeCloser>;

CPipe OpenPipe(const char* command) { return CPipe(popen(command, "re")); }

/** Everything that the command prints; a signal handler of the host does not end it early. */
std::string ReadToEnd(FILE* pipe) {
    std::string output;
    char piece[2048];
    for (;;) {
        const size_t count = fread(piece, 1, sizeof(piece), pipe);
        output.append(piece, count);
        if (count == sizeof(piece)) {
            continue;
        }
        if (ferror(pipe) == 0 || errno != EINTR) {
            return output;
        }
        clearerr(pipe);
    }
}

CUTF8String FromBytes(const std::string& bytes) {
    return CUTF8String(bytes.data(), static_cast<ptrdiff_t>(bytes.size()));
}

std::unique_ptr<CISOString> ReadMachineArchitecture() {
    auto name = std::make_unique<CISOString>();
    try {
        *name = CISOString(ReadCommand("uname -m")).TrimRight('\n');
    } catch (const std::runtime_error&) {
        TraceString0("Error while trying to read system architecture");
    }
    return name;
}

}  // namespace

CUTF8String ReadCommand(const char* command) {
    const CPipe pipe = OpenPipe(command);
    if (!pipe) {
        RAISE(std::runtime_error("popen() failed!"));
    }
    return FromBytes(ReadToEnd(pipe.get()));
}

std::string ReadCommandTrimmed(const char* command) {
    const CPipe pipe = OpenPipe(command);
    if (!pipe) {
        TraceString("Error linux command : %s", command);
        return {};
    }
    std::string output = ReadToEnd(pipe.get());
    // Of an empty text there is no last character, and erase throws.
    output.erase(output.size() - 1);
    return output;
}

std::string RunCommand(const char* command) {
    try {
        return ReadCommandTrimmed(command);
    } catch (const std::out_of_range&) {
        return {};
    }
}

CUTF8String ReadLink(const char* link) {
    for (std::string target(256, '\0');; target.assign(target.size() * 2, '\0')) {
        const ssize_t length = readlink(link, &target[0], target.size());
        if (length < 0) {
            return {};
        }
        if (static_cast<size_t>(length) < target.size()) {
            return CUTF8String(target.c_str(), -1);
        }
    }
}

CUTF8String GetExecutablePath() {
    char link[64];
    snprintf(link, sizeof(link), "/proc/%d/exe", static_cast<int>(getpid()));
    return ReadLink(link);
}

CUTF8String GetExecutableName() {
    const CUTF8String path = GetExecutablePath();
    const char* const slash = strrchr(path.GetText(), '/');
    return slash != nullptr ? CUTF8String(slash + 1, -1) : path;
}

int GetSessionId() { return static_cast<int>(getsid(getpid())); }

CISOString GetMachineArchitecture() {
    // Not a guarded static: the guard would be held while the command runs, and a trace call that
    // waits for it may hold the lock that the command's failure is traced under.
    static std::atomic<const CISOString*> kept{nullptr};
    const CISOString* name = kept.load(std::memory_order_acquire);
    if (name == nullptr) {
        std::unique_ptr<CISOString> read = ReadMachineArchitecture();
        if (kept.compare_exchange_strong(name, read.get(), std::memory_order_acq_rel)) {
            name = read.release();
        }
    }
    return CISOString(name->GetBuffer(), static_cast<ptrdiff_t>(name->GetLength()));
}

CUTF8String GetDataFilePath(const CUTF8String& name) {
    const CUTF8String executable = GetExecutablePath();
    if (executable.StartsWith("/usr")) {
        return CUTF8String(GetShareDir()) + "/" + name;
    }
    const char* const slash = strrchr(executable.GetText(), '/');
    const ptrdiff_t directory = slash != nullptr ? slash + 1 - executable.GetText() : 0;
    return CUTF8String(executable.GetText(), directory) + name;
}
