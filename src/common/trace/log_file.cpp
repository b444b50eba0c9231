#include "trace/log_file.h"

#include "system/build_info.h"
#include "system/host.h"
#include "system/product.h"

#include <openssl/opensslv.h>

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <stdexcept>

namespace {

constexpr char kRule[] = "##################################################\n";

tm GetLocalTime() {
    const time_t now = time(nullptr);
    tm local{};
    localtime_r(&now, &local);
    return local;
}

/** The distribution's name as its own tool prints it, without the line's end. */
CISOString GetDistribution() {
    try {
        CISOString name(ReadCommand("lsb_release -d | tail -n 1 | cut -c 14-"));
        return name.TrimRight('\n');
    } catch (const std::runtime_error&) {
        return {};
    }
}

CISOString GetOperatingSystem() {
    const CISOString distribution = GetDistribution();
    const bool unknown =
        distribution.GetLength() == 0 || !distribution.Find(CISOString("not found")).IsNull();
    return unknown ? CISOString("linux.workstation") : CISOString("linux: ") + distribution;
}

void WriteHeader(CLineWriter& writer, const tm& start) {
    writer.Append(kRule);
    writer.AppendFormat("# Starting log on %04d-%02d-%02d at %02d:%02d:%02d\n",
                        start.tm_year + 1900, start.tm_mon + 1, start.tm_mday, start.tm_hour,
                        start.tm_min, start.tm_sec);
    writer.AppendFormat("# Process ID: %d\n", static_cast<int>(getpid()));
    writer.AppendFormat("# Arch: %s\n", GetMachineArchitecture().GetText());
    writer.AppendFormat("# Executable path: %s\n", GetExecutablePath().GetText());
    writer.AppendFormat("# Middleware path: %s\n", GetLibraryDir());
    writer.AppendFormat("# Middleware version: %s\n", GetVersionString());
    writer.AppendFormat("# OpenSSL version: %s\n", OPENSSL_VERSION_TEXT);
    writer.AppendFormat("# OS version: %s\n", GetOperatingSystem().GetText());
    writer.AppendFormat("# Commit hash: %s\n", GetCommitHash());
    writer.AppendFormat("# Build date: %s\n", GetBuildDate());
    writer.Append('\n');
}

}  // namespace

CUTF8String CLogFile::BuildPath(const CUTF8String& directory, const tm& start) {
    if (!executableKnown) {
        executable = GetExecutableName();
        executableKnown = true;
    }
    char date[64];
    snprintf(date, sizeof(date), "%04d-%02d-%02d_%02d-%02d-%02d", start.tm_year + 1900,
             start.tm_mon + 1, start.tm_mday, start.tm_hour, start.tm_min, start.tm_sec);
    CUTF8String path = directory + "/qorvs_" + date;
    if (executable.GetLength() > 0) {
        path.Append("_").Append(executable);
    }
    return path.Append("_").Append(CUTF8String::FromUInt(static_cast<uint64_t>(getpid()))) + ".log";
}

bool CLogFile::Open(const CUTF8String& directory, CLineWriter& writer) {
    const tm start = GetLocalTime();
    const CUTF8String path = BuildPath(directory, start);
    const int opened = open(path.GetText(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    if (opened < 0) {
        return false;
    }
    if (descriptor >= 0) {
        close(descriptor);
    }
    descriptor = opened;
    WriteHeader(writer, start);
    writer.Flush(descriptor);
    return true;
}

void CLogFile::Close(CLineWriter& writer) noexcept {
    writer.Append("\n# Ending log\n");
    writer.Append(kRule);
    writer.Flush(descriptor);
    close(descriptor);
    descriptor = -1;
}
