// The ways to read an answer that is not a block. Each passes on what arrived, and throws an
// InstrumentFailure if the answer did not come to its end.
#pragma once

#include <cstdint>

#include "tools/uxvisa/DataSink.h"
#include "tools/uxvisa/Session.h"

namespace uxvisa::tool {

// Up to and with the line feed.
void ReadLine(Session& session, DataSink& sink);
// So many bytes; fewer if the termination character is enabled and comes before.
void ReadCount(Session& session, DataSink& sink, std::uint64_t count);
// Until the instrument has been silent for the time-out; a failure if nothing came at all.
void ReadUntilSilence(Session& session, DataSink& sink);

// A line, and the block behind it if the session has one; with its header, or only the data of the
// block, which has to be there then.
void ReadLineAndBlock(Session& session, DataSink& sink, bool onlyData);

} // namespace uxvisa::tool
