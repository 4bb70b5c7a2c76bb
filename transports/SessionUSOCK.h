// The session behind "USOCK::path::…": a Unix-domain stream socket.
#pragma once

#include <sys/un.h>

#include <cstdint>
#include <string>

#include "core/BaseSession.h"

// The socket blocks: a silent live peer blocks a read, and closing waits until the peer has closed.
// The fields are binary interface.
class UXVISA_API CSessionUSOCK : public CBaseSession {
public:
    CSessionUSOCK();
    ~CSessionUSOCK() override;
    long OpenConnection(char* resource, unsigned long accessMode, unsigned long timeoutMs) override;
    long CloseConnection() override;
    long FindResources(char* expression, FindCallback callback, void* context) override;
    long SetAttribute(unsigned long attribute, unsigned long value) override;
    long GetAttribute(unsigned long attribute, void* value) override;
    long Read(unsigned char* buffer, unsigned long count, unsigned long* readCount) override;
    long Write(unsigned char* buffer, unsigned long count, unsigned long* writtenCount) override;
    long Clear() override;

    int CreateUSocket();
    // False, with a line on standard output, when an error is pending on the socket.
    bool IsConnectedU(int fd);
    bool GetConnectionState();
    // One attempt, without a pause, to connect anew to the path of OpenConnection().
    long Reconnect();
    int FillRequest(char* buffer, int size);

private:
    UXVISA_INTERNAL long ConnectToPath();
    UXVISA_INTERNAL long Abandon(long status);

    std::uint32_t m_read_timeout;
    std::uint32_t m_write_timeout;
    [[maybe_unused]] int m_reserved_first;
    [[maybe_unused]] int m_reserved_second;
    [[maybe_unused]] int m_reserved_third;
    [[maybe_unused]] int m_reserved_fourth;
    bool m_termchar_enabled;
    int m_last_error;
    int m_socket;
    sockaddr_un m_local;
    std::string m_path;
};
