#include "system/http_streams.h"

#include <qorvs/trace.h>

#include <limits>
#include <utility>

CHttpIStream::CHttpIStream(std::unique_ptr<CHttpStreamBuffer> streamBuffer,
                           const CISOString& boundary, uint64_t length)
    : std::istream(nullptr), buffer(std::move(streamBuffer)) {
    buffer->Reset(boundary, length);
    rdbuf(buffer.get());
}

CHttpIStream::~CHttpIStream() {
    // What the reader asked of its stream must not keep the rest from being taken, nor throw.
    exceptions(std::ios_base::goodbit);
    clear();
    ignore(std::numeric_limits<std::streamsize>::max());
}

CHttpOStream::CHttpOStream(std::unique_ptr<CHttpStreamBuffer> streamBuffer)
    : std::ostream(nullptr), buffer(std::move(streamBuffer)) {
    rdbuf(buffer.get());
}

CHttpOStream::~CHttpOStream() {
    exceptions(std::ios_base::goodbit);
    flush();
}

CHttpStringStream::CHttpStringStream(std::shared_ptr<CHttpServerConnection> serverConnection)
    : connection(std::move(serverConnection)) {}

CHttpStringStream::~CHttpStringStream() {
    try {
        const std::string text = str();
        connection->SendBlock(text.data(), text.size());
    } catch (...) {
        TraceLine("WARNING Exception raised (rethrow)", __LINE__, __func__);
    }
}
