#include "tools/uxvisa/BlockReader.h"

#include <algorithm>

#include "tools/uxvisa/AnswerReader.h"
#include "tools/uxvisa/BlockHeader.h"
#include "tools/uxvisa/EscapedText.h"
#include "tools/uxvisa/LineEndSink.h"
#include "tools/uxvisa/StreamReader.h"

namespace uxvisa::tool {

namespace {

// Of an answer that is no block, as much as a message can show.
constexpr std::size_t LongestShown = 4096;
constexpr ViUInt32 RestOfLineMs = 500;

bool EndsLine(const std::string& text) {
    return !text.empty() && text.back() == '\n';
}

} // namespace

void BlockReader::Read() {
    // In the header a line feed has no place, so it ends what is something else.
    m_session.EnableTermChar(true);
    BlockHeader header = ParseBlockHeader(m_header.data(), m_header.size());
    while (header.kind == BlockHeader::Kind::Incomplete) {
        const Transfer piece = ExtendHeader(header.missing, m_session.TimeoutMs());
        header = ParseBlockHeader(m_header.data(), m_header.size());
        if (piece.status < VI_SUCCESS && header.kind == BlockHeader::Kind::Incomplete) {
            const std::string seen = m_header.empty() ? "" : ", arrived: " + EscapedText(m_header);
            throw m_session.ReadFailure({piece.status, m_header.size()}, seen);
        }
    }
    m_session.EnableTermChar(false);
    if (header.kind == BlockHeader::Kind::Malformed) {
        RejectHeader();
    }
    header.kind == BlockHeader::Kind::Definite ? ReadDefinite(header.length) : ReadIndefinite();
}

Transfer BlockReader::ExtendHeader(std::size_t bytes, ViUInt32 timeoutMs) {
    const std::size_t before = m_header.size();
    m_header.resize(before + bytes);
    const Transfer piece = m_session.Read(m_header.data() + before, bytes, timeoutMs);
    m_header.resize(before + piece.count);
    return piece;
}

void BlockReader::ReadDefinite(std::uint64_t length) {
    const Transfer data = StreamReader(m_session, m_sink).Read(length);
    if (data.status < VI_SUCCESS) {
        throw m_session.ShortReadFailure(data, length);
    }
}

void BlockReader::ReadIndefinite() {
    LineEndSink withoutEnd(m_sink, LineEndSink::Removes::LineFeed, "");
    try {
        ReadUntilSilence(m_session, withoutEnd);
    } catch (const InstrumentFailure&) {
        withoutEnd.Flush();
        throw;
    }
    withoutEnd.Flush();
}

void BlockReader::RejectHeader() {
    if (!EndsLine(m_header)) {
        m_session.EnableTermChar(true);
        ExtendHeader(LongestShown - m_header.size(), std::min(RestOfLineMs, m_session.TimeoutMs()));
    }
    const bool isCut = m_header.size() == LongestShown && !EndsLine(m_header);
    throw InstrumentFailure(m_session.Resource(),
                            "the answer is not a block but " + EscapedText(m_header) +
                                (isCut ? " and more" : ""),
                            "a block begins with '#' and a digit: read this without --block; if "
                            "a word stands before the '#', switch the instrument's headers off");
}

} // namespace uxvisa::tool
