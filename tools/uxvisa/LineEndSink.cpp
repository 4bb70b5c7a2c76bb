#include "tools/uxvisa/LineEndSink.h"

namespace uxvisa::tool {

bool LineEndSink::Holds(std::string_view tail) const {
    return tail == "\n" || (m_removes == Removes::LineFeedAndReturn && tail == "\r\n");
}

void LineEndSink::Write(std::string_view data) {
    constexpr std::size_t LongestLineEnd = 2;
    if (data.empty()) {
        return;
    }
    m_isEmpty = false;
    if (data.size() >= LongestLineEnd) {
        m_next.Write(m_held);
        m_next.Write(data.substr(0, data.size() - LongestLineEnd));
        m_held = data.substr(data.size() - LongestLineEnd);
        return;
    }
    m_held += data;
    if (m_held.size() > LongestLineEnd) {
        m_next.Write(m_held.substr(0, 1));
        m_held.erase(0, 1);
    }
}

void LineEndSink::Flush() {
    if (Holds(m_held)) {
        m_held.clear();
    } else if (!m_held.empty() && Holds(m_held.substr(m_held.size() - 1))) {
        m_held.pop_back();
    }
    if (!m_isEmpty) {
        m_next.Write(m_held + m_replacement);
    }
}

} // namespace uxvisa::tool
