#include "tools/uxvisa/Progress.h"

#include <algorithm>

#include <unistd.h>

#include "tools/uxvisa/Descriptor.h"
#include "tools/uxvisa/Quantity.h"

namespace uxvisa::tool {

namespace {

constexpr std::size_t BarWidth = 24;
constexpr double DrawIntervalSeconds = 0.1;

} // namespace

std::string ProgressLine(std::uint64_t done, std::uint64_t total, double seconds) {
    const double share = static_cast<double>(done) / static_cast<double>(total);
    const auto filled = static_cast<std::size_t>(share * BarWidth);
    const std::string percent = std::to_string(static_cast<int>(share * 100));
    return '[' + std::string(filled, '#') + std::string(BarWidth - filled, ' ') + "] " +
           std::string(3 - std::min<std::size_t>(percent.size(), 3), ' ') + percent + "%  " +
           ByteAmount(static_cast<double>(done)) + " of " + ByteAmount(static_cast<double>(total)) +
           "  " + ByteRate(done, seconds);
}

Progress::Progress(std::uint64_t total)
    : m_total(total), m_isShown(total >= LeastTotal && ::isatty(STDERR_FILENO) == 1) {
    if (m_isShown) {
        Draw();
    }
}

Progress::~Progress() {
    if (m_isShown) {
        Draw();
        WriteDiagnostic("\n");
    }
}

void Progress::Advance(std::uint64_t bytes) {
    m_done += bytes;
    if (m_isShown && m_sinceDrawn.Seconds() >= DrawIntervalSeconds) {
        Draw();
    }
}

// Blanks cover what a longer line before has left.
void Progress::Draw() {
    std::string line = ProgressLine(m_done, m_total, m_sinceStart.Seconds());
    const std::size_t width = line.size();
    line.resize(std::max(width, m_width), ' ');
    m_width = width;
    WriteDiagnostic('\r' + line);
    m_sinceDrawn.Restart();
}

} // namespace uxvisa::tool
