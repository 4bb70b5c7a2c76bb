// Reads an IEEE 488.2 block and passes on its data, without header and closing line feed.
#pragma once

#include <string>

#include "tools/uxvisa/DataSink.h"
#include "tools/uxvisa/Session.h"

namespace uxvisa::tool {

class BlockReader {
public:
    BlockReader(Session& session, DataSink& sink) : m_session(session), m_sink(sink) {}
    // Throws an InstrumentFailure if the answer is not a block, with the answer in the text, or
    // does not come to its end.
    void Read();

private:
    Transfer ExtendHeader(std::size_t bytes, ViUInt32 timeoutMs);
    void ReadDefinite(std::uint64_t length);
    // Nothing but silence tells the end of it on a stream.
    void ReadIndefinite();
    [[noreturn]] void RejectHeader();

    Session& m_session;
    DataSink& m_sink;
    std::string m_header;
};

} // namespace uxvisa::tool
