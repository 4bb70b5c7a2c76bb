#include "monitor/SessionDebug.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <string>
#include <thread>

#include "core/CommonLib.h"
#include "core/Guard.h"
#include "monitor/MonitorBlock.h"
#include "uxvisa/visatype.h"

namespace {

constexpr const char* Suffix = "::HOOK";
constexpr unsigned long PatienceMs = 99;
constexpr std::chrono::microseconds BetweenPolls(100);

unsigned char PlaceOf(const uxvisa::MonitorPiece& piece) {
    return static_cast<unsigned char>((piece.written ? 1 : 0) | (piece.continues ? 2 : 0) |
                                      (piece.goesOn ? 4 : 0));
}

long SignExtended(unsigned int status) {
    return static_cast<int>(status);
}

} // namespace

CSessionDebug::CSessionDebug()
    : m_direction_acknowledged(false), m_offset(0), m_own_toggle(0), m_has_consumed(false),
      m_place(0) {}

CSessionDebug::~CSessionDebug() {
    CSessionDebug::CloseConnection();
}

long CSessionDebug::OpenConnection(char* resource, unsigned long, unsigned long) {
    return uxvisa::Guarded([&]() -> long {
        std::string name = resource == nullptr ? "" : resource;
        const std::size_t suffix = name.find(Suffix);
        if (suffix == std::string::npos) {
            return VI_ERROR_INV_RSRC_NAME;
        }
        name.erase(suffix, std::strlen(Suffix));
        CSessionDebug::CloseConnection();
        if (OpenSObj(name.c_str()) != 0) {
            return VI_ERROR_RSRC_NFOUND;
        }
        if (!Join()) {
            CloseSObj();
            return VI_ERROR_RSRC_NFOUND;
        }
        return VI_SUCCESS;
    });
}

// Present before it is counted: without that the program would take this monitor for a dead one.
bool CSessionDebug::Join() {
    const uxvisa::SharedObjectLock lock(*this);
    if (!DeclarePresence()) {
        return false;
    }
    m_own_toggle = uxvisa::MonitorBlock(GetData()).Join();
    m_offset = 0;
    m_direction_acknowledged = false;
    m_has_consumed = false;
    return true;
}

long CSessionDebug::CloseConnection() {
    if (GetData() != nullptr) {
        const uxvisa::SharedObjectLock lock(*this);
        uxvisa::MonitorBlock(GetData()).Leave(m_own_toggle);
    }
    CloseSObj();
    return VI_SUCCESS;
}

long CSessionDebug::SetAttribute(unsigned long, unsigned long) {
    return VI_ERROR_NSUP_ATTR;
}

long CSessionDebug::GetAttribute(unsigned long attribute, void* value) {
    if (attribute != uxvisa::MonitorDirectionAttribute) {
        return VI_ERROR_NSUP_ATTR;
    }
    if (value == nullptr) {
        return VI_ERROR_NSUP_ATTR_STATE;
    }
    if (GetData() == nullptr) {
        return VI_ERROR_RSRC_NFOUND;
    }
    const uxvisa::SharedObjectLock lock(*this);
    const unsigned int direction = uxvisa::MonitorBlock(GetData()).SeenDirection();
    std::memcpy(value, &direction, sizeof direction);
    m_direction_acknowledged = true;
    return VI_SUCCESS;
}

long CSessionDebug::Read(unsigned char* buffer, unsigned long count, unsigned long* readCount) {
    unsigned long unwanted = 0;
    unsigned long& taken = readCount == nullptr ? unwanted : *readCount;
    taken = 0;
    if (GetData() == nullptr) {
        return VI_ERROR_RSRC_NFOUND;
    }
    return uxvisa::Guarded([&] { return Poll(buffer, count, taken); });
}

// The status that is kept starts as busy, on purpose: a monitor tells silence, which is busy, from
// a program whose own read ran out of time. An empty message leaves its status and no bytes, so it
// shows only when the time is over, and not at all when data follow in time.
long CSessionDebug::Poll(unsigned char* buffer, unsigned long count, unsigned long& taken) {
    const unsigned long start = uxvisa::WallClockMs();
    long kept = VI_ERROR_RSRC_BUSY;
    while (uxvisa::WallClockMs() - start <= PatienceMs) {
        {
            const uxvisa::SharedObjectLock lock(*this);
            if (TellsTurn()) {
                return VI_ERROR_TMO;
            }
            m_direction_acknowledged = false;
            const bool news = uxvisa::MonitorBlock(GetData()).HoldsNews(m_own_toggle);
            if (count != 0 && buffer != nullptr && news) {
                kept = Take(buffer, count, taken);
            }
            uxvisa::MonitorBlock(GetData()).SeeDirection();
        }
        std::this_thread::sleep_for(BetweenPolls);
        if (taken != 0) {
            break;
        }
    }
    return kept;
}

// Not before the first message, so that a monitor gets the bytes of a write at once. The word that
// is compared belongs to all readers, on purpose: of several monitors one is told, and it tells
// them apart by LastPlace().
bool CSessionDebug::TellsTurn() {
    const uxvisa::MonitorBlock block(GetData());
    if (!m_has_consumed || m_direction_acknowledged || !block.DirectionTurned()) {
        return false;
    }
    block.SeeDirection();
    m_direction_acknowledged = true;
    return true;
}

long CSessionDebug::Take(unsigned char* buffer, unsigned long count, unsigned long& taken) {
    const uxvisa::MonitorBlock block(GetData());
    const uxvisa::MonitorPiece piece = block.Current();
    const unsigned int offset = std::min(m_offset, piece.length);
    const unsigned int left = piece.length - offset;
    taken = std::min<unsigned long>(left, count);
    std::memcpy(buffer, piece.data + offset, taken);
    m_place = PlaceOf(piece);
    m_offset = offset + static_cast<unsigned int>(taken);
    if (m_offset < piece.length) {
        return VI_SUCCESS;
    }
    m_own_toggle = block.Consume(m_own_toggle);
    m_offset = 0;
    m_has_consumed = true;
    return SignExtended(piece.status);
}

long CSessionDebug::Write(unsigned char*, unsigned long, unsigned long*) {
    return VI_SUCCESS;
}

long CSessionDebug::Clear() {
    return VI_SUCCESS;
}
