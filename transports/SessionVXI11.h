// The session behind "TCPIP::host[::device]::INSTR": the VXI-11 core channel.
#pragma once

#include <cstdint>
#include <string>

#include "core/BaseSession.h"
#include "transports/BcastUDP.h"

// Opens no socket itself: every byte goes through the driver library bound in the global `Visa`, on
// a raw SOCKET resource. The fields are binary interface.
class UXVISA_API CSessionVXI11 : public CBaseSession, private CBcastUDP {
public:
    CSessionVXI11();
    ~CSessionVXI11() override;
    long OpenConnection(char* resource, unsigned long accessMode, unsigned long timeoutMs) override;
    long CloseConnection() override;
    // Blocks for about half a second, and for half a second more when a driver library is bound
    // and instruments do not tell their identity at once.
    long FindResources(char* expression, FindCallback callback, void* context) override;
    long GetAttribute(unsigned long attribute, void* value) override;
    long Read(unsigned char* buffer, unsigned long count, unsigned long* readCount) override;
    long Write(unsigned char* buffer, unsigned long count, unsigned long* writtenCount) override;
    std::string ParseResponse(const char* reply, int length, int socketIndex,
                              const char* senderAddress) override;
    int FillRequest(char* buffer, int size) override;

    // As OpenConnection(), on a known port; port 0 asks the portmapper.
    long OpenConnectionEx(char* resource, unsigned long accessMode, unsigned long timeoutMs,
                          int port);
    // The core channel's TCP port as the host's portmapper knows it; 0 on any failure.
    int GetPort(const char* host);

private:
    UXVISA_INTERNAL long OpenLink(const char* resource, unsigned long timeoutMs, int port);
    UXVISA_INTERNAL void ConnectLink(const std::string& resource, unsigned long timeoutMs);
    UXVISA_INTERNAL long CreateLink(const std::string& device);
    UXVISA_INTERNAL void DestroyLink();
    UXVISA_INTERNAL long DeviceWrite(const unsigned char* data, std::size_t size);
    UXVISA_INTERNAL long DeviceRead(unsigned char* buffer, unsigned long count,
                                    unsigned long* readCount);
    UXVISA_INTERNAL std::string LinkWords() const;

    unsigned long m_link;
    unsigned long m_manager;
    unsigned char m_link_words[8];
    std::uint64_t m_transaction;
};
