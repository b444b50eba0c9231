/**
 * Files that come and go, in constant memory.
 */
#pragma once

#include "request.h"

#include <filesystem>
#include <memory>

/**
 * Writes the binary parts of a multipart body to files "part1", "part2" ... of a new directory
 * below `directory`, and answers with its name and their sizes: {"directory": "upload_k3Jw0x",
 * "sizes": [5, 100001]}. Names that the client gives play no part.
 *
 * An upload that is not whole, or cannot be written, leaves nothing behind and is answered with an
 * error. Throws CHttpException when the connection fails.
 */
void TakeUpload(const std::shared_ptr<CHttpServerConnection>& server, const CRequest& request,
                const std::filesystem::path& directory);

/** Sends a file of an upload, named "DIRECTORY/FILE"; status 404 for any other name. */
void SendDownload(const std::shared_ptr<CHttpServerConnection>& server, const std::string& name,
                  const std::filesystem::path& directory);
