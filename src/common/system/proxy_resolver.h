/**
 * Which proxies the desktop wants for a URL, by the settings that gsettings prints.
 *
 * Nothing is kept: every question runs the commands again, and fetches and evaluates the proxy
 * script where the desktop names one. Any thread may ask. Environment variables and the desktop's
 * ignored hosts play no part.
 */
#pragma once

#include "system/http_url.h"
#include "util/ct_string.h"
#include "util/string_list.h"

/**
 * The proxies for a URL in the order in which to try them: "host:port", "DIRECT", or what else a
 * script answered. Empty means a direct connection.
 *
 * Entries are as written between the ";", blanks included. Lack of an answer is an empty list and a
 * traced line; only a failing fetch of the proxy script throws: CHttpException.
 */
CTStringList<CISOString> GetProxies(const CHttpUrl& url);

/** The question put to the desktop. */
class ProxyResolver {
public:
    /** Sets `result` to the entries, ";" between them; returns whether there are any. */
    static bool ResolveProxy(CUTF8String& result, const char* urlText);
};

/** The host in a URL's text: up to "#", "/", ":", "?" or the end. */
CUTF8String ExtractHost(const char* urlText);
