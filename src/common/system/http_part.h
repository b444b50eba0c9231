/**
 * What stands between the parts of a multipart body (RFC 2046, 5.1): boundaries and headers.
 */
#pragma once

#include "system/http_errors.h"
#include "system/http_server_connection.h"

#include <map>

/** The words for a body that is not put together as one of parts. */
inline constexpr const char* kInvalidMultipartData = "Invalid multipart data";

/** Orders texts by their code points. */
struct CTextOrder {
    bool operator()(const CISOString& left, const CISOString& right) const {
        return left.Compare(right) < 0;
    }
};

/** The headers "Content-Disposition" of a part by the name that they give it. */
using CPartHeaders = std::map<CISOString, CHttpHeader, CTextOrder>;

/** The boundary that a Content-Type header states, without dashes; empty when it states none. */
CISOString GetMultipartBoundary(CHttpHeader& contentType);

/**
 * Reads the rest of a boundary's line and the headers below it, with the empty line that ends them.
 * False when the boundary was the closing one, after which nothing but its line is read.
 *
 * `headers`, which may be null, gets the headers that name the part; of equal names the first
 * counts, and one without a name has the empty one. With `skip`, nothing is looked at. There is no
 * limit to what a peer may send here; without `headers` none of it is kept.
 *
 * Kept: when anything but dashes follows the boundary, blanks included, the headers below are left
 * to be read as the part's data. Lengths are counted by it.
 *
 * Throws CHttpException when the connection fails. The end of the stream ends the headers.
 */
bool ReadPartHeaders(CHttpServerConnection& connection, bool skip, CPartHeaders* headers);
