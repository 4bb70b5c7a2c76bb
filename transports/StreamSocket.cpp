#include "transports/StreamSocket.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <poll.h>

#include "core/CommonLib.h"
#include "transports/SystemCalls.h"
#include "uxvisa/visatype.h"

namespace uxvisa {

namespace {

// Time-outs follow the wall clock. A wait is cut into slices so that a clock that was set is
// noticed soon; within a slice readiness ends it at once.
constexpr unsigned long WaitSliceMs = 100;
// A closed peer is readable for ever, so its silence cannot be waited for: it is slept through.
constexpr unsigned long ClosedPeerSleepMs = 10;

constexpr std::size_t FirstWindow = 512;
constexpr std::size_t LargestWindow = 65536;

class TransferClock {
public:
    TransferClock() : m_start(WallClockMs()) {}
    unsigned long Elapsed() const { return WallClockMs() - m_start; }

private:
    unsigned long m_start;
};

// Milliseconds until `deadline` has been reached, at least 1 and at most `limit`.
unsigned long Remaining(unsigned long elapsed, unsigned long deadline, unsigned long limit) {
    const unsigned long left = deadline > elapsed ? deadline - elapsed : 1;
    return std::min(left, limit);
}

// One receive that takes nothing behind the first line feed: the kernel's buffer is looked at, in a
// window that grows while no line feed is in sight, and exactly the line's bytes are then taken.
class LineReceiver {
public:
    ssize_t Receive(int fd, unsigned char* buffer, std::size_t room) {
        unsigned char seen[LargestWindow];
        const ssize_t found = sys::Receive(fd, seen, std::min(room, m_window), MSG_PEEK);
        if (found <= 0) {
            return found;
        }
        const auto size = static_cast<std::size_t>(found);
        const void* feed = std::memchr(seen, '\n', size);
        if (feed == nullptr) {
            m_window = std::min(m_window * 2, LargestWindow);
            return sys::Receive(fd, buffer, size, 0);
        }
        const auto line = static_cast<const unsigned char*>(feed) - seen + 1;
        return sys::Receive(fd, buffer, static_cast<std::size_t>(line), 0);
    }

private:
    std::size_t m_window = FirstWindow;
};

class Reader {
public:
    Reader(int fd, bool toLineFeed, std::uint32_t timeoutMs)
        : m_fd(fd), m_toLineFeed(toLineFeed), m_timeoutMs(timeoutMs) {}

    StreamResult Read(unsigned char* buffer, unsigned long count) {
        unsigned long received = 0;
        while (received < count) {
            const ssize_t chunk = Receive(buffer + received, count - received);
            if (chunk < 0 && errno != EAGAIN) {
                return {VI_ERROR_CONN_LOST, received};
            }
            received += static_cast<unsigned long>(std::max<ssize_t>(chunk, 0));
            if (m_toLineFeed && chunk > 0 && buffer[received - 1] == '\n') {
                return {VI_SUCCESS_TERM_CHAR, received};
            }
            const unsigned long elapsed = m_clock.Elapsed();
            if (elapsed > m_timeoutMs && !FilledAtOnce(chunk, count)) {
                return {VI_ERROR_TMO, received};
            }
            if (chunk <= 0) {
                AwaitData(chunk, elapsed);
            }
        }
        return {VI_SUCCESS, received};
    }

private:
    ssize_t Receive(unsigned char* buffer, unsigned long room) {
        return m_toLineFeed ? m_line.Receive(m_fd, buffer, room)
                            : sys::Receive(m_fd, buffer, room, 0);
    }

    // Only a buffer filled by one receive escapes the time-out; up to a line feed each byte counts
    // as a receive of its own.
    bool FilledAtOnce(ssize_t chunk, unsigned long count) const {
        const bool whole = chunk > 0 && static_cast<unsigned long>(chunk) == count;
        return whole && (!m_toLineFeed || count == 1);
    }

    void AwaitData(ssize_t chunk, unsigned long elapsed) {
        const unsigned long deadline = static_cast<unsigned long>(m_timeoutMs) + 1;
        if (chunk == 0) {
            sys::Pause(static_cast<long>(Remaining(elapsed, deadline, ClosedPeerSleepMs)) * 1000);
            return;
        }
        sys::Wait(m_fd, POLLIN, static_cast<int>(Remaining(elapsed, deadline, WaitSliceMs)));
    }

    int m_fd;
    bool m_toLineFeed;
    std::uint32_t m_timeoutMs;
    TransferClock m_clock;
    LineReceiver m_line;
};

} // namespace

StreamResult ReadStream(int fd, unsigned char* buffer, unsigned long count, bool toLineFeed,
                        std::uint32_t timeoutMs) {
    return Reader(fd, toLineFeed, timeoutMs).Read(buffer, count);
}

// The counter has 32 bits on purpose: a count of 4 GiB or more is never reached and runs into the
// time-out.
StreamResult WriteStream(int fd, const unsigned char* buffer, unsigned long count,
                         std::uint32_t timeoutMs) {
    const TransferClock clock;
    std::uint32_t sent = 0;
    while (sent < count) {
        const ssize_t chunk = sys::Send(fd, buffer + sent, count - sent);
        if (chunk < 0 && errno != EAGAIN) {
            return {VI_ERROR_CONN_LOST, sent};
        }
        const auto size = static_cast<unsigned long>(std::max<ssize_t>(chunk, 0));
        sent += static_cast<std::uint32_t>(size);
        const unsigned long elapsed = clock.Elapsed();
        if (elapsed >= timeoutMs && size != count) {
            return {VI_ERROR_TMO, sent};
        }
        if (chunk < 0) {
            sys::Wait(fd, POLLOUT, static_cast<int>(Remaining(elapsed, timeoutMs, WaitSliceMs)));
        }
    }
    return {VI_SUCCESS, sent};
}

void DrainStream(int fd) {
    unsigned char scratch[65535];
    while (sys::Receive(fd, scratch, sizeof scratch, 0) > 0) {
    }
}

} // namespace uxvisa
