/**
 * Messages on a stream: four bytes of length, big-endian, and the text.
 */
#pragma once

#include "system/stream.h"

#include <cstdint>
#include <stdexcept>
#include <string>

/** What one message may hold, in bytes; a peer that announces more is not served. */
constexpr uint32_t kLongestMessage = 16 * 1024 * 1024;

/** Throws std::length_error for a text that is too long, and what the stream throws. */
void SendEcho(CStream& stream, const std::string& text);

/** Throws std::length_error for an announced length that is too long, and what the stream throws.
 */
std::string ReceiveEcho(CStream& stream);
