/**
 * Who is at the other end of a connection on this machine.
 */
#pragma once

#include <cstdint>

/** A process and the user it runs as; both 0 when they are not known. */
struct CPeerProcess {
    uint32_t pid = 0;
    uint32_t uid = 0;
};

/**
 * The process that holds the other end of a connected TCP socket (IPv4, both ends on this machine).
 *
 * Runs lsof, which takes its time and shows the processes of other users to root only. Not known is
 * also who has closed in the meantime; when several processes share the end, it is the first that
 * lsof names. Throws nothing but std::bad_alloc; an unknown peer is traced.
 */
CPeerProcess GetClientPidAndUid(int socket);
