#include "system/download_thread.h"

#include "system/http_errors.h"
#include "system/http_requests.h"
#include "system/https.h"
#include "util/file_handle.h"
#include <qorvs/trace.h>

#include <sys/stat.h>

#include <string>

namespace {

/** Makes a directory and those above it; what is there already is left alone. */
void MakeDirectories(const std::string& path) {
    size_t end = 0;
    do {
        end = path.find('/', end + 1);
        mkdir(path.substr(0, end).c_str(), 0777);
    } while (end != std::string::npos);
}

/** Writes a line whose one argument is the words of an exception. */
__attribute__((format(printf, 1, 0))) void TraceFailure(const char* format,
                                                        const CException& exception) {
    TraceString(format, RenderMessage(exception.GetMessage()).GetText());
}

}  // namespace

bool WriteFileBytes(const char* path, const CByteZone& content) {
    CFileHandle file(fopen(path, "wbe"));
    return file != nullptr &&
           (content.IsEmpty() ||
            fwrite(content.GetData(), 1, content.GetSize(), file.get()) == content.GetSize()) &&
           fclose(file.release()) == 0;
}

DownloadThread::DownloadThread(const CISOString& fileUrl, const CISOString& targetDirectory,
                               const CISOString& targetName)
    : onFinished([] {}), url(fileUrl), directory(targetDirectory), fileName(targetName) {}

int32_t DownloadThread::Run() {
    try {
        Download();
    } catch (const CHttpConnectException& exception) {
        TraceFailure("WARNING Got CHttpConnectException exception while downloading file: %s",
                     exception);
    } catch (const CHttpException& exception) {
        TraceFailure("WARNING Got CHttpException exception while downloading file: %s", exception);
    } catch (const CException& exception) {
        TraceFailure("WARNING Got CException exception while downloading file: %s", exception);
    } catch (...) {
        TraceString0("WARNING Got Unknown exception while downloading file");
    }
    // An empty one would throw, and end the process.
    if (onFinished) {
        onFinished();
    }
    return 0;
}

void DownloadThread::Download() {
    TraceString("Downloading file url = %s", CUTF8String(url).GetText());
    const auto response = GetUrl(CHttpsConnectionFactory(), url, false, true);
    if (response->GetStatus() != 200) {
        TraceString("WARNING got HTTP status %d while downloading file", response->GetStatus());
        return;
    }
    MakeDirectories(directory.GetText());
    const CISOString path = directory + "/" + fileName;
    WriteFileBytes(path.GetText(), response->GetBody());
    // Kept: so spelt, and also when the file could not be opened. Logs are matched on these words.
    TraceString("Successfully dowloaded file %s", CUTF8String(fileName).GetText());
}
