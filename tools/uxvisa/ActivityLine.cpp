#include "tools/uxvisa/ActivityLine.h"

#include <chrono>
#include <cstdio>
#include <system_error>
#include <utility>

#include <unistd.h>

#include "tools/uxvisa/Descriptor.h"
#include "tools/uxvisa/Stopwatch.h"

namespace uxvisa::tool {

namespace {

constexpr auto DrawInterval = std::chrono::milliseconds(100);

} // namespace

std::string ActivityText(const std::string& activity, double seconds) {
    char time[32];
    std::snprintf(time, sizeof time, " %.1f s", seconds);
    return activity + time;
}

ActivityLine::ActivityLine(std::string activity) : m_activity(std::move(activity)) {
    if (::isatty(STDERR_FILENO) != 1) {
        return;
    }
    try {
        m_thread = std::thread([this] { Run(); });
    } catch (const std::system_error&) {
        // The work goes on without being shown.
    }
}

ActivityLine::~ActivityLine() {
    {
        const std::lock_guard guard(m_mutex);
        m_isEnding = true;
    }
    m_ending.notify_one();
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void ActivityLine::Run() {
    const Stopwatch clock;
    std::unique_lock lock(m_mutex);
    std::string line;
    do {
        line = ActivityText(m_activity, clock.Seconds());
        WriteDiagnostic('\r' + line);
    } while (!m_ending.wait_for(lock, DrawInterval, [this] { return m_isEnding; }));
    WriteDiagnostic('\r' + std::string(line.size(), ' ') + '\r');
}

} // namespace uxvisa::tool
