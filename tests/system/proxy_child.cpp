/**
 * Asks for the proxies of URLs or connects to them, several on threads of their own, and
 * prints what comes of it: proxy_child list|connect <url>...
 */
#include "system/http_connection.h"
#include "system/http_errors.h"
#include "system/proxy_resolver.h"
#include <qorvs/trace.h>

#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <future>
#include <memory>
#include <vector>

// Time as scripts get it: a second goes by with each look at the clock.
extern "C" int clock_gettime(clockid_t clock, timespec* now) noexcept {
    static std::atomic<time_t> looks{0};
    return clock == CLOCK_MONOTONIC ? (*now = {++looks, 0}, 0)
                                    : static_cast<int>(syscall(SYS_clock_gettime, clock, now));
}

static CISOString List(const CHttpUrl& url) {
    CISOString list;
    for (const CISOString& proxy : GetProxies(url)) {
        list = list + "[" + proxy + "]";
    }
    return list;
}

/** What the peer says, what a request line would name, how many sockets the connection has. */
static CISOString Connect(const CHttpUrl& url) {
    auto connection = std::make_unique<CHttpConnection>();
    CISOString outcome;
    try {
        connection->Connect(url, true);
        outcome = connection->ReadLine() + " " + connection->GetRequestTarget(url);
    } catch (const CHttpException& error) {
        outcome = CISOString(RenderMessage(error.GetMessage()));
    }
    const int before = dup(STDOUT_FILENO);
    close(before);
    connection.reset();
    const char sockets = static_cast<char>('0' + before - dup(STDOUT_FILENO));
    return outcome + ", " + CISOString(&sockets, 1) + " sockets";
}

int main(int count, char** arguments) {
    TraceString0(arguments[1]);
    const auto perform = arguments[1][0] == 'l' ? List : Connect;
    const auto policy = count > 3 ? std::launch::async : std::launch::deferred;
    std::vector<std::future<CISOString>> outcomes;
    for (int i = 2; i < count; ++i) {
        outcomes.push_back(std::async(policy, perform, ParseUrl(CISOString(arguments[i]))));
    }
    for (std::future<CISOString>& outcome : outcomes) {
        printf("%s", outcome.get().GetText());
    }
}
