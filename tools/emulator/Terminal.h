#pragma once

#include <string>

namespace emulator {

// A symbolic link, removed with the object unless somebody else has put something in its place.
class Link {
public:
    // Takes the place of a link to another terminal, which a program that was killed leaves behind.
    // Throws std::runtime_error when there is anything else, and std::system_error.
    Link(std::string path, std::string target);
    Link(const Link&) = delete;
    Link& operator=(const Link&) = delete;
    ~Link();

private:
    const std::string m_path;
    const std::string m_target;
};

// A pseudo-terminal that passes on bytes as they are. It stays open here, so clients can come and
// go.
class Terminal {
public:
    // Throws std::system_error.
    Terminal();
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;
    ~Terminal();

    // The file that clients open.
    const std::string& Device() const { return m_device; }

    // The instrument's end, which the caller owns from then on.
    int TakeInstrumentEnd();

private:
    void Open();
    void Close();

    int m_instrument_end = -1;
    int m_client_end = -1;
    std::string m_device;
};

} // namespace emulator
