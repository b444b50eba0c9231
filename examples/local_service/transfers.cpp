#include "transfers.h"

#include "system/http_multipart.h"

#include <stdlib.h>

#include <fstream>
#include <limits>
#include <regex>
#include <stdexcept>

namespace fs = std::filesystem;

namespace {

/** The directory of an upload; it goes away again unless the upload is kept. */
class CUploadDirectory {
public:
    explicit CUploadDirectory(const fs::path& parent) {
        std::string name = parent / "upload_XXXXXX";
        if (mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("no directory for the upload");
        }
        path = name;
    }
    ~CUploadDirectory() {
        if (!kept) {
            std::error_code none;
            fs::remove_all(path, none);
        }
    }
    CUploadDirectory(const CUploadDirectory&) = delete;
    CUploadDirectory& operator=(const CUploadDirectory&) = delete;

    const fs::path& GetPath() const { return path; }
    void Keep() { kept = true; }

private:
    fs::path path;
    bool kept = false;
};

/** Writes a part to a file. */
void SavePart(CHttpMultipartReader::CPart& part, const fs::path& path) {
    std::ofstream file(path, std::ios::binary);
    // An empty stream would count as a failure to write.
    if (part.length > 0) {
        file << part.stream->rdbuf();
    }
    file.close();
    CHttpStreamBuffer& buffer = part.stream->GetBuffer();
    if (file.fail() || buffer.GetRemaining() > 0) {
        throw CHttpException("Part not saved");
    }
    // Reading leaves the boundary behind some parts: see CHttpStreamBuffer.
    if (!buffer.IsFinished()) {
        buffer.FinishPart();
    }
    part.stream.reset();
}

/** Writes all parts; gives their sizes, with commas. */
std::string SaveParts(const std::shared_ptr<CHttpServerConnection>& server,
                      const CISOString& boundary, const fs::path& directory) {
    CHttpMultipartReader reader(server, boundary);
    std::string sizes;
    int number = 0;
    for (CHttpMultipartReader::CPart& part : reader.GetParts()) {
        SavePart(part, directory / ("part" + std::to_string(++number)));
        sizes += (sizes.empty() ? "" : ", ") + std::to_string(part.length);
    }
    return sizes;
}

void SendJson(CHttpServerConnection& server, const std::string& text) {
    server.SendHeaders("application/json", static_cast<int32_t>(text.size()), true);
    server.SendBlock(text.data(), text.size());
}

}  // namespace

void TakeUpload(const std::shared_ptr<CHttpServerConnection>& server, const CRequest& request,
                const fs::path& directory) {
    if (request.boundary.GetLength() == 0) {
        server->SendHttpError(415);
        return;
    }
    CUploadDirectory upload(directory);
    std::string sizes;
    try {
        sizes = SaveParts(server, request.boundary, upload.GetPath());
    } catch (const CHttpException&) {
        server->SendCustomError("The upload is not whole, or there is no room for it");
        return;
    }
    upload.Keep();
    SendJson(*server, "{\"directory\": \"" + upload.GetPath().filename().string() +
                          "\", \"sizes\": [" + sizes + "]}");
}

void SendDownload(const std::shared_ptr<CHttpServerConnection>& server, const std::string& name,
                  const fs::path& directory) {
    static const std::regex allowed("upload_[A-Za-z0-9]{6}/part[1-9][0-9]*");
    std::error_code none;
    const uint64_t size =
        std::regex_match(name, allowed) ? fs::file_size(directory / name, none) : 0;
    std::ifstream file(directory / name, std::ios::binary);
    if (!std::regex_match(name, allowed) || none || !file) {
        server->SendHttpError(404);
        return;
    }
    // A length beyond what can be stated ends with the connection.
    const bool stated = size <= std::numeric_limits<int32_t>::max();
    server->SendHeaders("application/octet-stream", stated ? static_cast<int32_t>(size) : -1, true,
                        {{"Content-Disposition", "attachment"}});
    CHttpOStream out(std::make_unique<CHttpStreamBuffer>(server));
    if (size > 0) {
        out << file.rdbuf();
    }
}
