// What the sessions on stream sockets share: the transfer loops with their time-outs.
#pragma once

#include <cstdint>

namespace uxvisa {

struct StreamResult {
    long status;         // VI_ERROR_CONN_LOST when the socket failed; closing it is the caller's
    unsigned long count; // bytes transferred, whatever the status
};

// Receives until the buffer is full (VI_SUCCESS), a line feed was received with `toLineFeed`
// (VI_SUCCESS_TERM_CHAR), more than `timeoutMs` of wall-clock time have passed (VI_ERROR_TMO) or
// the socket fails. With `toLineFeed` what follows the line feed stays in the socket. A peer that
// has closed reads as silence.
StreamResult ReadStream(int fd, unsigned char* buffer, unsigned long count, bool toLineFeed,
                        std::uint32_t timeoutMs);

// Sends all of the buffer (VI_SUCCESS), or until `timeoutMs` have passed (VI_ERROR_TMO) or the
// socket fails.
StreamResult WriteStream(int fd, const unsigned char* buffer, unsigned long count,
                         std::uint32_t timeoutMs);

// Receives and drops what has arrived, until nothing is left or the peer has closed.
void DrainStream(int fd);

} // namespace uxvisa
