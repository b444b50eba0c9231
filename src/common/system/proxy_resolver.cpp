#include "system/proxy_resolver.h"

#include "system/host.h"
#include "system/http_connection_factory.h"
#include "system/http_requests.h"
#include "system/pac_script.h"
#include <qorvs/trace.h>
#include <qorvs/trace_scope.h>

#include <algorithm>
#include <cstring>
#include <memory>

namespace {

// A host with its quotes and the ":" behind it. Kept: so one of one or two characters is none.
constexpr size_t kLeastHostLength = 6;

CUTF8String ToUtf8(const std::string& text) {
    return {text.data(), static_cast<ptrdiff_t>(text.size())};
}

std::string WithoutQuotes(std::string text) {
    text.erase(std::remove(text.begin(), text.end(), '\''), text.end());
    return text;
}

/** The URL as the scripts get it. Kept: with the port always, and with the path's own slash. */
CUTF8String BuildUrlText(const CHttpUrl& url) {
    return CUTF8String(url.scheme) + "://" + url.host + ":" +
           CUTF8String(std::to_string(url.port).c_str()) + "/" + url.path;
}

CUTF8String ResolveByScript(const char* urlText) {
    TraceString("System is set with an AutoConfig Proxy");
    const std::string address =
        WithoutQuotes(RunCommand("gsettings get org.gnome.system.proxy autoconfig-url"));
    const std::unique_ptr<CHttpResponse> response =
        GetUrl(CHttpConnectionFactory(), CISOString(ToUtf8(address)), false, false);
    // Kept: one line, whatever the status is. A script of several lines is cut and fails.
    const CISOString script = response->GetConnection()->ReadLine();
    if (script.Find(CISOString("FindProxyForURL")).IsNull()) {
        TraceString("Pac file doesn't not contains FindProxyForURL function");
        TraceString("Proxy Pac file value : : %s", CUTF8String(script).GetText());
        return {};
    }
    return EvaluatePacScript(script, urlText, ExtractHost(urlText));
}

CUTF8String ResolveByHand() {
    TraceString("System is set with a Manual Proxy config");
    const std::string httpHost = RunCommand("gsettings get org.gnome.system.proxy.http host") + ":";
    const std::string httpPort = RunCommand("gsettings get org.gnome.system.proxy.http port");
    const std::string httpsHost =
        RunCommand("gsettings get org.gnome.system.proxy.https host") + ":";
    const std::string httpsPort = RunCommand("gsettings get org.gnome.system.proxy.https port");

    const bool hasHttp = httpHost.size() >= kLeastHostLength;
    const bool hasHttps = httpsHost.size() >= kLeastHostLength;
    std::string proxies;
    if (hasHttp) {
        proxies = WithoutQuotes(httpHost) + httpPort;
    }
    if (hasHttp && hasHttps) {
        proxies += ";";
    }
    if (hasHttps) {
        proxies += WithoutQuotes(httpsHost) + httpsPort;
    }
    return ToUtf8(proxies);
}

}  // namespace

CUTF8String ExtractHost(const char* urlText) {
    const char* const separator = std::strstr(urlText, "://");
    const char* const host = separator != nullptr ? separator + 3 : urlText;
    return {host, static_cast<ptrdiff_t>(std::strcspn(host, "#/:?"))};
}

bool ProxyResolver::ResolveProxy(CUTF8String& result, const char* urlText) {
    const CTraceScope scope("ProxyResolver::ResolveProxy");
    result = {};
    const std::string mode = RunCommand("gsettings get org.gnome.system.proxy mode");
    if (mode == "'auto'") {
        result = ResolveByScript(urlText);
    } else if (mode == "'manual'") {
        result = ResolveByHand();
    } else {
        TraceString("No proxy has been set on this system");
    }
    return result.GetLength() > 0;
}

CTStringList<CISOString> GetProxies(const CHttpUrl& url) {
    CUTF8String found;
    if (!ProxyResolver::ResolveProxy(found, BuildUrlText(url).GetText())) {
        TraceString("ResolveProxy failed.");
        return {};
    }
    const CISOString proxies(found);
    if (proxies.GetLength() == 0) {
        TraceString("No proxy found.");
        return {};
    }
    if (proxies == "not supported") {
        return {};
    }
    TraceString("At least one proxy has been found. proxyList: \"%s\"", found.GetText());
    return proxies.Split(";");
}
