// Reads data of any length in pieces, for as long as they keep coming.
#pragma once

#include <cstdint>
#include <limits>
#include <vector>

#include "tools/uxvisa/DataSink.h"
#include "tools/uxvisa/Session.h"

namespace uxvisa::tool {

class StreamReader {
public:
    static constexpr std::uint64_t Unlimited = std::numeric_limits<std::uint64_t>::max();

    StreamReader(Session& session, DataSink& sink);
    // Ends with VI_SUCCESS after so many bytes, VI_SUCCESS_TERM_CHAR if the session has it enabled,
    // VI_ERROR_TMO when the instrument was silent for the session's time-out, or another error.
    // The time-out is one of silence because a long transfer over a slow link takes its time.
    Transfer Read(std::uint64_t wanted);

private:
    Session& m_session;
    DataSink& m_sink;
    std::vector<char> m_buffer;
};

} // namespace uxvisa::tool
