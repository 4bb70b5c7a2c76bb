#include "tools/uxvisa/AnswerReader.h"

#include <vector>

#include "tools/uxvisa/StreamReader.h"

namespace uxvisa::tool {

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
