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

constexpr std::size_t kPeriod = 256;
constexpr std::size_t kRun = 64 * kPeriod;
constexpr std::size_t kTracePiece = 64;

// A period longer than a run, so that a run can be copied from any phase.
constexpr auto kPattern = [] {
    std::array<char, kRun + kPeriod> bytes{};
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<char>(static_cast<unsigned char>(i % kPeriod));
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
    reply.text_ = std::move(text);
    return reply;
}

Reply Reply::Block(std::size_t length) {
    const std::string count = std::to_string(length);
    Reply reply = Text(std::string("#").append(std::to_string(count.size())).append(count));
    reply.body_ = Body::Block;
    reply.end_ = length;
    return reply;
}

Reply Reply::Trace(std::size_t points, std::uint64_t seed) {
    Reply reply;
    reply.body_ = Body::Trace;
    reply.end_ = points;
    reply.seed_ = seed;
    return reply;
}

void Reply::MoveTo(std::string& out, std::size_t limit) {
    const std::size_t full = out.size() + limit;
    while (out.size() < full && !Empty()) {
        const std::size_t room = full - out.size();
        if (text_at_ < text_.size()) {
            MoveText(out, room);
        } else if (body_ == Body::Block) {
            MoveBlock(out, room);
        } else {
            MakeTraceText();
        }
    }
}

void Reply::MoveText(std::string& out, std::size_t limit) {
    const std::size_t count = std::min(limit, text_.size() - text_at_);
    out.append(text_, text_at_, count);
    text_at_ += count;
}

void Reply::MoveBlock(std::string& out, std::size_t limit) {
    const std::size_t count = std::min({limit, end_ - next_, kRun});
    out.append(kPattern.data() + next_ % kPeriod, count);
    next_ += count;
}

void Reply::MakeTraceText() {
    text_.clear();
    text_at_ = 0;
    for (const std::size_t stop = std::min(end_, next_ + kTracePiece); next_ < stop; ++next_) {
        text_ += next_ == 0 ? "" : ",";
        text_ += FormatNumber(TraceValue(next_, end_, seed_));
    }
}

} // namespace emulator
