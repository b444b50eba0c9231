#include "system/http_part.h"

#include <utility>

CISOString GetMultipartBoundary(CHttpHeader& contentType) {
    return contentType.GetParameter("boundary");
}

bool ReadPartHeaders(CHttpServerConnection& connection, bool skip, CPartHeaders* headers) {
    const CISOString rest = connection.ReadLine();
    if (rest == "--") {
        return false;
    }
    if (rest.GetLength() > 0) {
        return true;
    }
    for (CISOString line = connection.ReadLine(); line.GetLength() > 0;
         line = connection.ReadLine()) {
        if (skip || headers == nullptr) {
            continue;
        }
        CHttpHeader header(std::move(line));
        if (header.GetName() == "content-disposition") {
            CISOString name = header.GetParameter("name");
            headers->try_emplace(std::move(name), std::move(header));
        }
    }
    return true;
}
