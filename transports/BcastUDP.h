// The discovery base that the LAN sessions inherit beside the base session.
#pragma once

#include <queue>
#include <string>

#include "core/Export.h"

class CGetHostByAddrThread;

// The order of the operations and the field are binary interface.
class UXVISA_API CBcastUDP {
public:
    CBcastUDP();
    CBcastUDP(const CBcastUDP&) = delete;
    CBcastUDP& operator=(const CBcastUDP&) = delete;

    // The found-resource record that a reply stands for; empty for a reply to ignore.
    virtual std::string ParseResponse(const char* reply, int length, int socketIndex,
                                      const char* senderAddress) = 0;
    // Writes the request to broadcast and returns its length.
    virtual int FillRequest(char* buffer, int size) = 0;

protected:
    ~CBcastUDP();

private:
    std::queue<CGetHostByAddrThread*> m_lookups;
};
