/**
 * Who decides which schemes a request may use.
 */
#pragma once

#include "system/http_connection.h"

#include <memory>

/** Makes plain connections for "http" and refuses any other scheme. No state. */
class CHttpConnectionFactory {
public:
    /** A new connection, not connected. Throws CHttpException "Invalid protocol : " and the scheme.
     */
    virtual std::shared_ptr<CHttpConnection> GetConnection(const CHttpUrl& url) const;

    virtual ~CHttpConnectionFactory() = default;
};
