/**
 * The requests that the program sends: HTTP/1.0 (RFC 1945), one connection each, header lines in a
 * fixed order.
 *
 * Those that take a factory connect through the desktop's proxies, and their response keeps the
 * connection. The Host line never names the port. They throw what connecting, sending and reading
 * throw, CHttpException "Invalid protocol : " from the factory, and CHttpException "Invalid URL
 * format" for a control character in a URL, a content type or an extra line, before anything is
 * sent. Redirects are not followed; a status of 400 or 500 is no failure here.
 */
#pragma once

#include "system/http_connection_factory.h"
#include "system/http_response.h"
#include "util/string_list.h"

#include <memory>

/** GET. `sendOrigin` adds the program's own Origin line. */
std::unique_ptr<CHttpResponse> Get(const CHttpConnectionFactory& factory, const CHttpUrl& url,
                                   bool sendOrigin, bool useProxy);
std::unique_ptr<CHttpResponse> GetUrl(const CHttpConnectionFactory& factory,
                                      const CISOString& urlText, bool sendOrigin, bool useProxy);

/** GET for JSON, with more header lines, which are sent as they are. */
std::unique_ptr<CHttpResponse> GetAcceptingJson(const CHttpConnectionFactory& factory,
                                                const CISOString& urlText,
                                                const CTStringList<CISOString>& extraLines);

/** POST of a form over a connection that is connected already and that the response needs. */
std::unique_ptr<CHttpResponse> PostForm(CHttpConnection& connection, const CHttpUrl& url,
                                        const CByteZone& body, bool sendOrigin);
std::unique_ptr<CHttpResponse> PostForm(const CHttpConnectionFactory& factory, const CHttpUrl& url,
                                        const CByteZone& body, bool sendOrigin);

/**
 * POST of plain text over a connection that is connected already; the response shares it.
 *
 * Null when there is no connection, and nothing is sent then; null after sending when `noReply` is
 * set: the caller reads the answer.
 */
std::unique_ptr<CHttpResponse> PostText(const std::shared_ptr<CHttpConnection>& connection,
                                        const CHttpUrl& url, const CByteZone& body, bool sendOrigin,
                                        bool keepAlive, bool noReply);

std::unique_ptr<CHttpResponse> PostJson(const CHttpConnectionFactory& factory, const CHttpUrl& url,
                                        const CByteZone& body);

/** The same with more header lines, which are sent as they are. */
std::unique_ptr<CHttpResponse> PostJson(const CHttpConnectionFactory& factory, const CHttpUrl& url,
                                        const CByteZone& body,
                                        const CTStringList<CISOString>& extraLines);

/** POST of a request to a timestamp authority (RFC 3161, 3.4). */
std::unique_ptr<CHttpResponse> PostTimestampQuery(const CHttpConnectionFactory& factory,
                                                  const CHttpUrl& url, const CByteZone& body);

std::unique_ptr<CHttpResponse> PostTyped(const CHttpConnectionFactory& factory, const CHttpUrl& url,
                                         const CByteZone& body, const CISOString& contentType);
