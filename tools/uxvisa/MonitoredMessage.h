// What a monitor has seen go over a session: one message, joined from its pieces.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "monitor/SessionDebug.h"
#include "uxvisa/visatype.h"

namespace uxvisa::tool {

struct MonitoredMessage {
    enum class Kind { Written, Read, Cleared };

    Kind kind = Kind::Read;
    // When its first piece was seen.
    std::chrono::system_clock::time_point time;
    std::string data;
    ViStatus status = VI_SUCCESS;
    // Pieces are missing.
    bool isCutShort = false;
};

// What one read of a monitor gave.
struct MonitorReading {
    std::chrono::system_clock::time_point time;
    ViStatus status = VI_SUCCESS;
    MonitoredPlace place{};
    std::string_view data;
};

class MessageAssembler {
public:
    // The messages that are complete by this reading.
    std::vector<MonitoredMessage> Take(const MonitorReading& reading);
    // What has begun and will not be ended.
    std::optional<MonitoredMessage> Rest();

private:
    void TakePiece(const MonitorReading& reading, std::vector<MonitoredMessage>& messages);
    void TakeEmpty(const MonitorReading& reading, std::vector<MonitoredMessage>& messages);
    void Flush(std::vector<MonitoredMessage>& messages);

    std::optional<MonitoredMessage> m_begun;
    int m_silences = 0;
    // Of the empty message shown last; a session that is asked over and over shows once.
    std::optional<ViStatus> m_emptyStatus;
};

enum class MessageForm { Text, Hex };

// Lines for a terminal: local time, direction, length, bytes, and the status of a failure.
std::string TextOf(const MonitoredMessage& message, MessageForm form);
// One line; the time is UTC.
std::string JsonOf(const MonitoredMessage& message, MessageForm form);

} // namespace uxvisa::tool
