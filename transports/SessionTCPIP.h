// The session behind "TCPIP::host::port::SOCKET": a raw TCP stream to an instrument.
#pragma once

#include <netinet/in.h>

#include <cstdint>
#include <string>
#include <vector>

#include "Library/Export.h"
#include "core/BaseSession.h"
#include "transports/BcastUDP.h"

// Receive-buffer size of every reconnected socket.
extern UXVISA_API const int OPT_RCVBUF;

// A non-blocking TCP socket with keep-alive and without Nagle's delay; -1 with errno on failure.
UXVISA_API int CreateSocket();
// Looks at descriptor 0 only; every other descriptor counts as connected.
UXVISA_API bool IsConnected(int fd);
// The socket's pending error, 0 if none.
UXVISA_API int geterror(int fd);

// Not thread-safe: calls on one session are serialised by the caller. The fields are binary
// interface.
class UXVISA_API CSessionTCPIP : public CBaseSession, private CBcastUDP {
public:
    CSessionTCPIP();
    ~CSessionTCPIP() override;
    long OpenConnection(char* resource, unsigned long accessMode, unsigned long timeoutMs) override;
    long CloseConnection() override;
    // Blocks for about half a second.
    long FindResources(char* expression, FindCallback callback, void* context) override;
    long SetAttribute(unsigned long attribute, unsigned long value) override;
    long GetAttribute(unsigned long attribute, void* value) override;
    long Read(unsigned char* buffer, unsigned long count, unsigned long* readCount) override;
    long Write(unsigned char* buffer, unsigned long count, unsigned long* writtenCount) override;
    long Clear() override;
    std::string ParseResponse(const char* reply, int length, int socketIndex,
                              const char* senderAddress) override;
    int FillRequest(char* buffer, int size) override;

    // False after having closed a socket whose peer has gone.
    bool GetConnected();
    // Connects anew to the address of OpenConnection; keeps trying for 3 s.
    long Reconnect();

private:
    UXVISA_INTERNAL bool TakeAddress(const std::vector<std::string>& fields);
    UXVISA_INTERNAL long ResolveHost();
    UXVISA_INTERNAL long StartConnecting();
    UXVISA_INTERNAL long AwaitConnection();
    UXVISA_INTERNAL long Abandon(int error, long status);
    UXVISA_INTERNAL bool PrepareSocket();
    UXVISA_INTERNAL bool StartReconnecting(unsigned long start);
    UXVISA_INTERNAL bool AwaitReconnection();
    UXVISA_INTERNAL long CloseSocket();

    bool m_termchar_enabled;
    int m_socket;
    sockaddr_in m_remote;
    std::string m_host;
    int m_port;
    int m_last_error;
    [[maybe_unused]] int m_reserved_first;
    [[maybe_unused]] int m_reserved_second;
    std::uint32_t m_read_timeout;
    std::uint32_t m_write_timeout;
    std::uint32_t m_connect_timeout;
    [[maybe_unused]] bool m_reserved_flag;
};
