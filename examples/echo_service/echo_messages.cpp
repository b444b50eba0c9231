#include "echo_messages.h"

#include <arpa/inet.h>

#include <cstring>

static void CheckLength(size_t length) {
    if (length > kLongestMessage) {
        throw std::length_error("the message is too long");
    }
}

void SendEcho(CStream& stream, const std::string& text) {
    CheckLength(text.size());
    // In one piece: between two writes the peer could wait for the second.
    const uint32_t length = htonl(static_cast<uint32_t>(text.size()));
    std::string message(sizeof(length), '\0');
    memcpy(&message[0], &length, sizeof(length));
    message += text;
    stream.Write(message.data(), message.size());
}

std::string ReceiveEcho(CStream& stream) {
    uint32_t length = 0;
    stream.Read(&length, sizeof(length));
    length = ntohl(length);
    CheckLength(length);
    std::string text(length, '\0');
    stream.Read(&text[0], text.size());
    return text;
}
