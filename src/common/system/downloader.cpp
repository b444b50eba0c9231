#include "system/downloader.h"

#include "system/download_thread.h"
#include "system/http_requests.h"
#include "system/https.h"
#include "system/product.h"
#include "util/handled_text.h"
#include "util/js_parser.h"
#include "util/language_files.h"
#include "util/raise.h"
#include <qorvs/trace_scope.h>

#include <cstring>
#include <mutex>
#include <string>
#include <vector>

namespace {

constexpr int32_t kStatusOk = 200;

CISOString FromNumber(int32_t number) { return std::to_string(number).c_str(); }

std::unique_ptr<CHttpResponse> Fetch(const CISOString& url) {
    return GetUrl(CHttpsConnectionFactory(), url, false, true);
}

/** Takes the strings of a JSON array; none of anything else. */
void AppendFileNames(const CByteZone& body, CTStringList<CISOString>& names) {
    constexpr unsigned char kByteOrderMark[] = {0xEF, 0xBB, 0xBF};
    const auto* cursor = reinterpret_cast<const char*>(body.GetData());
    const char* const end = cursor + body.GetSize();
    if (body.GetSize() > 2 && memcmp(cursor, kByteOrderMark, sizeof(kByteOrderMark)) == 0) {
        cursor += sizeof(kByteOrderMark);
    }
    const CJSValuePtr value = Parse(cursor, end);
    const auto* const array = dynamic_cast<const CJSArray*>(value.get());
    const size_t count = array != nullptr ? array->GetCount() : 0;
    for (size_t i = 0; i < count; ++i) {
        const CUTF8String name = array->GetAt(i)->GetString();
        TraceString("\tFound file: %s", name.GetText());
        names.Append(CISOString(name));
    }
}

/** Whether a name can be put behind a directory without leaving it. */
bool StaysInside(const CUTF8String& name) {
    const std::string path = std::string("/") + name.GetText() + "/";
    return path != "//" && path.find("/../") == std::string::npos;
}

void TraceRefused(const CISOString& url, int32_t status) {
    TraceString("Error downloading: %s, status %s", CUTF8String(url).GetText(),
                FromNumber(status).GetText());
}

/** Takes a thread that may still run while the process ends: it is never destroyed. */
DownloadThread& Keep(std::unique_ptr<DownloadThread> thread) {
    static auto& lock = *new std::mutex;
    static auto& threads = *new std::vector<std::unique_ptr<DownloadThread>>;
    const std::lock_guard<std::mutex> guard(lock);
    threads.push_back(std::move(thread));
    return *threads.back();
}

}  // namespace

Downloader::Downloader(const CTStringList<CISOString>& serverUrls,
                       const CISOString& remoteDirectory, const CISOString& targetDirectory,
                       const CISOString& languageUrl)
    : urls(serverUrls),
      directory(remoteDirectory),
      target(targetDirectory),
      supportUrl(languageUrl) {}

CTStringList<CISOString> Downloader::ListFiles(const CISOString& pattern, const CISOString& version,
                                               int16_t clientId) {
    const CTraceScope scope("List remote download files");
    CTStringList<CISOString> names;
    for (size_t i = 0; i < urls.GetCount(); ++i) {
        try {
            const CISOString url = GetListUrl(urls[i], pattern, version, clientId);
            TraceString("Asking update server: %s", CUTF8String(url).GetText());
            const auto response = Fetch(url);
            if (response->GetStatus() == kStatusOk) {
                AppendFileNames(response->GetBody(), names);
            } else {
                TraceString("\t No setup update found, status = %i", response->GetStatus());
            }
            currentUrl = i;
            break;
        } catch (...) {
            TraceString("\tFailed: %s", GetHandledText().GetText());
        }
    }
    return names;
}

void Downloader::DownloadFile(const CISOString& name, int16_t clientId) {
    if (currentUrl >= urls.GetCount()) {
        return;
    }
    const CISOString url = GetFileUrl(name, clientId);
    TraceString("Downloading: %s", CUTF8String(url).GetText());
    const auto response = Fetch(url);
    if (response->GetStatus() != kStatusOk) {
        TraceRefused(url, response->GetStatus());
        return;
    }
    const CByteZone& content = response->GetBody();
    const CUTF8String fileName(name);
    if (StaysInside(fileName)) {
        WriteFileBytes((CUTF8String(target) + "/" + fileName).GetText(), content);
    }
}

bool Downloader::DownloadToString(const CISOString& name, int16_t clientId) {
    if (currentUrl >= urls.GetCount()) {
        return false;
    }
    const CISOString url = GetFileUrl(name, clientId);
    TraceString("Downloading: %s", CUTF8String(url).GetText());
    try {
        const auto response = Fetch(url);
        if (response->GetStatus() == kStatusOk) {
            const CByteZone& body = response->GetBody();
            target = CISOString(reinterpret_cast<const char*>(body.GetData()),
                                static_cast<ptrdiff_t>(body.GetSize()));
            return target.GetLength() > 0;
        }
        TraceRefused(url, response->GetStatus());
    } catch (...) {
        TraceString("Error downloading: %s", CUTF8String(url).GetText());
    }
    return false;
}

void Downloader::DownloadLanguageIfNeeded() {
    const char* const code = GetPreferredLanguage();
    const CISOString language(code, -1);
    TraceString("GetPreferredLanguage: %s", CUTF8String(language).GetText());
    if (FindLanguageFile(code).exists) {
        return;
    }
    DownloadThread& thread = Keep(std::make_unique<DownloadThread>(
        supportUrl + language + "/" + GetVersionString(), CISOString(GetLanguageDir(), -1),
        GetLanguageFileName(code)));
    thread.onFinished = [] {
        // Nobody waits for the thread.
        pthread_detach(pthread_self());
        languageDownloading = false;
    };
    languageDownloading = true;
    try {
        thread.Start();
    } catch (...) {
        languageDownloading = false;
        RERAISE();
    }
}

CISOString Downloader::GetListUrl(const CISOString& base, const CISOString& pattern,
                                  const CISOString& version, int16_t clientId) const {
    return base + "/downloads/index.php?current_mw_version=" + version +
           "&directory=" + UrlEncode(directory.GetText()) + "&pattern=" + pattern +
           "&clientId=" + FromNumber(clientId);
}

CISOString Downloader::GetFileUrl(const CISOString& name, int16_t clientId) const {
    return urls[currentUrl] +
           "/downloads/download.php?directory=" + UrlEncode(directory.GetText()) + "&name=" + name +
           "&clientId=" + FromNumber(clientId);
}
