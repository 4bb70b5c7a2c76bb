#include "tools/uxvisa/LineInput.h"

#include <algorithm>
#include <chrono>
#include <thread>
#include <utility>

#include "tools/uxvisa/Stopwatch.h"

namespace uxvisa::tool {

namespace {

constexpr std::size_t PieceSize = 1UL << 16;
// A port that is gone answers at once, and would be asked without a pause.
constexpr std::chrono::milliseconds BetweenPolls(1);

} // namespace

LineInput::LineInput(ReadSome read, Silence silence)
    : m_read(std::move(read)), m_silence(silence), m_buffer(PieceSize + 1) {}

Transfer LineInput::Read(char* buffer, std::size_t size, ViUInt32 timeoutMs, bool endsAtLineFeed) {
    ViStatus status = VI_SUCCESS;
    if (!IsReady(size, endsAtLineFeed)) {
        status = m_silence == Silence::IsPolled ? Poll(size, timeoutMs, endsAtLineFeed) : Fill();
    }
    return Give(buffer, size, endsAtLineFeed, status);
}

bool LineInput::IsReady(std::size_t size, bool endsAtLineFeed) const {
    return m_held.size() >= size || (m_silence == Silence::Ends && !m_held.empty()) ||
           (endsAtLineFeed && m_held.find('\n') != std::string::npos);
}

// How many of the bytes that are held a read of this size takes.
std::size_t LineInput::Available(std::size_t size, bool endsAtLineFeed) const {
    const std::size_t end = endsAtLineFeed ? m_held.find('\n') : std::string::npos;
    const std::size_t wanted = end == std::string::npos ? m_held.size() : end + 1;
    return std::min(wanted, size);
}

// Such a session calls silence a lost connection.
ViStatus LineInput::Poll(std::size_t size, ViUInt32 timeoutMs, bool endsAtLineFeed) {
    const Stopwatch clock;
    for (;;) {
        const ViStatus status = Fill();
        if (IsReady(size, endsAtLineFeed)) {
            return VI_SUCCESS;
        }
        if (status < VI_SUCCESS && status != VI_ERROR_CONN_LOST) {
            return status;
        }
        if (clock.Seconds() * 1000 >= static_cast<double>(timeoutMs)) {
            return VI_ERROR_TMO;
        }
        if (status == VI_ERROR_CONN_LOST) {
            std::this_thread::sleep_for(BetweenPolls);
        }
    }
}

ViStatus LineInput::Fill() {
    const Transfer piece = m_read(m_buffer.data(), PieceSize);
    m_held.append(m_buffer.data(), std::min<std::size_t>(piece.count, PieceSize));
    return piece.status;
}

Transfer LineInput::Give(char* buffer, std::size_t size, bool endsAtLineFeed, ViStatus status) {
    const std::size_t count = Available(size, endsAtLineFeed);
    const bool isLine = endsAtLineFeed && count > 0 && m_held[count - 1] == '\n';
    // An error behind a line, or behind bytes that are still held, shows at the next read.
    if (isLine || count < m_held.size()) {
        status = isLine ? VI_SUCCESS_TERM_CHAR : VI_SUCCESS;
    }
    std::copy_n(m_held.data(), count, buffer);
    m_held.erase(0, count);
    return {status, count};
}

} // namespace uxvisa::tool
