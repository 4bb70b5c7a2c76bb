// The discovery base that the LAN sessions inherit beside the base session.
#pragma once

#include <queue>
#include <string>

#include "core/ISession.h"

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

    // Broadcasts the request from `localPort` of every IPv4 interface to `destinationPort`,
    // collects replies for 500 ms and hands the records that match `expression` to the callback in
    // the calling thread, each instrument once. VI_SUCCESS, also when nobody answers or no
    // interface is there; VI_ERROR_RSRC_NFOUND when the system gives no socket at all. Ends the
    // process when the system does not tell its interfaces.
    long FindResources(ISession* owner, char* expression, FindCallback callback, void* context,
                       int localPort, int destinationPort);

protected:
    ~CBcastUDP();

private:
    UXVISA_INTERNAL void LookUp(const std::string& address);
    UXVISA_INTERNAL void EndLookups();

    std::queue<CGetHostByAddrThread*> m_lookups;
};
