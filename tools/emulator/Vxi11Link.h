#pragma once

#include "tools/emulator/Instrument.h"
#include "tools/emulator/MessageExchange.h"
#include "tools/emulator/Options.h"
#include "tools/emulator/RpcCall.h"
#include "tools/emulator/RpcConnection.h"
#include "tools/emulator/Vxi11Call.h"

#include <chrono>
#include <string>
#include <string_view>

namespace emulator {

// The core channel of one client, with the one link it can have. Of the pacing, the delay counts:
// a response is there so long after its message.
class Vxi11Link {
public:
    using Time = std::chrono::steady_clock::time_point;

    Vxi11Link(Instrument& instrument, const Pacing& pacing, const LinkWords& words)
        : m_instrument(instrument), m_exchange(instrument), m_delay(pacing.delay), m_words(words) {}

    RpcReply Answer(std::string_view record, Time now);

private:
    struct Result {
        std::string bytes; // empty when the parameters make no sense
        std::chrono::milliseconds pause{0};
    };

    Result Perform(const RpcCall& call, Time now);
    Result CreateLink(std::string_view parameters);
    Result DeviceWrite(std::string_view parameters, Time now);
    Result DeviceRead(std::string_view parameters, Time now);
    Result DestroyLink(std::string_view parameters);

    Result ReadResponse(const DeviceReadCall& call, Time now);
    Result ReadNothing(const DeviceReadCall& call);
    bool Holds(const LinkWords& words) const { return m_open && words == m_words; }

    Instrument& m_instrument;
    MessageExchange m_exchange;
    const std::chrono::milliseconds m_delay;
    const LinkWords m_words;
    Time m_ready{};
    bool m_open = false;
};

} // namespace emulator
