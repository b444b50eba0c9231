/**
 * Standard streams over the server's half of an HTTP connection.
 */
#pragma once

#include "system/http_stream_buffer.h"

#include <istream>
#include <ostream>
#include <sstream>

/**
 * Reads a part of a body.
 *
 * The destructor takes what was not read from the connection, so that the next part is in step; it
 * waits for the peer as reading would. `file << stream.rdbuf()` copies without a step between.
 *
 * A part whose bytes end early reads as a shorter one; a connection that fails sets badbit. What
 * follows the part does not show here: see CHttpStreamBuffer::IsFinished.
 */
class CHttpIStream : public std::istream {
public:
    CHttpIStream(std::unique_ptr<CHttpStreamBuffer> streamBuffer, const CISOString& boundary,
                 uint64_t length);
    ~CHttpIStream() override;
    CHttpIStream(const CHttpIStream&) = delete;
    CHttpIStream& operator=(const CHttpIStream&) = delete;

    CHttpStreamBuffer& GetBuffer() { return *buffer; }

private:
    std::unique_ptr<CHttpStreamBuffer> buffer;
};

/** Writes a body in blocks. The destructor sends the rest; a failure to do so is only traced. */
class CHttpOStream : public std::ostream {
public:
    explicit CHttpOStream(std::unique_ptr<CHttpStreamBuffer> streamBuffer);
    ~CHttpOStream() override;
    CHttpOStream(const CHttpOStream&) = delete;
    CHttpOStream& operator=(const CHttpOStream&) = delete;

private:
    std::unique_ptr<CHttpStreamBuffer> buffer;
};

/**
 * Collects a text and sends all of it as one block when it is destroyed; a failure to do so is only
 * traced.
 */
class CHttpStringStream : public std::stringstream {
public:
    explicit CHttpStringStream(std::shared_ptr<CHttpServerConnection> serverConnection);
    ~CHttpStringStream() override;
    CHttpStringStream(const CHttpStringStream&) = delete;
    CHttpStringStream& operator=(const CHttpStringStream&) = delete;

private:
    std::shared_ptr<CHttpServerConnection> connection;
};
