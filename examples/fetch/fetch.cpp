/**
 * fetch: how this machine reaches a server, seen through the library's own eyes.
 *
 * Usage: fetch URL
 *
 * Fetches an http or https URL just as the library does for itself, through the desktop's proxies
 * and with the machine's trust store, and prints the answer and the log of the way there:
 *
 *     $ fetch https://www.example.org/
 *     Status  200 OK
 *     Header  Server: nginx
 *     Header  Content-Length: 1256
 *     Body    1256 bytes
 *     Time    85 ms
 *     Log     /tmp/qorvs_fetch_k3Jw0x/qorvs_2026-11-21_16-30-57_fetch_4711.log
 *
 *     ##################################################
 *     # Starting log on 2026-11-21 at 16:30:57
 *     ...
 *
 * The exit status is 0 when the server answered, whatever its status, and 1 when it did not; the
 * reason stands on the standard error output then, and the log shows which step failed: the lookup
 * of the proxies ("ResolveProxy"), each proxy that was tried, or the server itself. Redirects are
 * not followed.
 *
 * The log is always on, in a private directory that stays behind; the settings of the machine are
 * not read then. To use settings of your own, name their file in QORVS_CONFFILE.
 */
#include "system/http_requests.h"
#include "system/https.h"
#include "system/settings.h"
#include "util/exception.h"
#include <qorvs/trace_scope.h>

#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>
#include <string>

namespace fs = std::filesystem;

/** Text for a terminal: "?" for control characters, which a server may mean for the terminal. */
template <class Text>
std::string Printable(const Text& source) {
    std::string text = CUTF8String(source).GetText();
    for (size_t i = 0; i < text.size(); ++i) {
        const auto unit = static_cast<unsigned char>(text[i]);
        // U+0080 to U+009F are controls too.
        const bool high = unit >= 0x80 && unit < 0xA0 && i > 0 && text[i - 1] == '\xC2';
        if (high || unit == 0x7F || (unit < 0x20 && unit != '\n' && unit != '\t')) {
            text[i] = '?';
        }
    }
    return text;
}

/** Gives this process settings with the log on. Nothing may have been traced before. */
static void TurnLogOn() {
    std::string directory = fs::temp_directory_path() / "qorvs_fetch_XXXXXX";
    if (mkdtemp(directory.data()) == nullptr) {
        throw std::runtime_error("cannot make a directory for the log: " + directory);
    }
    const std::string settings = directory + "/qorvs.conf";
    std::ofstream(settings) << "SecuritySuite {\n    EnableTrace = 1\n    Trace = " << directory
                            << "\n}\n";
    setenv("QORVS_CONFFILE", settings.c_str(), 1);
}

static void Fetch(const char* url) {
    const CTraceScope scope(__func__);
    TraceString0(url);
    const auto start = std::chrono::steady_clock::now();
    const auto response = GetUrl(CHttpsConnectionFactory(), CISOString(url), false, true);
    std::cout << "Status  " << response->GetStatus() << ' ' << Printable(response->GetReason())
              << '\n';
    for (size_t i = 0; i < response->GetHeaderCount(); ++i) {
        std::cout << "Header  " << Printable(response->GetHeaderName(i)) << ": "
                  << Printable(response->GetHeaderValue(i)) << '\n';
    }
    const std::string size = std::to_string(response->GetBody().GetSize());
    const std::string stated = Printable(response->GetHeader("Content-Length").GetValue());
    // The library itself takes what comes until the connection ends.
    const bool other = !stated.empty() && stated != size;
    std::cout << "Body    " << size << " bytes" << (other ? " instead of " + stated : "") << '\n';
    const auto taken = std::chrono::steady_clock::now() - start;
    std::cout << "Time    " << std::chrono::duration_cast<std::chrono::milliseconds>(taken).count()
              << " ms\n";
}

/** Prints the log of this process, if the settings in use let it have one. */
static void ShowLog() {
    const std::string end = "_" + std::to_string(getpid()) + ".log";
    fs::path newest;
    std::error_code none;
    for (const auto& file : fs::directory_iterator(GetTraceDirectory().GetText(), none)) {
        const std::string path = file.path();
        if (path.size() > end.size() && path.substr(path.size() - end.size()) == end) {
            newest = std::max(newest, file.path());
        }
    }
    std::ifstream log(newest);
    const std::string text{std::istreambuf_iterator<char>(log), std::istreambuf_iterator<char>()};
    std::cout << "Log     " << (newest.empty() ? "none" : newest.string()) << "\n\n"
              << Printable(text.c_str());
}

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "Usage: fetch URL\n";
        return 1;
    }
    int status = 1;
    try {
        if (getenv("QORVS_CONFFILE") == nullptr) {
            TurnLogOn();
        }
        Fetch(argv[1]);
        status = 0;
    } catch (const CException& exception) {
        std::cerr << Printable(RenderMessage(exception.GetMessage())) << '\n';
    } catch (const std::exception& exception) {
        std::cerr << exception.what() << '\n';
    }
    ShowLog();
    return status;
}
