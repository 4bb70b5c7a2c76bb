// The other end of a stream session: a server on a real socket that plays a list of steps.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace uxvisa::test {

// Owns a descriptor; -1 is none.
class Descriptor {
public:
    explicit Descriptor(int fd = -1) : m_fd(fd) {}
    Descriptor(Descriptor&& other) noexcept : m_fd(other.Release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept;
    ~Descriptor() { Close(); }

    int Get() const { return m_fd; }
    int Release();
    void Close();

private:
    int m_fd;
};

// A listening stream socket, TCP or local. What makes the two differ for a peer stands here.
class PeerListener {
public:
    // On a port that the kernel chooses.
    static PeerListener OnTcp(const std::string& address = "127.0.0.1");
    // The path is removed with the listener.
    static PeerListener OnPath(const std::string& path);
    PeerListener(PeerListener&& other) noexcept = default;
    ~PeerListener();

    int Get() const { return m_socket.Get(); }
    // 0 for a local socket.
    int Port() const { return m_port; }
    // Of a TCP listener, for sessions of the class SOCKET.
    std::string Resource() const;
    // Both hold for the connections accepted afterwards.
    void SetReceiveBuffer(int bytes);
    void SetBacklog(int connections);
    // Further connections are refused.
    void Close();

private:
    PeerListener() = default;

    Descriptor m_socket;
    std::string m_address;
    std::string m_path;
    int m_port = 0;
};

// The steps are listed first, then played by a thread of its own from Start() on. A step that does
// not come true fails the test in Finish(), which the destructor calls. Nothing waits for longer
// than a limit, so a peer never hangs a test.
class ScriptedPeer {
public:
    using Milliseconds = std::chrono::milliseconds;

    explicit ScriptedPeer(PeerListener listener = PeerListener::OnTcp());
    ~ScriptedPeer();

    std::string Resource() const { return m_resource; }
    int Port() const { return m_port; }

    // The step replaces the connection of an earlier one, which is closed.
    ScriptedPeer& Accept();
    ScriptedPeer& Expect(const std::string& bytes);
    // Takes at most `piece` bytes at a time and pauses after each.
    ScriptedPeer& ExpectSlowly(const std::string& bytes, std::size_t piece, Milliseconds pause);
    // The client has sent nothing more and has closed without a reset.
    ScriptedPeer& ExpectEnd();
    // The connection has no error pending: nothing of what was sent was thrown back by a reset.
    ScriptedPeer& ExpectNoError();
    ScriptedPeer& Send(const std::string& bytes);
    // Pieces of the given sizes, the sizes used over and over, with a pause after each piece.
    ScriptedPeer& SendPieces(const std::string& bytes, const std::vector<std::size_t>& sizes,
                             Milliseconds pause = Milliseconds(0));
    // Ends the sending direction only.
    ScriptedPeer& HalfClose();
    // Ends the connection at once, what is under way is lost.
    ScriptedPeer& Reset();
    ScriptedPeer& Close();
    ScriptedPeer& StopListening();
    ScriptedPeer& Pause(Milliseconds time);
    // What the test waits for with WaitFor().
    ScriptedPeer& Mark(const std::string& name);
    // Waits until the test calls Signal().
    ScriptedPeer& Await(const std::string& name);

    ScriptedPeer& Start();
    // Fails the test, and returns false, when the peer does not get there.
    bool WaitFor(const std::string& mark);
    void Signal(const std::string& name);
    // Waits until all steps were played; later calls do nothing. Must have been started.
    void Finish();

private:
    using Step = std::function<void()>;

    ScriptedPeer& Add(Step step);
    void Play();
    void End(const std::string& failure);
    void AwaitEnd();
    void AwaitReadiness(int fd, short events, const std::string& purpose);
    void AcceptNow();
    void ExpectNow(const std::string& bytes, std::size_t piece, Milliseconds pause);
    void ExpectEndNow();
    void ExpectNoErrorNow() const;
    void SendNow(const char* bytes, std::size_t size);
    void SendPiecesNow(const std::string& bytes, const std::vector<std::size_t>& sizes,
                       Milliseconds pause);
    void ResetNow();
    void AwaitNow(const std::string& name);
    void PauseNow(Milliseconds time);

    PeerListener m_listener;
    std::string m_resource;
    int m_port;
    Descriptor m_connection;
    Descriptor m_stopEvent;
    std::vector<Step> m_steps;
    std::thread m_thread;
    bool m_finished = false;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::set<std::string> m_marks;
    std::set<std::string> m_signals;
    std::string m_failure;
    bool m_ended = false;
    bool m_stopped = false;
};

} // namespace uxvisa::test
