#include "support/ScriptedPeer.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <stdexcept>
#include <utility>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace uxvisa::test {

namespace {

constexpr std::chrono::seconds StepLimit(30);
constexpr std::chrono::seconds ScriptLimit(45);
// Once the test has failed, there is no sense in waiting for steps that may never come.
constexpr std::chrono::seconds LimitAfterFailure(2);

std::runtime_error SystemFailure(const std::string& what) {
    return std::runtime_error(what + ": " + std::strerror(errno));
}

int Checked(int result, const char* what) {
    if (result < 0) {
        throw SystemFailure(what);
    }
    return result;
}

Descriptor OpenListener(int domain, const sockaddr* address, socklen_t length) {
    Descriptor listener(Checked(socket(domain, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket"));
    Checked(bind(listener.Get(), address, length), "bind");
    Checked(listen(listener.Get(), 16), "listen");
    return listener;
}

std::string Excerpt(const std::string& bytes, std::size_t around) {
    constexpr std::size_t Reach = 16;
    const std::size_t first = around > Reach ? around - Reach : 0;
    return testing::PrintToString(bytes.substr(first, 2 * Reach));
}

void Compare(const std::string& expected, const std::string& found) {
    const auto [at, other] =
        std::mismatch(expected.begin(), expected.end(), found.begin(), found.end());
    if (at == expected.end() && other == found.end()) {
        return;
    }
    const auto place = static_cast<std::size_t>(at - expected.begin());
    throw std::runtime_error("byte " + std::to_string(place) + " differs: expected " +
                             Excerpt(expected, place) + ", received " + Excerpt(found, place));
}

} // namespace

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
    if (this != &other) {
        Close();
        m_fd = other.Release();
    }
    return *this;
}

int Descriptor::Release() {
    return std::exchange(m_fd, -1);
}

void Descriptor::Close() {
    if (m_fd != -1) {
        close(Release());
    }
}

PeerListener PeerListener::OnTcp(const std::string& address) {
    sockaddr_in name{};
    name.sin_family = AF_INET;
    if (inet_pton(AF_INET, address.c_str(), &name.sin_addr) != 1) {
        throw std::runtime_error("not an IPv4 address: " + address);
    }
    socklen_t length = sizeof name;
    PeerListener listener;
    listener.m_address = address;
    listener.m_socket = OpenListener(AF_INET, reinterpret_cast<sockaddr*>(&name), length);
    Checked(getsockname(listener.Get(), reinterpret_cast<sockaddr*>(&name), &length),
            "getsockname");
    listener.m_port = ntohs(name.sin_port);
    return listener;
}

PeerListener PeerListener::OnPath(const std::string& path) {
    sockaddr_un name{};
    name.sun_family = AF_UNIX;
    if (path.size() >= sizeof name.sun_path) {
        throw std::runtime_error("path too long for a socket: " + path);
    }
    std::memcpy(name.sun_path, path.c_str(), path.size() + 1);
    PeerListener listener;
    listener.m_socket = OpenListener(AF_UNIX, reinterpret_cast<sockaddr*>(&name), sizeof name);
    listener.m_path = path;
    return listener;
}

PeerListener::~PeerListener() {
    if (m_socket.Get() != -1) {
        Close();
    }
}

std::string PeerListener::Resource() const {
    return "TCPIP0::" + m_address + "::" + std::to_string(m_port) + "::SOCKET";
}

void PeerListener::SetReceiveBuffer(int bytes) {
    Checked(setsockopt(Get(), SOL_SOCKET, SO_RCVBUF, &bytes, sizeof bytes), "SO_RCVBUF");
}

void PeerListener::SetBacklog(int connections) {
    Checked(listen(Get(), connections), "listen");
}

void PeerListener::Close() {
    m_socket.Close();
    if (!m_path.empty()) {
        unlink(m_path.c_str());
    }
}

ScriptedPeer::ScriptedPeer(PeerListener listener)
    : m_listener(std::move(listener)), m_resource(m_listener.Resource()), m_port(m_listener.Port()),
      m_stopEvent(Checked(eventfd(0, EFD_CLOEXEC), "eventfd")) {}

ScriptedPeer::~ScriptedPeer() {
    Finish();
}

ScriptedPeer& ScriptedPeer::Add(Step step) {
    m_steps.push_back(std::move(step));
    return *this;
}

ScriptedPeer& ScriptedPeer::Accept() {
    return Add([this] { AcceptNow(); });
}

ScriptedPeer& ScriptedPeer::Expect(const std::string& bytes) {
    return ExpectSlowly(bytes, 65536, Milliseconds(0));
}

ScriptedPeer& ScriptedPeer::ExpectSlowly(const std::string& bytes, std::size_t piece,
                                         Milliseconds pause) {
    return Add([this, bytes, piece, pause] { ExpectNow(bytes, piece, pause); });
}

ScriptedPeer& ScriptedPeer::ExpectEnd() {
    return Add([this] { ExpectEndNow(); });
}

ScriptedPeer& ScriptedPeer::ExpectNoError() {
    return Add([this] { ExpectNoErrorNow(); });
}

ScriptedPeer& ScriptedPeer::Send(const std::string& bytes) {
    return Add([this, bytes] { SendNow(bytes.data(), bytes.size()); });
}

ScriptedPeer& ScriptedPeer::SendPieces(const std::string& bytes,
                                       const std::vector<std::size_t>& sizes, Milliseconds pause) {
    return Add([this, bytes, sizes, pause] { SendPiecesNow(bytes, sizes, pause); });
}

ScriptedPeer& ScriptedPeer::HalfClose() {
    return Add([this] { Checked(shutdown(m_connection.Get(), SHUT_WR), "shutdown"); });
}

ScriptedPeer& ScriptedPeer::Reset() {
    return Add([this] { ResetNow(); });
}

ScriptedPeer& ScriptedPeer::Close() {
    return Add([this] { m_connection.Close(); });
}

ScriptedPeer& ScriptedPeer::StopListening() {
    return Add([this] { m_listener.Close(); });
}

ScriptedPeer& ScriptedPeer::Pause(Milliseconds time) {
    return Add([this, time] { PauseNow(time); });
}

ScriptedPeer& ScriptedPeer::Mark(const std::string& name) {
    return Add([this, name] {
        const std::lock_guard lock(m_mutex);
        m_marks.insert(name);
        m_changed.notify_all();
    });
}

ScriptedPeer& ScriptedPeer::Await(const std::string& name) {
    return Add([this, name] { AwaitNow(name); });
}

// The thread inherits a mask without any signal, so that those a test raises reach the session.
ScriptedPeer& ScriptedPeer::Start() {
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    m_thread = std::thread([this] { Play(); });
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return *this;
}

bool ScriptedPeer::WaitFor(const std::string& mark) {
    std::unique_lock lock(m_mutex);
    const auto reached = [&] { return m_ended || m_marks.count(mark) != 0; };
    m_changed.wait_for(lock, StepLimit, reached);
    if (m_marks.count(mark) != 0) {
        return true;
    }
    ADD_FAILURE() << "the peer did not get to \"" << mark << "\"";
    return false;
}

void ScriptedPeer::Signal(const std::string& name) {
    const std::lock_guard lock(m_mutex);
    m_signals.insert(name);
    m_changed.notify_all();
}

void ScriptedPeer::Finish() {
    if (m_finished) {
        return;
    }
    m_finished = true;
    if (!m_thread.joinable()) {
        EXPECT_TRUE(m_steps.empty()) << "peer: never started";
        return;
    }
    AwaitEnd();
    eventfd_write(m_stopEvent.Get(), 1);
    m_thread.join();
    if (!m_failure.empty()) {
        ADD_FAILURE() << "peer: " << m_failure;
    }
}

void ScriptedPeer::AwaitEnd() {
    const bool failed = testing::Test::HasFailure();
    std::unique_lock lock(m_mutex);
    m_changed.wait_for(lock, failed ? LimitAfterFailure : ScriptLimit, [this] { return m_ended; });
    m_stopped = true;
    m_changed.notify_all();
}

void ScriptedPeer::Play() {
    try {
        for (const Step& step : m_steps) {
            step();
        }
        End("");
    } catch (const std::exception& failure) {
        End(failure.what());
    }
}

void ScriptedPeer::End(const std::string& failure) {
    const std::lock_guard lock(m_mutex);
    m_failure = failure;
    m_ended = true;
    m_changed.notify_all();
}

void ScriptedPeer::AwaitReadiness(int fd, short events, const std::string& purpose) {
    pollfd waited[] = {{fd, events, 0}, {m_stopEvent.Get(), POLLIN, 0}};
    const auto limit = std::chrono::duration_cast<Milliseconds>(StepLimit).count();
    Checked(poll(waited, 2, static_cast<int>(limit)), "poll");
    if (waited[0].revents == 0) {
        throw std::runtime_error("waited in vain to " + purpose);
    }
}

void ScriptedPeer::AcceptNow() {
    AwaitReadiness(m_listener.Get(), POLLIN, "accept a connection");
    m_connection =
        Descriptor(Checked(accept4(m_listener.Get(), nullptr, nullptr, SOCK_CLOEXEC), "accept"));
    // Each piece is to leave at once; local sockets know no such delay and no such option.
    const int on = 1;
    setsockopt(m_connection.Get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

void ScriptedPeer::ExpectNow(const std::string& bytes, std::size_t piece, Milliseconds pause) {
    std::string found(bytes.size(), '\0');
    std::size_t size = 0;
    while (size < bytes.size()) {
        AwaitReadiness(m_connection.Get(), POLLIN, "receive");
        const std::size_t room = std::min(piece, bytes.size() - size);
        const ssize_t count = recv(m_connection.Get(), found.data() + size, room, 0);
        if (count < 0) {
            throw SystemFailure("recv after " + std::to_string(size) + " bytes");
        }
        if (count == 0) {
            throw std::runtime_error("the client closed after " + std::to_string(size) + " of " +
                                     std::to_string(bytes.size()) + " bytes");
        }
        size += static_cast<std::size_t>(count);
        PauseNow(pause);
    }
    Compare(bytes, found);
}

void ScriptedPeer::ExpectEndNow() {
    AwaitReadiness(m_connection.Get(), POLLIN, "see the client close");
    char byte = 0;
    const ssize_t count = recv(m_connection.Get(), &byte, 1, 0);
    if (count < 0) {
        throw SystemFailure("instead of an orderly end");
    }
    if (count > 0) {
        throw std::runtime_error("instead of an end, the client sent more");
    }
}

void ScriptedPeer::ExpectNoErrorNow() const {
    int error = 0;
    socklen_t size = sizeof error;
    Checked(getsockopt(m_connection.Get(), SOL_SOCKET, SO_ERROR, &error, &size), "SO_ERROR");
    if (error != 0) {
        throw std::runtime_error(std::string("the connection has failed: ") + std::strerror(error));
    }
}

void ScriptedPeer::SendNow(const char* bytes, std::size_t size) {
    while (size > 0) {
        AwaitReadiness(m_connection.Get(), POLLOUT, "send");
        const ssize_t count = send(m_connection.Get(), bytes, size, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count < 0 && errno != EAGAIN) {
            throw SystemFailure("send");
        }
        const auto sent = static_cast<std::size_t>(std::max<ssize_t>(count, 0));
        bytes += sent;
        size -= sent;
    }
}

void ScriptedPeer::SendPiecesNow(const std::string& bytes, const std::vector<std::size_t>& sizes,
                                 Milliseconds pause) {
    std::size_t sent = 0;
    for (std::size_t i = 0; sent < bytes.size(); ++i) {
        const std::size_t size = std::min(sizes[i % sizes.size()], bytes.size() - sent);
        SendNow(bytes.data() + sent, size);
        sent += size;
        PauseNow(pause);
    }
}

void ScriptedPeer::ResetNow() {
    const linger atOnce{1, 0};
    Checked(setsockopt(m_connection.Get(), SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce),
            "SO_LINGER");
    m_connection.Close();
}

void ScriptedPeer::AwaitNow(const std::string& name) {
    std::unique_lock lock(m_mutex);
    const auto signalled = [&] { return m_stopped || m_signals.count(name) != 0; };
    m_changed.wait_for(lock, StepLimit, signalled);
    if (m_signals.count(name) == 0) {
        throw std::runtime_error("the test did not signal \"" + name + "\"");
    }
}

void ScriptedPeer::PauseNow(Milliseconds time) {
    if (time.count() == 0) {
        return;
    }
    std::unique_lock lock(m_mutex);
    m_changed.wait_for(lock, time, [this] { return m_stopped; });
    if (m_stopped) {
        throw std::runtime_error("stopped before the script's end");
    }
}

} // namespace uxvisa::test
