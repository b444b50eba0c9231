#include "system/http_multipart.h"

#include "support/log_capture.h"
#include "support/loopback_peer.h"
#include "support/raised.h"
#include "support/stanza_file.h"
#include "support/string_print.h"

#include <cerrno>
#include <functional>
#include <random>
#include <regex>

namespace {

// Letters of which any ten say where they stand.
const std::string kPayload = [] {
    std::string text(300000, ' ');
    std::minstd_rand random;
    std::generate(text.begin(), text.end(), [&] { return static_cast<char>('a' + random() % 26); });
    return text;
}();

/** Puts payload from its beginning in the place of each "<size>". */
std::string Fill(std::string text) {
    static const std::regex size("<(\\d+)>");
    for (std::smatch found; std::regex_search(text, found, size);) {
        const std::string piece = kPayload.substr(0, std::stoul(found[1]));
        text = found.prefix().str() + piece + found.suffix().str();
    }
    return text;
}

/** The other way: "<from+size>" in the place of ten letters of the payload or more. */
std::string Say(const std::string& data) {
    std::string said;
    for (size_t at = 0, size = 0; at < data.size(); at += std::max<size_t>(size, 1)) {
        const size_t from = kPayload.find(data.substr(at, 10).append(10, '.').substr(0, 10));
        const size_t most = from < kPayload.size() ? data.size() - at : 0;
        for (size = 0; size < most && data[at + size] == kPayload[from + size]; ++size) {
        }
        said += size == 0 ? data.substr(at, 1)
                          : "<" + std::to_string(from) + "+" + std::to_string(size) + ">";
    }
    return said;
}

/** Receives a text in pieces of stated sizes, which take turns; with none, from its socket. */
struct CWire : CHttpConnection {
    int Recv(void* data, size_t length) override {
        if (cuts.empty()) {
            return CHttpConnection::Recv(data, length);
        }
        const size_t size = std::min(length, cuts[turn++ % cuts.size()]);
        const size_t count = body.copy(static_cast<char*>(data), size, at);
        at += count;
        errno = ECONNRESET;
        return count == 0 && fails ? -1 : static_cast<int>(count);
    }
    int Send(const void* data, size_t length) override {
        sent += Say({static_cast<const char*>(data), length}) + "|";
        errno = EPIPE;
        return fails ? -1 : static_cast<int>(length);
    }

    std::string body, sent;
    std::vector<size_t> cuts;
    size_t at = 0, turn = 0;
    bool fails = false;
};

struct COpenBuffer : CHttpStreamBuffer {
    using CHttpStreamBuffer::CHttpStreamBuffer;
    using CHttpStreamBuffer::overflow;
};

/** Makes the calls of a case, each "name rest". */
class CUpload {
public:
    CUpload(const std::string& body, const std::vector<size_t>& cuts) {
        wire->body = body;
        wire->cuts = cuts;
        if (cuts.empty()) {
            using Scripts = std::vector<CLoopbackPeer::Script>;
            peer = std::make_unique<CLoopbackPeer>(Scripts{{"send " + body}});
            const std::string url = "http://127.0.0.1:" + std::to_string(peer->GetPort());
            wire->ConnectSocket(ParseUrl(url.c_str()));
        }
    }

    std::string Make(const std::string& line) {
        const std::string call = line.substr(0, line.find(' '));
        const std::string rest = line.substr(std::min(line.size(), call.size() + 1));
        const auto number = std::atoll(rest.c_str());
        const CISOString text(rest.data(), static_cast<ptrdiff_t>(rest.size()));
        const auto seek = [&](std::ios& stream, std::ios::openmode mode) {
            const std::string ways = "beg cur end odd";
            const auto way = ways.find(call.substr(call.find('.') + 1)) / 4;
            return Number(stream.rdbuf()->pubseekoff(number, std::ios::seekdir(way), mode));
        };
        // clang-format off
#define SAYS(name, value) {name, [&]() -> std::string { return value; }}
#define DOES(name, ...) {name, [&]() -> std::string { __VA_ARGS__; return ""; }}
        const std::map<std::string, std::function<std::string()>> calls{
            DOES("open", reader = std::make_unique<CHttpMultipartReader>(server, text); part = 0),
            DOES("plain", plain = std::make_unique<CHttpIStream>(Buffer(), text, 20)),
            DOES("fails", In().exceptions(std::ios::eofbit); In().setstate(std::ios::eofbit)),
            DOES("next", ++part),
            DOES("drop", reader->GetParts()[part++].stream.reset()),
            DOES("finish", In().GetBuffer().FinishPart()),
            DOES("close", reader.reset(); plain.reset()),
            DOES("broken", wire->fails = true),
            DOES("out", out = std::make_unique<CHttpOStream>(Buffer())),
            DOES("shut", out.reset()),
            DOES("text", CHttpStringStream stream(server); stream << rest; stream.seekp(0) << "~"),
            SAYS("boundary", Boundary(CHttpHeader(text))),
            SAYS("parts", Number(reader->GetParts().GetCount())),
            SAYS("length", Number(reader->GetParts()[number].length)),
            SAYS("headers", Headers()),
            SAYS("read", Read(rest.empty() ? kPayload.size() + 9 : number)),
            SAYS("remaining", Number(In().GetBuffer().GetRemaining()) +
                                  (In().GetBuffer().IsFinished() ? " finished" : "")),
            SAYS("line", ToStd(server->ReadLine())),
            SAYS("upto", (server->RecvUpTo(number, zone), std::string(zone.begin(), zone.end()))),
            SAYS("in", seek(In(), std::ios::in)),
            SAYS("both", seek(In(), std::ios::in | std::ios::out)),
            SAYS("area", seek(In(), std::ios::out)),
            SAYS("store", Number(In().rdbuf()->sputc('x'))),
            SAYS("put", *out << Fill(rest) << std::flush ? "" : "bad"),
            SAYS("keep", *out << Fill(rest) ? "" : "bad"),
            SAYS("to", seek(*out, std::ios::out)),
            SAYS("byte", Number(COpenBuffer(server).overflow(static_cast<int>(number)))),
            SAYS("sent", std::exchange(wire->sent, "")),
        };
        // clang-format on
        try {
            return calls.at(call.substr(0, call.find('.')))();
        } catch (const CHttpException& failure) {
            return WordsOf(failure);
        } catch (const std::ios::failure&) {
            return "ios failure";
        }
    }

private:
    template <class Value>
    static std::string Number(Value value) {
        return std::to_string(value);
    }

    static std::string Boundary(CHttpHeader header) { return ToStd(GetMultipartBoundary(header)); }

    std::unique_ptr<CHttpStreamBuffer> Buffer() {
        return std::make_unique<CHttpStreamBuffer>(server);
    }

    CHttpIStream& In() { return plain ? *plain : *reader->GetParts()[part].stream; }

    std::string Headers() {
        std::string said;
        for (auto& [name, header] : reader->GetHeaders()) {
            said += "[" + ToStd(name) + "|" + ToStd(header.GetParameter("filename")) + "]";
        }
        return said;
    }

    std::string Read(size_t count) {
        std::string data(count, ' ');
        In().clear();
        In().read(data.data(), static_cast<std::streamsize>(count));
        data.resize(static_cast<size_t>(In().gcount()));
        return Say(data) + (In().bad() ? ":bad" : In().eof() ? ":eof" : "");
    }

    CWire* const wire = new CWire;
    const std::shared_ptr<CHttpServerConnection> server =
        std::make_shared<CHttpServerConnection>(wire);
    std::unique_ptr<CLoopbackPeer> peer;
    std::unique_ptr<CHttpMultipartReader> reader;
    std::unique_ptr<CHttpIStream> plain;
    std::unique_ptr<CHttpOStream> out;
    CByteZone zone{"+"};
    size_t part = 0;
};

}  // namespace

TEST(HttpMultipart, CallsAndBytes) {
    const std::string all = ",1,7,255 1,256,257,2000,99999,65536 34464,1000000";
    FOR_EACH_STANZA(row, ReadStanzas("system/http_multipart.txt")) {
        const std::string body = row.Has("body_text") ? Fill(row.Text("body_text")) : "";
        std::istringstream ways(row.Has("cuts_text") ? row.Text("cuts_text") : all);
        for (std::string way; std::getline(ways, way, ',');) {
            SCOPED_TRACE("pieces of " + way);
            std::istringstream sizes(way), lines(row.Text("do_text"));
            CUpload upload(body, {std::istream_iterator<size_t>(sizes), {}});
            std::string said;
            for (std::string line; std::getline(lines, line, '\t');) {
                const std::string answer = upload.Make(line);
                said += answer.empty() ? "" : answer + "\n";
            }
            EXPECT_EQ(said, row.Text("gives_text") + "\n");
        }
    }
}

TEST(HttpMultipart, FailuresAreTraced) {
    if (getenv("QORVS_CONFFILE") == nullptr) {
        CLogHome home;
        home.Run("system_tests", {"--gtest_filter=HttpMultipart.FailuresAreTraced"});
        EXPECT_EQ(std::regex_replace(home.BodyText(), std::regex("[^\n]*\\((.*)\\), line.*"), "$1"),
                  "RecvMultipartBlock\nSendBlock\n~CHttpStreamBuffer\nSendBlock\n"
                  "~CHttpStringStream");
        return;
    }
    CUpload upload("x", {1});
    for (const char* const call : {"open", "broken", "byte 1", "text x"}) {
        upload.Make(call);
    }
}
