#include "system/peer_process.h"

#include "system/host.h"
#include "util/address.h"
#include "util/numbers.h"
#include "util/string_list.h"
#include <qorvs/trace_scope.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <stdexcept>

namespace {

/** A connection as lsof writes it, from the side of the process that holds it. */
struct CConnection {
    CPeerProcess process;
    CAddress local;
    CAddress remote;
};

bool IsSame(const CAddress& left, const CAddress& right) {
    return left.port == right.port &&
           std::equal(std::begin(left.parts), std::end(left.parts), std::begin(right.parts));
}

using CNameCall = int (*)(int, sockaddr*, socklen_t*);

/** What getsockname or getpeername says; false when it fails. */
bool GetName(CNameCall call, int socket, CAddress& name) {
    sockaddr_in address{};
    socklen_t size = sizeof(address);
    if (call(socket, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        return false;
    }
    char text[INET_ADDRSTRLEN];
    name = ParseAddress(inet_ntop(AF_INET, &address.sin_addr, text, sizeof(text)));
    name.port = ntohs(address.sin_port);
    return true;
}

/** The fields that lsof has written last, each a line of a letter and a text. */
class CFields {
public:
    /** Whether the line is such a field, which is kept then. */
    bool Keep(const CUTF8String& line) {
        const char letter = *line.GetText();
        CUTF8String* const field = letter == 'p'   ? &pid
                                   : letter == 'u' ? &uid
                                   : letter == 'n' ? &name
                                                   : nullptr;
        if (field != nullptr) {
            *field = line.Right(1);
        }
        return field != nullptr;
    }

    /** Throws what ToUInt and ParseAddress throw; a name of one side has an empty other one. */
    CConnection Parse() const {
        const CStringList sides = name.Split("->");
        return {{ToUInt(pid), ToUInt(uid)},
                ParseAddress(sides[0]),
                ParseAddress(sides.GetCount() > 1 ? sides[1] : CUTF8String())};
    }

private:
    CUTF8String pid;
    CUTF8String uid;
    CUTF8String name;
};

/** Whether the fields are the peer's: its own side is our peer, and the other side is we. */
bool IsHolder(const CFields& fields, const CAddress& own, const CAddress& peer,
              CPeerProcess& process) {
    try {
        const CConnection connection = fields.Parse();
        process = connection.process;
        return IsSame(connection.local, peer) && IsSame(connection.remote, own);
    } catch (const NOT_IPV4&) {
    } catch (const std::runtime_error&) {
    }
    return false;
}

CPeerProcess FindHolder(const CStringList& lines, const CAddress& own, const CAddress& peer) {
    CFields fields;
    CPeerProcess process;
    for (const CUTF8String& line : lines) {
        if (!fields.Keep(line) && line == "TST=ESTABLISHED" &&
            IsHolder(fields, own, peer, process)) {
            return process;
        }
    }
    return {};
}

CPeerProcess FindPeer(int socket) {
    CAddress own;
    CAddress peer;
    if (!GetName(&getsockname, socket, own) || !GetName(&getpeername, socket, peer)) {
        return {};
    }
    TraceString0("has socket and peer name");
    try {
        return FindHolder(ReadCommand("lsof -n -P -i -l -F unT").Split("\n"), own, peer);
    } catch (const std::runtime_error&) {
        return {};
    }
}

}  // namespace

CPeerProcess GetClientPidAndUid(int socket) {
    const CTraceScope scope(__func__);
    const CPeerProcess process = FindPeer(socket);
    if (process.pid == 0 && process.uid == 0) {
        TraceString0("Unable to Get Client Pid And Uid");
    }
    return process;
}
