// A monitor: the session that sees what a hooked session transfers.
#pragma once

#include "core/BaseSession.h"
#include "monitor/SharedObject.h"

namespace uxvisa {

// 1: the program wrote, 0: it read. 32 bits. A number of this library's own.
constexpr unsigned long MonitorDirectionAttribute = 0x3FFF00E8;

// Where the bytes of a Read() belong. Messages of more than 50 bytes come in pieces.
struct MonitoredPlace {
    bool written;   // by the program; otherwise it was read
    bool continues; // the piece before it
    bool goesOn;    // in the next piece, unless that was dropped
};

} // namespace uxvisa

// Opened on "X::HOOK", it watches the hook opened on "X". Neither has to come first. Every Read()
// gives bytes of one message, with the status of the operation that is watched:
//   VI_ERROR_RSRC_BUSY     100 ms have passed and there was nothing
//   VI_ERROR_TMO           the direction has turned: read MonitorDirectionAttribute and read on
//   VI_ERROR_ABORT         with no bytes, 100 ms after the program cleared its session
//   VI_ERROR_RSRC_NFOUND   not open
// While a monitor is open, it has to read: the program waits for it. Calls on one monitor come one
// at a time. The fields are binary interface.
class UXVISA_API CSessionDebug : public CBaseSession, public CSharedObject {
public:
    CSessionDebug();
    ~CSessionDebug() override;
    long OpenConnection(char* resource, unsigned long accessMode, unsigned long timeoutMs) override;
    long CloseConnection() override;
    long SetAttribute(unsigned long attribute, unsigned long value) override;
    long GetAttribute(unsigned long attribute, void* value) override;
    long Read(unsigned char* buffer, unsigned long count, unsigned long* readCount) override;
    long Write(unsigned char* buffer, unsigned long count, unsigned long* writtenCount) override;
    long Clear() override;

    // Of the message that the last Read() took from. Unlike the attribute, it is this monitor's
    // own.
    uxvisa::MonitoredPlace LastPlace() const {
        return {(m_place & 1) != 0, (m_place & 2) != 0, (m_place & 4) != 0};
    }

private:
    UXVISA_INTERNAL bool Join();
    UXVISA_INTERNAL long Poll(unsigned char* buffer, unsigned long count, unsigned long& taken);
    UXVISA_INTERNAL bool TellsTurn();
    UXVISA_INTERNAL long Take(unsigned char* buffer, unsigned long count, unsigned long& taken);

    bool m_direction_acknowledged;
    unsigned int m_offset;
    unsigned char m_own_toggle;
    // What is this library's own lies where the object ends in padding.
    bool m_has_consumed;
    unsigned char m_place;
};

static_assert(sizeof(CSessionDebug) == 216, "other programs rely on this layout");
