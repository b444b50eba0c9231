#include "system/http_multipart.h"

#include "support/log_capture.h"
#include "support/loopback_peer.h"
#include "support/raised.h"
#include "support/stanza_file.h"
#include "support/string_print.h"
#include "system/http_errors.h"

#include <cerrno>
#include <functional>
#include <regex>

namespace {

/** Letters in which any ten say where they stand. */
const std::string& Payload() {
    static const std::string payload = [] {
        std::string text(300000, ' ');
        uint64_t state = 1;
        for (char& letter : text) {
            state = state * 6364136223846793005U + 1442695040888963407U;
            letter = static_cast<char>('a' + (state >> 33) % 26);
        }
        return text;
    }();
    return payload;
}

/** Puts payload from its beginning in the place of each "<size>". */
std::string Fill(const std::string& text) {
    static const std::regex size("<(\\d+)>");
    std::string filled;
    auto from = text.cbegin();
    for (std::smatch found; std::regex_search(from, text.cend(), found, size);) {
        filled += std::string(from, found[0].first) + Payload().substr(0, std::stoul(found[1]));
        from = found[0].second;
    }
    return filled + std::string(from, text.cend());
}

/** The other way: "<from+size>" in the place of ten or more bytes of payload. */
std::string Say(const std::string& data) {
    std::string said;
    for (size_t at = 0; at < data.size(); ++at) {
        const size_t from =
            at + 10 > data.size() ? std::string::npos : Payload().find(data.substr(at, 10));
        if (from == std::string::npos) {
            said += data[at];
            continue;
        }
        const auto end =
            std::mismatch(data.begin() + static_cast<ptrdiff_t>(at), data.end(),
                          Payload().begin() + static_cast<ptrdiff_t>(from), Payload().end());
        const auto size = static_cast<size_t>(end.first - data.begin()) - at;
        said += "<" + std::to_string(from) + "+" + std::to_string(size) + ">";
        at += size - 1;
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
        return count == 0 && resets ? -1 : static_cast<int>(count);
    }
    int Send(const void* data, size_t length) override {
        errno = EPIPE;
        sent += Say({static_cast<const char*>(data), length}) + "|";
        return refuses ? -1 : static_cast<int>(length);
    }

    std::string body, sent;
    std::vector<size_t> cuts;
    size_t at = 0, turn = 0;
    bool resets = false, refuses = false;
};

struct COpenBuffer : CHttpStreamBuffer {
    using CHttpStreamBuffer::CHttpStreamBuffer;
    using CHttpStreamBuffer::overflow;
};

/** Makes the calls of a case, each "name rest". */
class CUpload {
public:
    explicit CUpload(const std::string& body, std::vector<size_t> cuts) {
        wire->body = body;
        wire->cuts = std::move(cuts);
        if (wire->cuts.empty()) {
            peer = std::make_unique<CLoopbackPeer>(
                std::vector<CLoopbackPeer::Script>{{"send " + body}});
            const std::string url = "http://127.0.0.1:" + std::to_string(peer->GetPort());
            wire->ConnectSocket(ParseUrl(url.c_str()));
        }
    }

    std::string Make(const std::string& line) {
        const std::string call = line.substr(0, line.find(' '));
        const std::string rest = line.substr(std::min(line.size(), call.size() + 1));
        const auto number = std::atoll(rest.c_str());
        const CISOString text(rest.data(), static_cast<ptrdiff_t>(rest.size()));
        CHttpHeader header(text);
        const std::map<std::string, std::ios_base::seekdir> ways{
            {"beg", std::ios_base::beg}, {"cur", std::ios_base::cur}, {"end", std::ios_base::end}};
        const auto way = ways.find(call.substr(call.find('.') + 1));
        const auto seek = [&](std::ios& stream, std::ios_base::openmode mode) {
            const auto to = way == ways.end() ? std::ios_base::seekdir(3) : way->second;
            return std::to_string(stream.rdbuf()->pubseekoff(number, to, mode));
        };
        // clang-format off
#define SAYS(name, value) {name, [&]() -> std::string { return value; }}
#define DOES(name, ...) {name, [&]() -> std::string { __VA_ARGS__; return ""; }}
        const std::map<std::string, std::function<std::string()>> calls{
            SAYS("boundary", ToStd(GetMultipartBoundary(header))),
            DOES("open", reader = std::make_unique<CHttpMultipartReader>(server, text)),
            DOES("plain", plain = std::make_unique<CHttpIStream>(Buffer(), text, 20)),
            SAYS("parts", Lengths()),
            SAYS("headers", Headers()),
            SAYS("read", Read(rest.empty() ? Payload().size() + 9 : number)),
            DOES("fails", In().exceptions(std::ios::failbit); In().setstate(std::ios::failbit)),
            DOES("next", ++part),
            DOES("drop", reader->GetParts()[part++].stream.reset()),
            DOES("close", reader.reset(); plain.reset()),
            SAYS("remaining", Remaining()),
            DOES("finish", In().GetBuffer().FinishPart()),
            SAYS("line", ToStd(server->ReadLine())),
            SAYS("upto", Say(UpTo(number))),
            SAYS("in", seek(In(), std::ios::in)),
            SAYS("both", seek(In(), std::ios::in | std::ios::out)),
            SAYS("area", seek(In(), std::ios::out)),
            SAYS("store", std::to_string(In().rdbuf()->sputc('x'))),
            DOES("resets", wire->resets = true),
            DOES("refuses", wire->refuses = true),
            DOES("out", out = std::make_unique<CHttpOStream>(Buffer())),
            SAYS("put", *out << Fill(rest) << std::flush ? "" : "bad"),
            SAYS("keep", *out << Fill(rest) ? "" : "bad"),
            SAYS("to", seek(*out, std::ios::out)),
            SAYS("byte", std::to_string(COpenBuffer(server).overflow(std::atoi(rest.c_str())))),
            DOES("shut", out.reset()),
            DOES("text", CHttpStringStream stream(server); stream << rest; stream.seekp(0) << "~"),
            SAYS("sent", std::exchange(wire->sent, "")),
        };
        // clang-format on
        try {
            return calls.at(call.substr(0, call.find('.')))();
        } catch (const CHttpException& failure) {
            return WordsOf(failure);
        } catch (const std::ios_base::failure&) {
            return "ios failure";
        }
    }

private:
    std::unique_ptr<CHttpStreamBuffer> Buffer() {
        return std::make_unique<CHttpStreamBuffer>(server);
    }

    CHttpIStream& In() { return plain ? *plain : *reader->GetParts()[part].stream; }

    std::string Remaining() {
        const CHttpStreamBuffer& buffer = In().GetBuffer();
        return std::to_string(buffer.GetRemaining()) + (buffer.IsFinished() ? " finished" : "");
    }

    std::string Lengths() {
        std::string said;
        for (const CHttpMultipartReader::CPart& each : reader->GetParts()) {
            said += " " + std::to_string(each.length);
        }
        return said.substr(said.empty() ? 0 : 1);
    }

    std::string Headers() {
        std::string said;
        for (auto& [name, header] : reader->GetHeaders()) {
            said += "[" + ToStd(name) + "|" + ToStd(header.GetParameter("filename")) + "]";
        }
        return said;
    }

    std::string Read(size_t count) {
        In().clear();
        std::string data(count, ' ');
        In().read(data.data(), static_cast<std::streamsize>(count));
        data.resize(static_cast<size_t>(In().gcount()));
        return Say(data) + (In().bad() ? ":bad" : In().eof() ? ":eof" : "");
    }

    std::string UpTo(size_t minimum) {
        CByteZone data("+");
        server->RecvUpTo(minimum, data);
        return {data.begin(), data.end()};
    }

    CWire* const wire = new CWire;
    const std::shared_ptr<CHttpServerConnection> server =
        std::make_shared<CHttpServerConnection>(wire);
    std::unique_ptr<CLoopbackPeer> peer;
    std::unique_ptr<CHttpMultipartReader> reader;
    std::unique_ptr<CHttpIStream> plain;
    std::unique_ptr<CHttpOStream> out;
    size_t part = 0;
};

/** The sizes of pieces that a case states, or all that it must be indifferent to. */
std::vector<std::vector<size_t>> Cuts(const CStanza& row) {
    if (!row.Has("cuts_text")) {
        return {{}, {1}, {7}, {255, 1}, {256}, {257}, {2000}, {99999}, {65536, 34464}, {1 << 20}};
    }
    std::istringstream sizes(row.Text("cuts_text"));
    return {{std::istream_iterator<size_t>(sizes), {}}};
}

}  // namespace

TEST(HttpMultipart, CallsAndBytes) {
    FOR_EACH_STANZA(row, ReadStanzas("system/http_multipart.txt")) {
        const std::string body = row.Has("body_text") ? Fill(row.Text("body_text")) : "";
        for (const std::vector<size_t>& cuts : Cuts(row)) {
            SCOPED_TRACE(testing::PrintToString(cuts));
            CUpload upload(body, cuts);
            std::istringstream lines(row.Text("do_text"));
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
        const std::regex line(", line [^\n]*");
        EXPECT_EQ(std::regex_replace(home.BodyText(), line, ""),
                  "1.. 'WARNING Exception raised' in (RecvMultipartBlock)\n"
                  "1.. 'WARNING Exception raised' in (SendBlock)\n"
                  "1.. 'WARNING Exception raised (rethrow)' in (~CHttpStreamBuffer)\n"
                  "1.. 'WARNING Exception raised' in (SendBlock)\n"
                  "1.. 'WARNING Exception raised (rethrow)' in (~CHttpStringStream)");
        return;
    }
    CUpload upload("x", {1});
    for (const char* const call : {"open", "refuses", "byte 1", "text x"}) {
        upload.Make(call);
    }
}
