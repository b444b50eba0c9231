#include "system/peer_process.h"

#include "support/child_process.h"
#include "support/log_capture.h"
#include "support/stanza_file.h"

#include <gtest/gtest.h>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <regex>
#include <string>

TEST(PeerProcess, IsFoundByLsof) {
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    socklen_t size = sizeof(address);
    ASSERT_EQ(listen(listener, 1), 0);
    getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size);
    CChildProcess peer("socket_child", {"dial", std::to_string(ntohs(address.sin_port))}, {});
    const int accepted = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    const CPeerProcess found = GetClientPidAndUid(accepted);
    EXPECT_EQ(found.pid, static_cast<uint32_t>(peer.GetId()));
    EXPECT_EQ(found.uid, getuid());
    peer.Kill();
    peer.Wait();
    EXPECT_EQ(GetClientPidAndUid(accepted).pid, 0U);
    close(accepted);
    close(listener);
}

// A case is a stand-in for lsof, the kind of socket that is looked up, what is found and traced.
TEST(PeerProcess, IsReadFromTheLinesOfLsof) {
    FOR_EACH_STANZA(row, ReadStanzas("system/peers.txt")) {
        CLogHome home;
        home.Write("bin/lsof", "#!/bin/sh\ntest \"$*\" = '-n -P -i -l -F unT' && printf '%b' \"" +
                                   row.Text("lines_text") + "\"");
        EXPECT_EQ(home.Run("socket_child", {"peer", row.Text("kind_text")}),
                  row.Text("found_text"));
        const std::regex changing("1\\.\\. +|opened[^\n]*\n|, line [^\n]*");
        EXPECT_EQ(std::regex_replace(home.BodyText(), changing, ""), row.Text("log_text"));
    }
}
