/**
 * One file fetched in the background, and how downloads are stored.
 */
#pragma once

#include "system/thread.h"
#include "util/ct_string.h"
#include "util/ct_zone.h"

#include <functional>

/**
 * Writes a file, replacing an older one; false when it cannot be opened or written. There is no
 * step of renaming: who reads meanwhile sees a short file.
 */
bool WriteFileBytes(const char* path, const CByteZone& content);

/**
 * Fetches a URL into a file, on a thread of its own.
 *
 * Goes through the desktop's proxies, over TLS for "https". What comes with status 200 is stored as
 * it is: nothing is checked but what TLS checks. Failures are in the trace log only.
 */
class DownloadThread : public CThread {
public:
    /** Directory and name are taken byte by byte. Missing directories are made. */
    DownloadThread(const CISOString& fileUrl, const CISOString& targetDirectory,
                   const CISOString& targetName);

    int32_t Run() override;

    /** Called by the thread at its end, whatever the outcome; must not throw. */
    std::function<void()> onFinished;

private:
    void Download();

    CISOString url;
    CISOString directory;
    CISOString fileName;
};
