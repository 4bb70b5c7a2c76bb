// Reads from a session that has no termination character, or no time-out, as if it had both.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "uxvisa/visatype.h"

namespace uxvisa::tool {

struct Transfer {
    ViStatus status = VI_SUCCESS;
    std::uint64_t count = 0;
};

class LineInput {
public:
    // One read of the session. There is one more byte behind the buffer: some store a NUL there.
    using ReadSome = std::function<Transfer(char* buffer, std::size_t size)>;
    // What a read means that brings nothing: time is over, or the session is to be asked again.
    enum class Silence { Ends, IsPolled };

    LineInput(ReadSome read, Silence silence);

    // Like viRead with these settings. Of a session that is not polled, one read at most.
    Transfer Read(char* buffer, std::size_t size, ViUInt32 timeoutMs, bool endsAtLineFeed);

private:
    // Enough is here for a read, without asking the session.
    bool IsReady(std::size_t size, bool endsAtLineFeed) const;
    std::size_t Available(std::size_t size, bool endsAtLineFeed) const;
    ViStatus Poll(std::size_t size, ViUInt32 timeoutMs, bool endsAtLineFeed);
    ViStatus Fill();
    Transfer Give(char* buffer, std::size_t size, bool endsAtLineFeed, ViStatus status);

    ReadSome m_read;
    Silence m_silence;
    std::vector<char> m_buffer;
    // Arrived and not given out.
    std::string m_held;
};

} // namespace uxvisa::tool
