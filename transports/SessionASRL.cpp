#include "transports/SessionASRL.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iterator>

#include "core/CommonLib.h"
#include "core/Guard.h"
#include "transports/SerialCalls.h"
#include "transports/SerialPorts.h"
#include "transports/SystemCalls.h"
#include "uxvisa/visatype.h"

namespace {

constexpr int ClosedFd = 0;
constexpr long NoTerminal = -1;
constexpr unsigned long ReopenTimeoutMs = 1000;
constexpr int MostPolls = 10;
constexpr long PauseAfterPollUs = 500;
constexpr long PauseAfterWriteUs = 1000;

struct Baud {
    unsigned long value;
    speed_t speed;
};

constexpr Baud Bauds[] = {{0, B0},         {50, B50},        {75, B75},       {110, B110},
                          {134, B134},     {150, B150},      {200, B200},     {300, B300},
                          {600, B600},     {1200, B1200},    {1800, B1800},   {2400, B2400},
                          {4800, B4800},   {9600, B9600},    {19200, B19200}, {38400, B38400},
                          {57600, B57600}, {115200, B115200}};

void Say(const char* before, int error) {
    std::printf("%s: %s\n", before, std::strerror(error));
    std::fflush(stdout);
}

void SetSpeeds(termios& settings, speed_t speed) {
    cfsetispeed(&settings, speed);
    cfsetospeed(&settings, speed);
}

void MakeRaw(termios& settings) {
    settings.c_iflag &=
        ~static_cast<tcflag_t>(IGNBRK | BRKINT | PARMRK | ISTRIP | INLCR | IGNCR | ICRNL | IXON);
    settings.c_oflag &= ~static_cast<tcflag_t>(OPOST);
    settings.c_lflag &= ~static_cast<tcflag_t>(ECHO | ECHONL | ICANON | ISIG | IEXTEN);
    settings.c_cflag &= ~static_cast<tcflag_t>(CSIZE | CSTOPB | PARENB | CRTSCTS);
    settings.c_cflag |= CS8 | CREAD | CLOCAL;
    settings.c_cc[VMIN] = 1;
    settings.c_cc[VTIME] = 1;
}

bool SetBaud(termios& settings, unsigned long value) {
    const auto* found = std::find_if(std::begin(Bauds), std::end(Bauds),
                                     [value](const Baud& baud) { return baud.value == value; });
    if (found == std::end(Bauds)) {
        return false;
    }
    SetSpeeds(settings, found->speed);
    return true;
}

// Data bits and stop bits go back to what the parity's usual line has, on purpose: data bits have
// no setting of their own here.
void SetParity(termios& settings, unsigned long parity) {
    if (parity > VI_ASRL_PAR_SPACE) {
        return;
    }
    settings.c_cflag &= ~static_cast<tcflag_t>(CSIZE | CSTOPB);
    switch (parity) {
    case VI_ASRL_PAR_ODD:
        settings.c_cflag |= PARENB | PARODD | CS7;
        break;
    case VI_ASRL_PAR_EVEN:
        settings.c_cflag &= ~static_cast<tcflag_t>(PARODD);
        settings.c_cflag |= PARENB | CS7;
        break;
    default:
        settings.c_cflag &= ~static_cast<tcflag_t>(PARENB);
        settings.c_cflag |= CS8;
    }
}

// One and a half stop bits are one: terminals know no half bits.
void SetStopBits(termios& settings, unsigned long stopBits) {
    if (stopBits == VI_ASRL_STOP_ONE || stopBits == VI_ASRL_STOP_ONE5) {
        settings.c_cflag &= ~static_cast<tcflag_t>(CSTOPB);
    } else if (stopBits == VI_ASRL_STOP_TWO) {
        settings.c_cflag |= CSTOPB;
    }
}

bool NamesDataBits(unsigned long value) {
    return value >= 5 && value <= 8;
}

} // namespace

CSessionASRL::CSessionASRL() : m_fd(ClosedFd), m_settings(), m_connected(0) {}

CSessionASRL::~CSessionASRL() {
    CSessionASRL::CloseConnection();
}

long CSessionASRL::OpenConnection(char* resource, unsigned long, unsigned long) {
    return uxvisa::Guarded([&]() -> long {
        CloseConnection();
        m_resource = resource == nullptr ? "" : resource;
        const std::string device = "/dev/" + uxvisa::SplitAddress(m_resource).front();
        m_fd = uxvisa::sys::OpenTerminal(device.c_str());
        if (m_fd < 0) {
            m_fd = ClosedFd;
            return VI_ERROR_RSRC_NFOUND;
        }
        return SetUpLine();
    });
}

// A device that is no terminal is told from one that is absent by a status of its own, which is no
// VISA code on purpose. Its descriptor goes with the session, or with the next opening.
long CSessionASRL::SetUpLine() {
    if (uxvisa::sys::GetTerminalSettings(m_fd, m_settings) != 0) {
        Say("Error from tcgetattr", errno);
        return NoTerminal;
    }
    SetSpeeds(m_settings, B115200);
    MakeRaw(m_settings);
    if (!Apply(TCSANOW, m_settings)) {
        CloseConnection();
        return VI_ERROR_RSRC_NFOUND;
    }
    m_connected = 1;
    return VI_SUCCESS;
}

long CSessionASRL::CloseConnection() {
    if (m_fd != ClosedFd) {
        uxvisa::sys::Close(m_fd);
        m_fd = ClosedFd;
    }
    m_connected = 0;
    return VI_SUCCESS;
}

bool CSessionASRL::GetConnected() {
    return m_fd > ClosedFd;
}

long CSessionASRL::Reconnect() {
    return uxvisa::Guarded([&]() -> long {
        if (CloseConnection() != VI_SUCCESS) {
            return VI_ERROR_CONN_LOST;
        }
        std::string resource = m_resource;
        const long opened = OpenConnection(resource.data(), 0, ReopenTimeoutMs);
        return opened == VI_SUCCESS ? VI_SUCCESS : VI_ERROR_CONN_LOST;
    });
}

long CSessionASRL::Clear() {
    return Reconnect();
}

// A closed session keeps its hands off descriptor 0, the program's standard input.
bool CSessionASRL::Apply(int when, const termios& settings) {
    return GetConnected() && uxvisa::sys::SetTerminalSettings(m_fd, when, settings) == 0;
}

// Discards what has arrived; the mask makes no difference.
long CSessionASRL::Flush(unsigned short) {
    if (Apply(TCSAFLUSH, m_settings)) {
        return VI_SUCCESS;
    }
    CloseConnection();
    return VI_ERROR_CONN_LOST;
}

// The pause comes after the question also when there are bytes: more of the same reply arrive
// meanwhile.
void CSessionASRL::AwaitBytes() {
    int waiting = 0;
    for (int polls = 0; polls < MostPolls && waiting == 0; ++polls) {
        uxvisa::sys::CountWaitingBytes(m_fd, waiting);
        uxvisa::sys::Pause(PauseAfterPollUs);
    }
}

// A silent line is a lost connection, on purpose: the session knows no time-out, and programs tell
// by the status that they may ask again. The NUL lets them take the data for a text; it lies behind
// the end of a buffer that is filled up.
long CSessionASRL::Read(unsigned char* buffer, unsigned long count, unsigned long* readCount) {
    if (!GetConnected()) {
        return VI_ERROR_CONN_LOST;
    }
    AwaitBytes();
    const ssize_t size = uxvisa::sys::ReadTerminal(m_fd, buffer, count);
    if (size < 1) {
        return VI_ERROR_CONN_LOST;
    }
    buffer[size] = '\0';
    if (readCount != nullptr) {
        *readCount = static_cast<unsigned long>(size);
    }
    return VI_SUCCESS;
}

// The count is never stored, on purpose: all was written or the status says otherwise. Sizes are
// compared by their low 32 bits, the width of a count of the C API.
long CSessionASRL::Write(unsigned char* buffer, unsigned long count, unsigned long*) {
    if (!GetConnected()) {
        return VI_ERROR_CONN_LOST;
    }
    const ssize_t written = uxvisa::sys::WriteTerminal(m_fd, buffer, count);
    if (static_cast<std::uint32_t>(written) != static_cast<std::uint32_t>(count)) {
        return VI_ERROR_CONN_LOST;
    }
    uxvisa::sys::DrainTerminal(m_fd);
    uxvisa::sys::Pause(PauseAfterWriteUs);
    return VI_SUCCESS;
}

// Every attribute can be read, on purpose, so that programs that print all of them need no special
// case; only the time-out has a value, in tenths of a second.
long CSessionASRL::GetAttribute(unsigned long attribute, void* value) {
    if (attribute != VI_ATTR_TMO_VALUE) {
        return VI_SUCCESS;
    }
    if (value == nullptr) {
        return VI_ERROR_NSUP_ATTR_STATE;
    }
    const std::uint32_t tenths = m_settings.c_cc[VTIME];
    std::memcpy(value, &tenths, sizeof tenths);
    return VI_SUCCESS;
}

// Time-out, XON and XOFF take the low byte of their own identifier and not the value, on purpose:
// programs recognise by it a line whose settings were touched.
long CSessionASRL::SetAttribute(unsigned long attribute, unsigned long value) {
    termios settings = m_settings;
    if (GetConnected()) {
        uxvisa::sys::GetTerminalSettings(m_fd, settings);
    }
    switch (attribute) {
    case VI_ATTR_TMO_VALUE:
        settings.c_cc[VTIME] = static_cast<cc_t>(attribute);
        break;
    case VI_ATTR_ASRL_XON_CHAR:
        settings.c_cc[VSTART] = static_cast<cc_t>(attribute);
        break;
    case VI_ATTR_ASRL_XOFF_CHAR:
        settings.c_cc[VSTOP] = static_cast<cc_t>(attribute);
        break;
    case VI_ATTR_ASRL_BAUD:
        if (!SetBaud(settings, value)) {
            return VI_ERROR_NSUP_ATTR_STATE;
        }
        break;
    case VI_ATTR_ASRL_DATA_BITS:
        return NamesDataBits(value) ? VI_SUCCESS : RefuseDataBits(settings);
    case VI_ATTR_ASRL_PARITY:
        if (value == VI_ASRL_PAR_MARK) {
            return VI_ERROR_INV_PARAMETER;
        }
        SetParity(settings, value);
        break;
    case VI_ATTR_ASRL_STOP_BITS:
        SetStopBits(settings, value);
        break;
    default:
        return VI_ERROR_NSUP_ATTR;
    }
    return Change(settings);
}

// A line that does not take a setting is closed and the setting kept and called done, on purpose:
// the next transfer reports the loss, and clearing the session opens the line anew.
long CSessionASRL::Change(const termios& settings) {
    if (!Apply(TCSANOW, settings)) {
        CloseConnection();
    }
    m_settings = settings;
    return VI_SUCCESS;
}

long CSessionASRL::RefuseDataBits(const termios& settings) {
    if (!Apply(TCSANOW, settings)) {
        CloseConnection();
        return VI_ERROR_RSRC_NFOUND;
    }
    m_settings = settings;
    return VI_ERROR_NSUP_ATTR_STATE;
}

void CSessionASRL::set_mincount(int fd, int block) {
    termios settings{};
    if (uxvisa::sys::GetTerminalSettings(fd, settings) != 0) {
        Say("Error tcgetattr", errno);
        return;
    }
    settings.c_cc[VMIN] = block != 0 ? 1 : 0;
    settings.c_cc[VTIME] = 5;
    if (uxvisa::sys::SetTerminalSettings(fd, TCSANOW, settings) != 0) {
        Say("Error tcsetattr", errno);
    }
}

long CSessionASRL::FindResources(char*, FindCallback callback, void* context) {
    return uxvisa::Guarded([&]() -> long {
        for (const std::string& device : getComList()) {
            const std::string name = uxvisa::Split(device.c_str(), "/").back();
            callback(this, (name + "::INSTR\n\n\n").c_str(), context);
        }
        return VI_SUCCESS;
    });
}
