#include "tools/uxvisa/StreamReader.h"

#include <algorithm>

#include "tools/uxvisa/Progress.h"
#include "tools/uxvisa/Stopwatch.h"

namespace uxvisa::tool {

namespace {

constexpr std::size_t PieceSize = 1UL << 20;
// How finely the silence is measured: a read of the library does not say when its bytes arrived.
constexpr ViUInt32 LongestSliceMs = 100;

// How long the next read may take: a slice, or what is left of the longest silence.
ViUInt32 SliceMs(const Stopwatch& silence, ViUInt32 longestMs) {
    const auto silentMs = static_cast<ViUInt32>(silence.Seconds() * 1000);
    return std::min(LongestSliceMs, longestMs - std::min(silentMs, longestMs));
}

} // namespace

StreamReader::StreamReader(Session& session, DataSink& sink)
    : m_session(session), m_sink(sink), m_buffer(PieceSize) {}

Transfer StreamReader::Read(std::uint64_t wanted) {
    const ViUInt32 longestMs = m_session.TimeoutMs();
    Progress progress(wanted == Unlimited ? 0 : wanted);
    std::uint64_t total = 0;
    for (Stopwatch silence; total < wanted;) {
        const std::uint64_t size = std::min<std::uint64_t>(wanted - total, m_buffer.size());
        const Transfer piece = m_session.Read(m_buffer.data(), size, SliceMs(silence, longestMs));
        if (piece.count > 0) {
            m_sink.Write({m_buffer.data(), piece.count});
            total += piece.count;
            progress.Advance(piece.count);
            silence.Restart();
        }
        const bool isSilent = piece.count == 0 && SliceMs(silence, longestMs) == 0;
        if (piece.status == VI_ERROR_TMO ? isSilent : piece.status != VI_SUCCESS) {
            return {piece.status, total};
        }
    }
    return {VI_SUCCESS, total};
}

} // namespace uxvisa::tool
