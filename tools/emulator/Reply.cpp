#include "tools/emulator/Reply.h"

#include "tools/emulator/Noise.h"
#include "tools/emulator/Number.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <utility>

namespace emulator {

namespace {

constexpr std::size_t Period = 256;
constexpr std::size_t Run = 64 * Period;
constexpr std::size_t TracePiece = 64;

// A period longer than a run, so that a run can be copied from any phase.
constexpr auto Pattern = [] {
    std::array<char, Run + Period> bytes{};
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<char>(static_cast<unsigned char>(i % Period));
    }
    return bytes;
}();

double TraceValue(std::size_t index, std::size_t points, std::uint64_t seed) {
    const double phase = static_cast<double>(index) / static_cast<double>(points);
    return std::sin(2.0 * std::numbers::pi * phase) + 0.001 * Noise(seed, index);
}

} // namespace

Reply Reply::Text(std::string text) {
    Reply reply;
    reply.m_text = std::move(text);
    return reply;
}

Reply Reply::Block(std::size_t length) {
    const std::string count = std::to_string(length);
    Reply reply = Text(std::string("#").append(std::to_string(count.size())).append(count));
    reply.m_body = Body::Block;
    reply.m_end = length;
    return reply;
}

Reply Reply::Trace(std::size_t points, std::uint64_t seed) {
    Reply reply;
    reply.m_body = Body::Trace;
    reply.m_end = points;
    reply.m_seed = seed;
    return reply;
}

void Reply::MoveTo(std::string& out, std::size_t limit) {
    const std::size_t full = out.size() + limit;
    while (out.size() < full && !Empty()) {
        const std::size_t room = full - out.size();
        if (m_text_at < m_text.size()) {
            MoveText(out, room);
        } else if (m_body == Body::Block) {
            MoveBlock(out, room);
        } else {
            MakeTraceText();
        }
    }
}

void Reply::MoveText(std::string& out, std::size_t limit) {
    const std::size_t count = std::min(limit, m_text.size() - m_text_at);
    out.append(m_text, m_text_at, count);
    m_text_at += count;
}

void Reply::MoveBlock(std::string& out, std::size_t limit) {
    const std::size_t count = std::min({limit, m_end - m_next, Run});
    out.append(Pattern.data() + m_next % Period, count);
    m_next += count;
}

void Reply::MakeTraceText() {
    m_text.clear();
    m_text_at = 0;
    for (const std::size_t stop = std::min(m_end, m_next + TracePiece); m_next < stop; ++m_next) {
        m_text += m_next == 0 ? "" : ",";
        m_text += FormatNumber(TraceValue(m_next, m_end, m_seed));
    }
}

} // namespace emulator
