/**
 * Fetches URLs: https_child [NAME=value | URL | +URL] ..., in this order, those with "+" at once on
 * threads of their own. Prints the status and the body, or the words of the failure.
 */
#include "system/http_requests.h"
#include "system/https.h"
#include "util/exception.h"

#include <openssl/err.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <future>
#include <vector>

static void Fetch(const char* url) {
    ERR_raise(ERR_LIB_USER, ERR_R_FATAL);  // what a host may have left
    try {
        const auto response = GetUrl(CHttpsConnectionFactory(), url, false, true);
        const CByteZone& body = response->GetBody();
        printf("%d %.*s\n", response->GetStatus(), static_cast<int>(body.GetSize()),
               reinterpret_cast<const char*>(body.GetData()));
    } catch (const CException& exception) {
        puts(RenderMessage(exception.GetMessage()).GetText());
    }
    printf("%s", ERR_peek_error() == 0 ? "" : "errors are left\n");
}

int main(int /*count*/, char** argument) {
    std::vector<std::future<void>> others;
    while (*++argument != nullptr) {
        if (strstr(*argument, "://") == nullptr) {
            putenv(*argument);
        } else if (**argument == '+') {
            others.push_back(std::async(std::launch::async, Fetch, *argument + 1));
        } else {
            Fetch(*argument);
        }
    }
}
