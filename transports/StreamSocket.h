// What the sessions on stream sockets share: the transfer loops with their time-outs.
#pragma once

#include <cstdint>
#include <cstring>

#include "core/Guard.h"
#include "uxvisa/visatype.h"

namespace uxvisa {

// Stores an attribute's value with the width of `Value`; VI_ERROR_NSUP_ATTR_STATE for a null
// destination.
template <typename Value>
long StoreAttribute(void* destination, Value value) {
    if (destination == nullptr) {
        return VI_ERROR_NSUP_ATTR_STATE;
    }
    std::memcpy(destination, &value, sizeof value);
    return VI_SUCCESS;
}

// Nothing for a null target: no caller has to ask for a count.
inline void StoreCount(unsigned long* target, unsigned long count) {
    if (target != nullptr) {
        *target = count;
    }
}

// The attributes that every stream session has, over the session's own fields.
struct StreamAttributes {
    std::uint32_t& readTimeoutMs;
    std::uint32_t& writeTimeoutMs;
    bool& toLineFeed;

    long Set(unsigned long attribute, unsigned long value) const;
    long Get(unsigned long attribute, void* value) const;
};

struct StreamResult {
    long status;         // VI_ERROR_CONN_LOST when the socket failed; closing it is the caller's
    unsigned long count; // bytes transferred, whatever the status
};

enum class StreamKind { Tcp, Local };

// How a stream is read.
struct StreamReading {
    StreamKind kind;
    bool toLineFeed;
    std::uint32_t timeoutMs;
    long pauseUs = 0; // after each receive
};

// Receives until the buffer is full (VI_SUCCESS), a line feed was received with `toLineFeed`
// (VI_SUCCESS_TERM_CHAR), more than `timeoutMs` of wall-clock time have passed (VI_ERROR_TMO) or
// the socket fails. With `toLineFeed` what follows the line feed stays in the socket. A peer that
// has closed reads as silence.
StreamResult ReadStream(int fd, unsigned char* buffer, unsigned long count,
                        const StreamReading& how);

// Sends all of the buffer (VI_SUCCESS), or until `timeoutMs` have passed (VI_ERROR_TMO) or the
// socket fails.
StreamResult WriteStream(int fd, const unsigned char* buffer, unsigned long count,
                         std::uint32_t timeoutMs);

// Receives and drops what has arrived, until nothing is left or the peer has closed.
void DrainStream(int fd);

// Whether the byte count of a transfer that timed out is told.
enum class CountAfterTimeout { Told, Withheld };

// What a session's Read and Write do around the loops above: `connect` makes sure of a connection
// or says why there is none, `transfer` is the loop, `drop` closes a socket that failed.
template <typename Connect, typename Transfer, typename Drop>
long TransferOverStream(unsigned long* count, CountAfterTimeout counting, Connect&& connect,
                        Transfer&& transfer, Drop&& drop) {
    return Guarded([&]() -> long {
        StoreCount(count, 0);
        const long connected = connect();
        if (connected != VI_SUCCESS) {
            return connected;
        }
        const StreamResult result = transfer();
        if (result.status == VI_ERROR_CONN_LOST) {
            drop();
        }
        if (result.status != VI_ERROR_TMO || counting == CountAfterTimeout::Told) {
            StoreCount(count, result.count);
        }
        return result.status;
    });
}

} // namespace uxvisa
