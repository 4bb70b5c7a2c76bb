#include "transports/SessionUSOCK.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <vector>

#include "core/CommonLib.h"
#include "core/Guard.h"
#include "transports/EmulatorRecord.h"
#include "transports/StreamSocket.h"
#include "transports/SystemCalls.h"
#include "uxvisa/visatype.h"

namespace {

constexpr std::uint32_t DefaultTimeoutMs = 100000;
constexpr int ConnectTimedOut = 100;
// After each receive, so that a reader in a loop leaves the processor to a peer on the same
// machine.
constexpr long PauseAfterReceiveUs = 500;
constexpr socklen_t AddressSize = 110;
static_assert(sizeof(sockaddr_un) == AddressSize);

void Say(const char* before, int error) {
    std::printf("%s%s\n", before, std::strerror(error));
    std::fflush(stdout);
}

} // namespace

CSessionUSOCK::CSessionUSOCK()
    : m_read_timeout(DefaultTimeoutMs), m_write_timeout(DefaultTimeoutMs), m_reserved_first(5000),
      m_reserved_second(0), m_reserved_third(0), m_reserved_fourth(30), m_termchar_enabled(false),
      m_last_error(0), m_socket(-1), m_local() {}

CSessionUSOCK::~CSessionUSOCK() {
    CSessionUSOCK::CloseConnection();
}

int CSessionUSOCK::CreateUSocket() {
    return uxvisa::sys::Socket(AF_UNIX, SOCK_STREAM, 0);
}

long CSessionUSOCK::OpenConnection(char* resource, unsigned long, unsigned long) {
    return uxvisa::Guarded([&]() -> long {
        m_last_error = 0;
        m_socket = -1;
        const std::vector<std::string> fields =
            uxvisa::SplitAddress(resource == nullptr ? "" : resource);
        if (fields.size() < 2) {
            return VI_ERROR_INV_RSRC_NAME;
        }
        m_path = fields[1];
        m_socket = CreateUSocket();
        return m_socket == -1 ? VI_ERROR_RSRC_NFOUND : ConnectToPath();
    });
}

// A path of 108 bytes fills the field without a terminator, which the system accepts; a longer one
// is never cut to another's name.
long CSessionUSOCK::ConnectToPath() {
    m_local = {};
    m_local.sun_family = AF_UNIX;
    const bool fits = m_path.size() <= sizeof m_local.sun_path;
    if (fits) {
        std::memcpy(m_local.sun_path, m_path.data(), m_path.size());
    }
    errno = ENAMETOOLONG;
    if (!fits || uxvisa::sys::Connect(m_socket, reinterpret_cast<const sockaddr*>(&m_local),
                                      AddressSize) != 0) {
        m_last_error = errno;
        Say("", m_last_error);
        return Abandon(VI_ERROR_RSRC_NFOUND);
    }
    m_last_error = uxvisa::sys::PendingError(m_socket);
    if (m_last_error == 0) {
        return VI_SUCCESS;
    }
    return Abandon(m_last_error == ConnectTimedOut ? VI_ERROR_TMO : VI_ERROR_RSRC_NFOUND);
}

long CSessionUSOCK::Abandon(long status) {
    uxvisa::sys::Close(m_socket);
    m_socket = -1;
    return status;
}

bool CSessionUSOCK::IsConnectedU(int fd) {
    int error = 0;
    if (!uxvisa::sys::TakePendingError(fd, error)) {
        error = -1;
    }
    if (error != 0) {
        Say("IsConnectedState:", error);
    }
    return error == 0;
}

bool CSessionUSOCK::GetConnectionState() {
    return m_socket != -1 && IsConnectedU(m_socket);
}

// A failed connect leaves no socket, whose pending error then reads as none: the reconnect reports
// success and the next transfer the lost connection. Programs that clear a session whose server
// restarts rely on that.
long CSessionUSOCK::Reconnect() {
    return uxvisa::Guarded([&]() -> long {
        if (CloseConnection() != VI_SUCCESS) {
            return VI_ERROR_CONN_LOST;
        }
        m_socket = CreateUSocket();
        if (m_socket == -1) {
            return VI_ERROR_CONN_LOST;
        }
        if (uxvisa::sys::Connect(m_socket, reinterpret_cast<const sockaddr*>(&m_local),
                                 AddressSize) != 0) {
            m_last_error = errno;
            CloseConnection();
        }
        m_last_error = uxvisa::sys::PendingError(m_socket);
        return m_last_error == 0 ? VI_SUCCESS : VI_ERROR_CONN_LOST;
    });
}

long CSessionUSOCK::Clear() {
    return Reconnect();
}

long CSessionUSOCK::Read(unsigned char* buffer, unsigned long count, unsigned long* readCount) {
    return uxvisa::TransferOverStream(
        readCount, uxvisa::CountAfterTimeout::Told,
        [&] { return GetConnectionState() ? VI_SUCCESS : Reconnect(); },
        [&] {
            return uxvisa::ReadStream(m_socket, buffer, count,
                                      {uxvisa::StreamKind::Local, m_termchar_enabled,
                                       m_read_timeout, PauseAfterReceiveUs});
        },
        [&] { CloseConnection(); });
}

// A write that timed out reports 0 bytes, on purpose: programs send the whole again.
long CSessionUSOCK::Write(unsigned char* buffer, unsigned long count, unsigned long* writtenCount) {
    return uxvisa::TransferOverStream(
        writtenCount, uxvisa::CountAfterTimeout::Withheld,
        [&] {
            return GetConnectionState() || Reconnect() == VI_SUCCESS ? VI_SUCCESS
                                                                     : VI_ERROR_CONN_LOST;
        },
        [&] { return uxvisa::WriteStream(m_socket, buffer, count, m_write_timeout); },
        [&] { CloseConnection(); });
}

// No shutdown, on purpose: the peer closes first, so that a server is never cut off in the middle
// of a reply. On this blocking socket draining waits for it.
long CSessionUSOCK::CloseConnection() {
    if (m_socket == -1) {
        return VI_SUCCESS;
    }
    uxvisa::DrainStream(m_socket);
    const bool closed = uxvisa::sys::Close(m_socket) == 0 || errno == ENOTSOCK;
    m_socket = -1;
    return closed ? VI_SUCCESS : VI_ERROR_CLOSING_FAILED;
}

long CSessionUSOCK::SetAttribute(unsigned long attribute, unsigned long value) {
    return uxvisa::StreamAttributes{m_read_timeout, m_write_timeout, m_termchar_enabled}.Set(
        attribute, value);
}

long CSessionUSOCK::GetAttribute(unsigned long attribute, void* value) {
    return uxvisa::StreamAttributes{m_read_timeout, m_write_timeout, m_termchar_enabled}.Get(
        attribute, value);
}

// Nothing is searched for; a null expression raises the string's own exception, and nothing of the
// C API can pass one.
long CSessionUSOCK::FindResources(char* expression, FindCallback callback, void* context) {
    const int error = errno;
    if (uxvisa::ReportsEmulator(std::string(expression), error)) {
        callback(this, uxvisa::EmulatorRecord, context);
    }
    return VI_SUCCESS;
}

int CSessionUSOCK::FillRequest(char* buffer, int size) {
    return uxvisa::FillDiscoveryRequest(buffer, size);
}
