/**
 * Files from the maker's download servers.
 */
#pragma once

#include "util/ct_string.h"
#include "util/string_list.h"

#include <cstdint>

/**
 * Asks download servers what they offer, and fetches it, through the desktop's proxies, over TLS
 * for "https" addresses. Belongs to one thread at a time; calls block without limit of time.
 *
 * Nothing that is fetched is checked but by TLS, and names, versions and patterns go into the URL
 * as they stand.
 */
class Downloader {
public:
    /**
     * `serverUrls` are the bases of the servers' URLs, without "/" at the end, and
     * `remoteDirectory` the folder that they are asked about. `languageUrl` is where language files
     * are fetched from, and ends in "/languages/".
     */
    Downloader(const CTStringList<CISOString>& serverUrls, const CISOString& remoteDirectory,
               const CISOString& targetDirectory, const CISOString& languageUrl);

    /**
     * The names of the files that the first server that answers has for a client. Servers that
     * cannot be reached, or whose answer breaks off, are passed over; any status is an answer. None
     * when no server answers, or the answer is no JSON array. Throws nothing.
     *
     * The server that answered is the one that the downloads after it ask.
     */
    CTStringList<CISOString> ListFiles(const CISOString& pattern, const CISOString& version,
                                       int16_t clientId);

    /**
     * Fetches a file into the target directory, replacing an older one. Only status 200 stores
     * anything. A file that cannot be opened is passed over in silence, and so is a name that is
     * empty or leads out of the directory by "..".
     *
     * Throws what connecting, sending and reading throw (system/http_requests.h).
     */
    void DownloadFile(const CISOString& name, int16_t clientId);

    /**
     * Fetches a file as text, its bytes as they are; true when it came and is not empty. Throws
     * nothing.
     *
     * Kept: the text takes the place of the target directory: GetTarget gives it, and a later
     * DownloadFile would store below a directory of that name.
     */
    bool DownloadToString(const CISOString& name, int16_t clientId);

    /**
     * Starts to fetch the file of the preferred language in the background when this process has
     * found none; languageDownloading is true until it has come or failed. The next process finds
     * it (util/language_files.h). Throws EThreadError when no thread can be started.
     */
    void DownloadLanguageIfNeeded();

    /** The target directory, or the text that DownloadToString fetched. */
    const CISOString& GetTarget() const noexcept { return target; }

    /** The index of the server that answered last. */
    uint64_t GetCurrentUrl() const noexcept { return currentUrl; }

private:
    CISOString GetListUrl(const CISOString& base, const CISOString& pattern,
                          const CISOString& version, int16_t clientId) const;
    CISOString GetFileUrl(const CISOString& name, int16_t clientId) const;

    CTStringList<CISOString> urls;
    uint64_t currentUrl = 0;
    CISOString directory;
    CISOString target;
    CISOString supportUrl;
};
