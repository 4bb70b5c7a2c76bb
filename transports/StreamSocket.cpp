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
    explicit LineReceiver(bool discards) : m_discards(discards) {}

    ssize_t Receive(int fd, unsigned char* buffer, std::size_t room) {
        unsigned char seen[LargestWindow];
        const ssize_t found = sys::Receive(fd, seen, std::min(room, m_window), MSG_PEEK);
        if (found <= 0) {
            return found;
        }
        const auto size = static_cast<std::size_t>(found);
        const void* feed = std::memchr(seen, '\n', size);
        if (feed != nullptr) {
            const auto line = static_cast<const unsigned char*>(feed) - seen + 1;
            return Take(fd, seen, buffer, static_cast<std::size_t>(line));
        }
        m_window = std::min(m_window * 2, LargestWindow);
        return Take(fd, seen, buffer, size);
    }

private:
    // TCP drops what was seen without a second copy out of the kernel.
    ssize_t Take(int fd, const unsigned char* seen, unsigned char* buffer, std::size_t size) const {
        if (!m_discards || size < FirstWindow) {
            return sys::Receive(fd, buffer, size, 0);
        }
        const ssize_t taken = sys::Receive(fd, nullptr, size, MSG_TRUNC);
        if (taken > 0) {
            std::memcpy(buffer, seen, static_cast<std::size_t>(taken));
        }
        return taken;
    }

    bool m_discards;
    std::size_t m_window = FirstWindow;
};

class Reader {
public:
    Reader(int fd, const StreamReading& how)
        : m_fd(fd), m_how(how), m_line(how.kind == StreamKind::Tcp) {}

    StreamResult Read(unsigned char* buffer, unsigned long count) {
        unsigned long received = 0;
        while (received < count) {
            const ssize_t chunk = Receive(buffer + received, count - received);
            if (chunk < 0 && errno != EAGAIN) {
                return {VI_ERROR_CONN_LOST, received};
            }
            if (chunk >= 0 && m_how.pauseUs > 0) {
                sys::Pause(m_how.pauseUs);
            }
            received += static_cast<unsigned long>(std::max<ssize_t>(chunk, 0));
            if (m_how.toLineFeed && chunk > 0 && buffer[received - 1] == '\n') {
                return {VI_SUCCESS_TERM_CHAR, received};
            }
            const unsigned long elapsed = m_clock.Elapsed();
            if (elapsed > m_how.timeoutMs && !FilledAtOnce(chunk, count)) {
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
        return m_how.toLineFeed ? m_line.Receive(m_fd, buffer, room)
                                : sys::Receive(m_fd, buffer, room, 0);
    }

    // Only a buffer filled by one receive escapes the time-out; up to a line feed each byte counts
    // as a receive of its own.
    bool FilledAtOnce(ssize_t chunk, unsigned long count) const {
        const bool whole = chunk > 0 && static_cast<unsigned long>(chunk) == count;
        return whole && (!m_how.toLineFeed || count == 1);
    }

    void AwaitData(ssize_t chunk, unsigned long elapsed) {
        const unsigned long deadline = static_cast<unsigned long>(m_how.timeoutMs) + 1;
        if (chunk == 0) {
            sys::Pause(static_cast<long>(Remaining(elapsed, deadline, ClosedPeerSleepMs)) * 1000);
            return;
        }
        sys::Wait(m_fd, POLLIN, static_cast<int>(Remaining(elapsed, deadline, WaitSliceMs)));
    }

    int m_fd;
    StreamReading m_how;
    TransferClock m_clock;
    LineReceiver m_line;
};

} // namespace

StreamResult ReadStream(int fd, unsigned char* buffer, unsigned long count,
                        const StreamReading& how) {
    return Reader(fd, how).Read(buffer, count);
}

long StreamAttributes::Set(unsigned long attribute, unsigned long value) const {
    switch (attribute) {
    case VI_ATTR_TMO_VALUE:
        readTimeoutMs = static_cast<std::uint32_t>(value);
        writeTimeoutMs = static_cast<std::uint32_t>(value);
        return VI_SUCCESS;
    case VI_ATTR_TERMCHAR_EN:
        toLineFeed = value != 0;
        return VI_SUCCESS;
    default:
        return VI_ERROR_NSUP_ATTR;
    }
}

long StreamAttributes::Get(unsigned long attribute, void* value) const {
    switch (attribute) {
    case VI_ATTR_TMO_VALUE:
        return StoreAttribute<ViUInt32>(value, readTimeoutMs);
    case VI_ATTR_TERMCHAR_EN:
        return StoreAttribute<std::uint32_t>(value, toLineFeed ? 1 : 0);
    case VI_ATTR_INTF_TYPE:
        // The serial type, on purpose: programs that treat a socket like a serial line, with a
        // termination character and no END, take this branch.
        return StoreAttribute<ViUInt16>(value, VI_INTF_ASRL);
    default:
        return VI_ERROR_NSUP_ATTR;
    }
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
