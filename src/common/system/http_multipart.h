/**
 * The reader of uploads: a description in JSON, and the binary parts that it announces.
 */
#pragma once

#include "system/http_part.h"
#include "system/http_streams.h"
#include "util/owned_array.h"

/**
 * A multipart body (RFC 2046, 5.1) whose first part tells how many binary parts follow and how long
 * they are: {"nbData": 2, "data1": 5, "data2": 100001}. Other keys are left alone, and a length
 * that is missing or negative is 0.
 *
 * Binary parts are cut by these lengths, not by their boundaries, and are never in memory as a
 * whole. They are read in their order: each is read, or its stream destroyed, before the next.
 * Streams that are left are destroyed with the reader, in order, and take the rest of their parts.
 * It belongs to one thread at a time.
 */
class CHttpMultipartReader {
public:
    struct CPart {
        std::unique_ptr<CHttpIStream> stream;
        uint64_t length;
    };

    /**
     * Reads from the first boundary up to the data of the first binary part. The description is
     * held in memory, whatever its size; one that is no JSON, or that announces nothing, announces
     * no parts.
     *
     * Throws CHttpException "Invalid multipart data" for an empty boundary, when the data ends
     * before the second boundary, and for more than 65,536 parts.
     */
    CHttpMultipartReader(std::shared_ptr<CHttpServerConnection> serverConnection,
                         const CISOString& partBoundary);

    /** The streams may be moved out, or destroyed one by one, which frees their blocks. */
    CTOwnedArray<CPart>& GetParts() { return parts; }

    /** The headers that name the first binary part; those of later parts are not kept. */
    CPartHeaders& GetHeaders() { return headers; }

private:
    void ReadDescription(const CByteZone& description);

    std::shared_ptr<CHttpServerConnection> connection;
    CTOwnedArray<CPart> parts;
    CPartHeaders headers;
    CISOString boundary;
};
