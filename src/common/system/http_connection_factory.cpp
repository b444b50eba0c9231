#include "system/http_connection_factory.h"

#include "system/http_errors.h"
#include "util/raise.h"

std::shared_ptr<CHttpConnection> CHttpConnectionFactory::GetConnection(const CHttpUrl& url) const {
    if (url.scheme != "http") {
        RAISE(CHttpException(CUTF8String("Invalid protocol : ") + url.scheme));
    }
    return std::make_shared<CHttpConnection>();
}
