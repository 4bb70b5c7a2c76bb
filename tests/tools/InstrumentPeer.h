// An instrument on a TCP port of its own that behaves as the test says.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <thread>

class PeerConnection {
public:
    explicit PeerConnection(int descriptor) : m_descriptor(descriptor) {}

    // Up to and with the line feed; what there is when the other side ends first.
    std::string ReadLine();
    // So many bytes; what there is when the other side ends first.
    std::string ReadBytes(std::size_t count);
    // Until the other side ends.
    std::string ReadToEnd();
    void Send(std::string_view data) const;
    // Ends the connection so that the other side sees an error.
    void Reset() const;
    // Ends it in the ordinary way.
    void HangUp() const;

private:
    int m_descriptor;
};

class InstrumentPeer {
public:
    using Script = std::function<void(PeerConnection&)>;

    // Plays the script once, with the first connection; then waits for the other side to end.
    explicit InstrumentPeer(Script script);
    ~InstrumentPeer();
    InstrumentPeer(const InstrumentPeer&) = delete;
    InstrumentPeer& operator=(const InstrumentPeer&) = delete;

    std::string Resource() const;
    // All that arrived and that the script did not read; call it once, after the tool has ended.
    const std::string& Rest();

private:
    void Serve(const Script& script);

    std::uint16_t m_port = 0;
    int m_listener;
    std::string m_rest;
    std::thread m_thread;
};

// An instrument that answers whatever line it gets with these bytes.
InstrumentPeer::Script Answering(const std::string& answer);
// The header of an IEEE 488.2 block of so many bytes.
std::string BlockHeaderText(std::size_t size);
// A port of this machine at which nobody listens.
std::string RefusedResource();
