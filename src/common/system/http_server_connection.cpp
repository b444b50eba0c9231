#include "system/http_server_connection.h"

CHttpServerConnection::CHttpServerConnection() : connection(std::make_shared<CHttpConnection>()) {}

CHttpServerConnection::CHttpServerConnection(int acceptedSocket)
    : connection(std::make_shared<CHttpConnection>(acceptedSocket)), socket(acceptedSocket) {}

CHttpServerConnection::CHttpServerConnection(CHttpConnection* transport) : connection(transport) {}

CByteZone& CHttpServerConnection::RecvUpTo(size_t minimum, CByteZone& out) {
    CByteZone block;
    while (out.GetSize() < minimum && RecvBlock(block)) {
        out.Append(block);
    }
    return out;
}

CPeerProcess CHttpServerConnection::GetClientPidAndUid() const {
    return ::GetClientPidAndUid(connection->GetSocket());
}
