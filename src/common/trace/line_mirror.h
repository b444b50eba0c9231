/**
 * Where the log's bytes go besides its file. Declared here for the writer of the log, and defined
 * by the recording, which stands above the network and with it above the log.
 */
#pragma once

#include <cstddef>

/**
 * Posts what one call has written to the file, when a recording runs. A failure ends the recording
 * and is told nobody. Called under the log's lock.
 */
void MirrorLine(const char* bytes, size_t length) noexcept;

/**
 * At the end of the process: waits until what was posted has left it, a second at most. An exit
 * with answers unread would throw away the rest.
 */
void SettleMirror() noexcept;

/** Ends the recording in the child of a fork, without a word on the parent's connection. */
void ForgetMirrorInChild() noexcept;
