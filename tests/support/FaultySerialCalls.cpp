#include "support/FaultySerialCalls.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>

#include <fcntl.h>

#include "transports/SerialCalls.h"

namespace uxvisa::test {

namespace {

FaultySerialCalls* current = nullptr;

FaultySerialCalls& Current() {
    if (current == nullptr) {
        throw std::logic_error("no terminals are pretended");
    }
    return *current;
}

} // namespace

FaultySerialCalls::FaultySerialCalls() {
    current = this;
}

FaultySerialCalls::~FaultySerialCalls() {
    current = nullptr;
}

void FaultySerialCalls::Fail(SerialCall call, int error) {
    m_failures[call] = error;
}

int FaultySerialCalls::Answer(SerialCall call) {
    calls.push_back(call);
    const auto failure = m_failures.find(call);
    if (failure == m_failures.end()) {
        return 0;
    }
    errno = failure->second;
    return -1;
}

std::size_t FaultySerialCalls::Count(SerialCall call) const {
    return static_cast<std::size_t>(std::count(calls.begin(), calls.end(), call));
}

} // namespace uxvisa::test

namespace uxvisa::sys {

using test::Current;
using test::SerialCall;

// A descriptor that is good for closing.
int OpenTerminal(const char* path) {
    Current().openedPaths.emplace_back(path);
    return Current().Answer(SerialCall::Open) != 0 ? -1 : ::open("/dev/null", O_RDWR | O_CLOEXEC);
}

int GetTerminalSettings(int, termios& settings) {
    if (Current().Answer(SerialCall::GetSettings) != 0) {
        return -1;
    }
    settings = Current().settings;
    return 0;
}

int SetTerminalSettings(int, int when, const termios& settings) {
    Current().applied.push_back({when, settings});
    if (Current().Answer(SerialCall::SetSettings) != 0) {
        return -1;
    }
    Current().settings = settings;
    return 0;
}

int CountWaitingBytes(int, int& count) {
    if (Current().Answer(SerialCall::CountWaiting) != 0) {
        return -1;
    }
    const bool empty = Current().Count(SerialCall::CountWaiting) <= Current().emptyPolls;
    count = empty ? 0 : static_cast<int>(Current().incoming.size());
    return 0;
}

ssize_t ReadTerminal(int, void* data, std::size_t size) {
    if (Current().Answer(SerialCall::Read) != 0) {
        return -1;
    }
    std::string& incoming = Current().incoming;
    const std::size_t count = std::min(size, incoming.size());
    std::memcpy(data, incoming.data(), count);
    incoming.erase(0, count);
    return static_cast<ssize_t>(count);
}

ssize_t WriteTerminal(int, const void* data, std::size_t size) {
    if (Current().Answer(SerialCall::Write) != 0) {
        return -1;
    }
    const std::size_t count = std::min(size, Current().room);
    Current().written.append(static_cast<const char*>(data), count);
    return static_cast<ssize_t>(count);
}

int DrainTerminal(int) {
    return Current().Answer(SerialCall::Drain);
}

int GetSerialPortType(int, int& type) {
    const auto port = Current().portTypes.find(Current().openedPaths.back());
    if (Current().Answer(SerialCall::PortType) != 0 || port == Current().portTypes.end()) {
        return -1;
    }
    type = port->second;
    return 0;
}

} // namespace uxvisa::sys
