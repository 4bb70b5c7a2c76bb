#include "tools/emulator/RecordAssembler.h"

#include <algorithm>

namespace emulator {

namespace {

constexpr std::uint32_t LastFragment = 0x80000000;

} // namespace

RecordAssembler::Outcome RecordAssembler::Take(std::string_view& input, std::string_view& record) {
    if (m_delivered) {
        m_record.clear();
        m_delivered = false;
    }
    while (!m_overrun) {
        if (!m_in_fragment && !TakeMark(input)) {
            return m_overrun ? Outcome::Overrun : Outcome::NeedMore;
        }
        TakeFragment(input);
        if (m_fragment_left > 0) {
            return Outcome::NeedMore;
        }
        m_in_fragment = false;
        if ((m_mark & LastFragment) != 0) {
            record = m_record;
            m_delivered = true;
            return Outcome::Record;
        }
    }
    return Outcome::Overrun;
}

bool RecordAssembler::TakeMark(std::string_view& input) {
    for (; m_mark_bytes < sizeof m_mark && !input.empty(); ++m_mark_bytes) {
        m_mark = m_mark << 8U | static_cast<unsigned char>(input.front());
        input.remove_prefix(1);
    }
    if (m_mark_bytes < sizeof m_mark) {
        return false;
    }
    m_mark_bytes = 0;
    m_fragment_left = m_mark & ~LastFragment;
    m_overrun = m_fragment_left > m_max_length - m_record.size();
    m_in_fragment = !m_overrun;
    return m_in_fragment;
}

void RecordAssembler::TakeFragment(std::string_view& input) {
    const std::size_t count = std::min(m_fragment_left, input.size());
    m_record.append(input.substr(0, count));
    input.remove_prefix(count);
    m_fragment_left -= count;
}

} // namespace emulator
