#include "core/BaseSession.h"

#include <algorithm>
#include <cstring>

#include "core/FormattedInput.h"
#include "core/FormattedOutput.h"
#include "core/Guard.h"
#include "uxvisa/visatype.h"

namespace {

constexpr long ReadBufferLimit = 65000;
constexpr unsigned long BlockSize = 65536;
// Some transports store a NUL behind the data they deliver, so every read buffer has this to spare.
constexpr unsigned long ReadSlack = 16;

} // namespace

CBaseSession::CBaseSession() : m_skip_until(0), m_line_done(0), m_id(0) {}

CBaseSession::~CBaseSession() = default;

unsigned long CBaseSession::GetID() {
    return m_id;
}

void CBaseSession::SetID(unsigned long id) {
    m_id = id;
}

// The statuses below differ from each other on purpose: applications tell by them that an operation
// is absent (not implemented), is no business of this object (not supported), or has nothing to do
// (disabling events that were never enabled).

long CBaseSession::FindRsrc(char*, ISession**, unsigned long*, char*) {
    return VI_ERROR_NIMPL_OPER;
}

long CBaseSession::FindNext(char*) {
    return VI_ERROR_NIMPL_OPER;
}

long CBaseSession::ParseRsrcEx(char*, unsigned short*, unsigned short*, char*, char*, char*) {
    return VI_ERROR_NIMPL_OPER;
}

long CBaseSession::Open(char*, unsigned long, unsigned long, ISession**) {
    return VI_ERROR_NSUP_OPER;
}

long CBaseSession::OpenConnection(char*, unsigned long, unsigned long) {
    return VI_ERROR_NIMPL_OPER;
}

long CBaseSession::CloseConnection() {
    return VI_ERROR_NIMPL_OPER;
}

long CBaseSession::FindResources(char*, FindCallback, void*) {
    return VI_ERROR_NIMPL_OPER;
}

long CBaseSession::EnableEvent(unsigned long, unsigned short, unsigned long) {
    return VI_ERROR_NIMPL_OPER;
}

long CBaseSession::DisableEvent(unsigned long, unsigned short) {
    return VI_SUCCESS;
}

long CBaseSession::DiscardEvents(unsigned long, unsigned short) {
    return VI_SUCCESS;
}

long CBaseSession::SetAttribute(unsigned long, unsigned long) {
    return VI_ERROR_NIMPL_OPER;
}

long CBaseSession::GetAttribute(unsigned long, void*) {
    return VI_ERROR_NSUP_ATTR;
}

long CBaseSession::Read(unsigned char*, unsigned long, unsigned long*) {
    return VI_ERROR_NIMPL_OPER;
}

long CBaseSession::Write(unsigned char*, unsigned long, unsigned long*) {
    return VI_ERROR_NIMPL_OPER;
}

long CBaseSession::Clear() {
    return VI_ERROR_NIMPL_OPER;
}

long CBaseSession::Close(unsigned long) {
    return VI_ERROR_NIMPL_OPER;
}

long CBaseSession::Flush(unsigned short) {
    return VI_ERROR_NIMPL_OPER;
}

long CBaseSession::SetBuf(unsigned short, unsigned long) {
    return VI_ERROR_NIMPL_OPER;
}

long CBaseSession::Printf(char* format, va_list& arguments) {
    return uxvisa::Guarded([&] { return uxvisa::PrintFormatted(*this, format, arguments); });
}

long CBaseSession::Scanf(char* format, va_list& arguments) {
    return uxvisa::Guarded([&]() -> long {
        if (format == nullptr) {
            return VI_ERROR_INV_FMT;
        }
        m_line_done = 0;
        const long filled = ReadToBuff();
        if (filled < 0) {
            return filled;
        }
        return uxvisa::ScanFormatted(m_read_buf, m_skip_until, format, arguments);
    });
}

long CBaseSession::ReadToBuff() {
    // Wider than the 32 bits that sessions store, so that one that stores 64 does no harm.
    unsigned long attribute = 0;
    GetAttribute(VI_ATTR_TERMCHAR_EN, &attribute);
    if (static_cast<unsigned int>(attribute) == 1) {
        return ReadBlock();
    }
    return ReadBytes(ReadBufferLimit - static_cast<long>(m_read_buf.size()));
}

// Replaces the whole buffer even when the read failed: what came before a time-out is kept for the
// next call, what was left of earlier calls is not. Line-oriented programs rely on that.
long CBaseSession::ReadBlock() {
    unsigned char block[BlockSize + ReadSlack];
    unsigned long count = 0;
    const long status = Read(block, BlockSize, &count);
    const char* text = reinterpret_cast<const char*>(block);
    m_read_buf.assign(text, strnlen(text, std::min(count, BlockSize)));
    if (status != VI_SUCCESS_TERM_CHAR) {
        return status;
    }
    m_line_done = 1;
    m_skip_until = 0;
    return VI_SUCCESS;
}

long CBaseSession::ReadBytes(long room) {
    if (room < 1 || m_line_done != 0) {
        return VI_SUCCESS;
    }
    for (long received = 0; received < room && m_line_done == 0; ++received) {
        unsigned char byte[1 + ReadSlack] = {};
        unsigned long count = 0;
        const long status = Read(byte, 1, &count);
        if (count != 1) {
            return status == VI_ERROR_TMO && !m_read_buf.empty() ? VI_SUCCESS : status;
        }
        AcceptByte(byte[0]);
    }
    return VI_SUCCESS;
}

void CBaseSession::AcceptByte(unsigned char byte) {
    if (m_skip_until != 0) {
        if (byte == m_skip_until) {
            m_skip_until = 0;
        }
        return;
    }
    m_read_buf.push_back(static_cast<char>(byte));
    if (byte == '\n') {
        m_line_done = 1;
    }
}

void CBaseSession::TrimBuff(unsigned int count) {
    if (count <= m_read_buf.size()) {
        m_read_buf.erase(0, count);
    }
}
