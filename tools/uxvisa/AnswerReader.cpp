#include "tools/uxvisa/AnswerReader.h"

#include <vector>

#include "tools/uxvisa/BlockHeader.h"
#include "tools/uxvisa/EscapedText.h"
#include "tools/uxvisa/StreamReader.h"

namespace uxvisa::tool {

namespace {

// Takes what the session has ready, without waiting: empty when that is no block.
std::string HeaderOfReadyBlock(Session& session) {
    std::string text;
    for (;;) {
        const BlockHeader header = ParseBlockHeader(text.data(), text.size());
        if (header.kind != BlockHeader::Kind::Incomplete) {
            return header.kind == BlockHeader::Kind::Definite ? text : "";
        }
        const std::size_t before = text.size();
        text.resize(before + header.missing);
        const Transfer piece = session.Read(text.data() + before, header.missing, 0);
        text.resize(before + piece.count);
        if (piece.count == 0) {
            return "";
        }
    }
}

} // namespace

void ReadLine(Session& session, DataSink& sink) {
    constexpr std::size_t PieceSize = 1UL << 16;
    std::vector<char> buffer(PieceSize);
    std::uint64_t received = 0;
    session.EnableTermChar(true);
    // A full buffer is a success of another kind: the line goes on.
    for (Transfer piece; piece.status != VI_SUCCESS_TERM_CHAR;) {
        piece = session.Read(buffer.data(), buffer.size(), session.TimeoutMs());
        sink.Write({buffer.data(), piece.count});
        received += piece.count;
        if (piece.status < VI_SUCCESS) {
            throw session.ReadFailure({piece.status, received});
        }
    }
}

void ReadLineAndBlock(Session& session, DataSink& sink, bool onlyData) {
    MemorySink line;
    ReadLine(session, onlyData ? line : sink);
    session.EnableTermChar(false);
    const std::string header = HeaderOfReadyBlock(session);
    if (header.empty() && onlyData) {
        throw InstrumentFailure(session.Resource(),
                                "no block follows the answer " + EscapedText(line.Data()), "");
    }
    if (header.empty()) {
        return;
    }
    if (!onlyData) {
        sink.Write(header);
    }
    ReadCount(session, sink, ParseBlockHeader(header.data(), header.size()).length);
}

void ReadCount(Session& session, DataSink& sink, std::uint64_t count) {
    const Transfer all = StreamReader(session, sink).Read(count);
    if (all.status < VI_SUCCESS) {
        throw session.ShortReadFailure(all, count);
    }
}

void ReadUntilSilence(Session& session, DataSink& sink) {
    session.EnableTermChar(false);
    const Transfer all = StreamReader(session, sink).Read(StreamReader::Unlimited);
    if (all.status != VI_ERROR_TMO || all.count == 0) {
        throw session.ReadFailure(all);
    }
}

} // namespace uxvisa::tool
