#include "transports/SessionTCPIP.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <vector>

#include <netdb.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/select.h>

#include "core/CommonLib.h"
#include "core/Guard.h"
#include "transports/DiscoveryReply.h"
#include "transports/EmulatorRecord.h"
#include "transports/LogMessage.h"
#include "transports/StreamSocket.h"
#include "transports/SystemCalls.h"
#include "uxvisa/visatype.h"

const int OPT_RCVBUF = 65535;

namespace {

constexpr std::uint32_t DefaultTimeoutMs = 100000;
constexpr std::uint32_t ConnectTimeoutMs = 5000;
constexpr unsigned long ReconnectBudgetMs = 2999;
constexpr int ReconnectWaitMs = 200;
constexpr long ReconnectPauseUs = 500000;
// Stands among the socket errors for a connect that timed out.
constexpr int ConnectTimedOut = 100;
constexpr int DiscoveryLocalPort = 8890;
constexpr int DiscoveryPort = 8889;

int OpenSocket() {
    const int fd = uxvisa::sys::Socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0);
    if (fd != -1) {
        uxvisa::sys::SetOption(fd, SOL_SOCKET, SO_KEEPALIVE, 1);
        uxvisa::sys::SetOption(fd, IPPROTO_TCP, TCP_NODELAY, 1);
    }
    return fd;
}

// The set is built for a descriptor count of 1, on purpose: an orderly close by the peer is left
// for the next send to find, and instruments that half-close after each reply stay connected.
bool SeemsConnected(int fd) {
    if (fd != 0) {
        return true;
    }
    fd_set readable;
    FD_ZERO(&readable);
    FD_SET(0, &readable);
    timeval now{};
    const int ready = ::select(1, &readable, nullptr, nullptr, &now);
    if (ready <= 0) {
        return ready == 0;
    }
    int available = 0;
    return ::ioctl(fd, FIONREAD, &available) == 0 && available != 0;
}

// poll with the time that is left whenever a signal comes between.
int WaitForAll(int fd, short events, unsigned long timeoutMs) {
    timespec start{};
    clock_gettime(CLOCK_MONOTONIC, &start);
    for (unsigned long elapsed = 0;;) {
        const int ready = uxvisa::sys::Wait(
            fd, events, static_cast<int>(elapsed < timeoutMs ? timeoutMs - elapsed : 0));
        if (ready >= 0 || errno != EINTR) {
            return ready;
        }
        timespec now{};
        clock_gettime(CLOCK_MONOTONIC, &now);
        elapsed = static_cast<unsigned long>((now.tv_sec - start.tv_sec) * 1000 +
                                             (now.tv_nsec - start.tv_nsec) / 1000000);
    }
}

bool IsInProgress(int error) {
    return error == EINPROGRESS || error == EAGAIN;
}

// The first IPv4 address of a host, by the reentrant form of gethostbyname.
bool Resolve(const std::string& host, in_addr& address) {
    std::vector<char> space(1024);
    for (;;) {
        hostent entry{};
        hostent* found = nullptr;
        int reason = 0;
        const int failed =
            ::gethostbyname_r(host.c_str(), &entry, space.data(), space.size(), &found, &reason);
        if (failed == ERANGE) {
            space.resize(space.size() * 2);
            continue;
        }
        if (found == nullptr || found->h_addr_list[0] == nullptr) {
            return false;
        }
        std::memcpy(&address, found->h_addr_list[0], sizeof address);
        return true;
    }
}

} // namespace

int CreateSocket() {
    return OpenSocket();
}

bool IsConnected(int fd) {
    return SeemsConnected(fd);
}

int geterror(int fd) {
    return uxvisa::sys::PendingError(fd);
}

CSessionTCPIP::CSessionTCPIP()
    : m_termchar_enabled(false), m_socket(-1), m_remote(), m_port(0), m_last_error(0),
      m_reserved_first(0), m_reserved_second(30), m_read_timeout(DefaultTimeoutMs),
      m_write_timeout(DefaultTimeoutMs), m_connect_timeout(ConnectTimeoutMs),
      m_reserved_flag(false) {}

CSessionTCPIP::~CSessionTCPIP() {
    CSessionTCPIP::CloseConnection();
}

long CSessionTCPIP::OpenConnection(char* resource, unsigned long, unsigned long) {
    return uxvisa::Guarded([&]() -> long {
        m_host = resource == nullptr ? "" : resource;
        m_last_error = 0;
        m_socket = -1;
        if (!TakeAddress(uxvisa::SplitAddress(m_host))) {
            return VI_ERROR_INV_RSRC_NAME;
        }
        m_socket = OpenSocket();
        if (m_socket == -1) {
            return VI_ERROR_RSRC_NFOUND;
        }
        const long resolved = ResolveHost();
        return resolved != VI_SUCCESS ? resolved : StartConnecting();
    });
}

bool CSessionTCPIP::TakeAddress(const std::vector<std::string>& fields) {
    if (fields.size() != 4 || uxvisa::UpperCased(fields[3].c_str()) != "SOCKET") {
        return false;
    }
    m_host = fields[1];
    m_port = static_cast<int>(std::strtol(fields[2].c_str(), nullptr, 10));
    return true;
}

// A host that is not resolved reads as one that does not answer, unless the system says that there
// is no network.
long CSessionTCPIP::ResolveHost() {
    in_addr address{};
    if (!Resolve(m_host, address)) {
        const int error = errno;
        return Abandon(m_last_error, error == ENONET ? VI_ERROR_RSRC_NFOUND : VI_ERROR_TMO);
    }
    m_remote = {};
    m_remote.sin_family = AF_INET;
    m_remote.sin_addr = address;
    m_remote.sin_port = htons(static_cast<std::uint16_t>(m_port));
    return VI_SUCCESS;
}

long CSessionTCPIP::StartConnecting() {
    const int connected = uxvisa::sys::Connect(
        m_socket, reinterpret_cast<const sockaddr*>(&m_remote), sizeof m_remote);
    const int error = errno;
    if (connected == 0) {
        // Refused on purpose: no instrument answers before the call returns, so something on the
        // way (a redirecting proxy) pretends to be one.
        return Abandon(error, VI_ERROR_RSRC_NFOUND);
    }
    if (IsInProgress(error)) {
        return AwaitConnection();
    }
    // The socket stays open here and is closed with the session.
    m_last_error = error;
    return error == EHOSTUNREACH ? VI_ERROR_TMO : VI_ERROR_RSRC_NFOUND;
}

long CSessionTCPIP::AwaitConnection() {
    m_last_error = WaitForAll(m_socket, POLLOUT | POLLPRI, m_connect_timeout);
    m_last_error = m_last_error == 0 ? ConnectTimedOut : uxvisa::sys::PendingError(m_socket);
    if (m_last_error == 0) {
        return VI_SUCCESS;
    }
    return Abandon(m_last_error,
                   m_last_error == ConnectTimedOut ? VI_ERROR_TMO : VI_ERROR_RSRC_NFOUND);
}

long CSessionTCPIP::Abandon(int error, long status) {
    uxvisa::sys::Close(m_socket);
    m_socket = -1;
    m_last_error = error;
    return status;
}

bool CSessionTCPIP::GetConnected() {
    if (m_socket == -1) {
        return false;
    }
    if (SeemsConnected(m_socket)) {
        return true;
    }
    if (uxvisa::sys::Close(m_socket) == 0) {
        m_socket = -1;
    }
    return false;
}

long CSessionTCPIP::Reconnect() {
    return uxvisa::Guarded([&]() -> long {
        LogMessage("Start", "Reconnect");
        if (CloseConnection() != VI_SUCCESS) {
            return VI_ERROR_CONN_LOST;
        }
        const unsigned long start = uxvisa::WallClockMs();
        while (uxvisa::WallClockMs() - start <= ReconnectBudgetMs) {
            if (!StartReconnecting(start)) {
                return VI_ERROR_CONN_LOST;
            }
            if (AwaitReconnection()) {
                return VI_SUCCESS;
            }
            CloseConnection();
            m_last_error = EHOSTUNREACH;
        }
        return VI_ERROR_CONN_LOST;
    });
}

bool CSessionTCPIP::PrepareSocket() {
    m_socket = OpenSocket();
    return m_socket != -1 && uxvisa::sys::SetNonBlocking(m_socket) == 0 &&
           uxvisa::sys::SetOption(m_socket, SOL_SOCKET, SO_RCVBUF, OPT_RCVBUF) == 0;
}

// The pause comes before every attempt: instruments need it between two connections. Here a connect
// that succeeds at once is as good as one in progress.
bool CSessionTCPIP::StartReconnecting(unsigned long start) {
    for (;;) {
        if (!PrepareSocket()) {
            return false;
        }
        uxvisa::sys::Pause(ReconnectPauseUs);
        const int connected = uxvisa::sys::Connect(
            m_socket, reinterpret_cast<const sockaddr*>(&m_remote), sizeof m_remote);
        if (connected == 0 || IsInProgress(errno)) {
            return true;
        }
        m_last_error = errno;
        CloseConnection();
        if (uxvisa::WallClockMs() - start > ReconnectBudgetMs) {
            return false;
        }
    }
}

bool CSessionTCPIP::AwaitReconnection() {
    if (WaitForAll(m_socket, POLLOUT, ReconnectWaitMs) != 1) {
        return false;
    }
    m_last_error = uxvisa::sys::PendingError(m_socket);
    return m_last_error == 0;
}

long CSessionTCPIP::Clear() {
    return Reconnect();
}

long CSessionTCPIP::Read(unsigned char* buffer, unsigned long count, unsigned long* readCount) {
    return uxvisa::TransferOverStream(
        readCount, uxvisa::CountAfterTimeout::Told,
        [&] { return GetConnected() ? VI_SUCCESS : Reconnect(); },
        [&] {
            return uxvisa::ReadStream(
                m_socket, buffer, count,
                {uxvisa::StreamKind::Tcp, m_termchar_enabled, m_read_timeout});
        },
        [&] { CloseConnection(); });
}

// A write that timed out reports 0 bytes, on purpose: programs send the whole again.
long CSessionTCPIP::Write(unsigned char* buffer, unsigned long count, unsigned long* writtenCount) {
    return uxvisa::TransferOverStream(
        writtenCount, uxvisa::CountAfterTimeout::Withheld,
        [&] {
            return GetConnected() || Reconnect() == VI_SUCCESS ? VI_SUCCESS : VI_ERROR_CONN_LOST;
        },
        [&] { return uxvisa::WriteStream(m_socket, buffer, count, m_write_timeout); },
        [&] { CloseConnection(); });
}

long CSessionTCPIP::CloseConnection() {
    if (m_socket == -1) {
        return VI_SUCCESS;
    }
    if (uxvisa::sys::ShutdownSending(m_socket) != 0 && errno != ENOTCONN) {
        // Left open: a descriptor that cannot be shut down may not be ours any more.
        m_socket = -1;
        return VI_ERROR_CLOSING_FAILED;
    }
    uxvisa::DrainStream(m_socket);
    return CloseSocket();
}

long CSessionTCPIP::CloseSocket() {
    const bool closed = uxvisa::sys::Close(m_socket) == 0 || errno == ENOTSOCK;
    m_socket = -1;
    return closed ? VI_SUCCESS : VI_ERROR_CLOSING_FAILED;
}

long CSessionTCPIP::SetAttribute(unsigned long attribute, unsigned long value) {
    return uxvisa::StreamAttributes{m_read_timeout, m_write_timeout, m_termchar_enabled}.Set(
        attribute, value);
}

long CSessionTCPIP::GetAttribute(unsigned long attribute, void* value) {
    return uxvisa::StreamAttributes{m_read_timeout, m_write_timeout, m_termchar_enabled}.Get(
        attribute, value);
}

long CSessionTCPIP::FindResources(char* expression, FindCallback callback, void* context) {
    const int error = errno;
    return uxvisa::Guarded([&] {
        if (uxvisa::ReportsEmulator(expression, error)) {
            callback(this, uxvisa::EmulatorRecord, context);
        }
        return CBcastUDP::FindResources(this, expression, callback, context, DiscoveryLocalPort,
                                        DiscoveryPort);
    });
}

std::string CSessionTCPIP::ParseResponse(const char* reply, int length, int socketIndex,
                                         const char* senderAddress) {
    return uxvisa::SocketRecord(reply, static_cast<std::size_t>(length), socketIndex,
                                senderAddress);
}

int CSessionTCPIP::FillRequest(char* buffer, int size) {
    return uxvisa::FillDiscoveryRequest(buffer, size);
}
