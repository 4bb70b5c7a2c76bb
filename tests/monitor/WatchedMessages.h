// Whole messages from a monitor, and what tests compare them by.
#pragma once

#include <chrono>
#include <string>

#include "monitor/SessionDebug.h"
#include "uxvisa/visatype.h"

namespace uxvisa::test {

struct WatchedMessage {
    bool written = false;
    std::string data;
    long status = 0;
};

// Joins the pieces. Nothing waits for ever.
class WatchedMessages {
public:
    static constexpr std::chrono::seconds Patience{60};

    long Open(std::string resource) { return m_monitor.OpenConnection(resource.data(), 0, 0); }
    long Close() { return m_monitor.CloseConnection(); }

    // False when the time is over, or the rest of a message did not come.
    bool Next(WatchedMessage& message) {
        message = {};
        do {
            if (!Take(message)) {
                return false;
            }
        } while (m_monitor.LastPlace().goesOn);
        return true;
    }

private:
    bool Take(WatchedMessage& message) {
        const auto end = std::chrono::steady_clock::now() + Patience;
        while (std::chrono::steady_clock::now() < end) {
            unsigned char bytes[64];
            unsigned long count = 0;
            const long status = m_monitor.Read(bytes, sizeof bytes, &count);
            // Of an empty message only the status comes; those of silence and of a turn are taken.
            if (count == 0 && (status == VI_ERROR_RSRC_BUSY || status == VI_ERROR_TMO)) {
                continue;
            }
            const MonitoredPlace place = m_monitor.LastPlace();
            if (place.continues != !message.data.empty()) {
                return false;
            }
            message.data.append(reinterpret_cast<char*>(bytes), count);
            message.written = place.written;
            message.status = status;
            return true;
        }
        return false;
    }

    CSessionDebug m_monitor;
};

// Decimal numbers that should come one after the other.
class Sequence {
public:
    void Take(const std::string& text) {
        const long number = std::stol(text);
        if (m_count == 0) {
            m_first = number;
        } else if (number != m_last + 1) {
            ++m_outOfTurn;
        }
        m_last = number;
        ++m_count;
    }
    long First() const { return m_first; }
    long Last() const { return m_last; }
    long Count() const { return m_count; }
    long OutOfTurn() const { return m_outOfTurn; }

private:
    long m_first = -1;
    long m_last = -1;
    long m_count = 0;
    long m_outOfTurn = 0;
};

inline unsigned long Checksum(const std::string& data) {
    unsigned long sum = 5381;
    for (const char c : data) {
        sum = sum * 33 + static_cast<unsigned char>(c);
    }
    return sum;
}

} // namespace uxvisa::test
