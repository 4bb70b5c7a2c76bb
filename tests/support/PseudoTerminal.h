// A serial port for tests: a pseudo-terminal under a name that a serial resource can have.
#pragma once

#include <termios.h>

#include <string>

#include "support/ScriptedPeer.h"

namespace uxvisa::test {

// A symbolic link that is gone with the test.
class Link {
public:
    Link(const std::string& target, const std::string& path);
    ~Link();
    Link(const Link&) = delete;
    Link& operator=(const Link&) = delete;

private:
    std::string m_path;
};

// A new name every time, "ttyUxVisaTest" and digits, as parsers of resources want it.
std::string NewTerminalName();

// The instrument's side is in the test's hands. The terminal's side is held open as well, so that
// settings outlive the session under test.
class PseudoTerminal {
public:
    // Folders are written as seen from /dev. The default one needs no rights.
    explicit PseudoTerminal(const std::string& folder = "../tmp/");

    // For OpenConnection() or viOpen().
    std::string Resource() const { return m_name + "::INSTR"; }
    // What the link points to.
    const std::string& Device() const { return m_device; }
    int Terminal() const { return m_terminal.Get(); }
    termios Settings() const;
    void Apply(const termios& settings) const;

    // Returns when the bytes have arrived at the terminal, which has to be raw.
    void Send(const std::string& bytes) const;
    // How many bytes have arrived and were not read.
    int Waiting() const;
    // All that comes until there are so many bytes or 20 s are over.
    std::string Receive(std::size_t count) const;
    // True when nothing comes for a moment.
    bool IsSilent() const;
    // From then on the port is as good as unplugged.
    void HangUp();

private:
    Descriptor m_instrument;
    Descriptor m_terminal;
    std::string m_device;
    std::string m_name;
    Link m_link;
};

} // namespace uxvisa::test
