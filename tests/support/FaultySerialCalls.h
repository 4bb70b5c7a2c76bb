// Stands in for transports/SerialCalls.cpp: a test says what the terminals answer and sees what
// they were asked. A program takes FaultySerialCalls.cpp together with uxvisa_static, whose own
// seam the linker then leaves out.
#pragma once

#include <termios.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace uxvisa::test {

enum class SerialCall {
    Open,
    GetSettings,
    SetSettings,
    CountWaiting,
    Read,
    Write,
    Drain,
    PortType
};

// While one exists, every terminal is what it says: it opens, takes all settings, and has in
// `incoming` what arrived. For a single thread.
class FaultySerialCalls {
public:
    FaultySerialCalls();
    ~FaultySerialCalls();
    FaultySerialCalls(const FaultySerialCalls&) = delete;
    FaultySerialCalls& operator=(const FaultySerialCalls&) = delete;

    // All such calls fail with this error.
    void Fail(SerialCall call, int error);
    // -1 and the error when such calls are to fail, else 0.
    int Answer(SerialCall call);
    std::size_t Count(SerialCall call) const;
    void ForgetCalls() { calls.clear(); }

    struct Applied {
        int when;
        termios settings;
    };

    std::vector<SerialCall> calls;
    std::vector<std::string> openedPaths;
    std::vector<Applied> applied;
    termios settings{};
    std::string incoming;
    // After so many questions there is something in `incoming`.
    std::size_t emptyPolls = 0;
    std::string written;
    // The largest number of bytes that one write takes.
    std::size_t room = 1UL << 20;
    // By device path; others cannot be asked.
    std::map<std::string, int> portTypes;

private:
    std::map<SerialCall, int> m_failures;
};

} // namespace uxvisa::test
