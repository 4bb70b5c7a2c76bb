// The far end of the measured connections: a process of its own that answers each request line.
#pragma once

#include <sys/types.h>

#include <string>

namespace uxvisa::bench {

// Serves every connection with a child process. A request line of 'Q' is answered with a line of 64
// bytes, "B<n>" with n bytes of block data, "L<n>" with a line of n bytes, "S" with nothing. A
// VXI-11 peer answers calls of the core channel instead, a BRIX peer each request of 18 bytes with
// a packet of 22.
class Peer {
public:
    enum class Kind { Tcp, Local, Vxi11, Brix };

    explicit Peer(Kind kind);
    ~Peer();
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    std::string Resource() const;
    int Port() const { return m_port; }
    // A blocking socket connected to the peer, without Nagle's delay.
    int Connect() const;
    // Ends all its connections; a local session does not close before.
    void Stop();

private:
    int ListenOnTcp();
    int ListenOnPath();

    pid_t m_child;
    unsigned short m_port = 0;
    std::string m_path;
};

// Keeps this process, and what it forks from now on, on one processor; or lets it go again.
void PinToOneProcessor(bool pinned);

void SendAll(int fd, const std::string& bytes);
// Exactly `size` bytes by plain receives.
void ReceiveAll(int fd, char* buffer, std::size_t size);

} // namespace uxvisa::bench
