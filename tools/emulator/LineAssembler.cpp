#include "tools/emulator/LineAssembler.h"

namespace emulator {

LineAssembler::Outcome LineAssembler::Take(std::string_view& input, std::string_view& line) {
    if (m_partial_is_delivered) {
        m_partial.clear();
        m_partial_is_delivered = false;
    }
    while (!input.empty()) {
        const std::size_t end = input.find('\n');
        const std::string_view part = input.substr(0, end);
        input.remove_prefix(end == std::string_view::npos ? input.size() : end + 1);
        if (end == std::string_view::npos) {
            return m_skipping ? Outcome::NeedMore : KeepPartialLine(part);
        }
        if (!m_skipping) {
            return FinishLine(part, line);
        }
        m_skipping = false;
    }
    return Outcome::NeedMore;
}

LineAssembler::Outcome LineAssembler::KeepPartialLine(std::string_view part) {
    if (part.size() <= m_max_length + 1) {
        m_partial.append(part);
    }
    if (part.size() > m_max_length + 1 || TooLong(m_partial)) {
        m_partial.clear();
        m_skipping = true;
        return Outcome::Overrun;
    }
    return Outcome::NeedMore;
}

LineAssembler::Outcome LineAssembler::FinishLine(std::string_view part, std::string_view& line) {
    line = part;
    if (!m_partial.empty()) {
        m_partial.append(part);
        m_partial_is_delivered = true;
        line = m_partial;
    }
    if (TooLong(line)) {
        return Outcome::Overrun;
    }
    if (line.ends_with('\r')) {
        line.remove_suffix(1);
    }
    return Outcome::Line;
}

// One more byte is allowed for a carriage return, which does not count when a line feed follows.
bool LineAssembler::TooLong(std::string_view line) const {
    return line.size() > m_max_length + (line.ends_with('\r') ? 1 : 0);
}

} // namespace emulator
