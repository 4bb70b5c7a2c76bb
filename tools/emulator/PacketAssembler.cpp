#include "tools/emulator/PacketAssembler.h"

#include "brix/Packet.h"

#include <algorithm>

namespace emulator {

namespace brix = uxvisa::brix;

PacketAssembler::Outcome PacketAssembler::Take(std::string_view& input, std::string_view& packet) {
    if (m_delivered) {
        m_packet.clear();
        m_delivered = false;
    }
    if (!TakeUpTo(brix::HeaderSize, input)) {
        return Outcome::NeedMore;
    }
    const auto* header = reinterpret_cast<const unsigned char*>(m_packet.data());
    if (!TakeUpTo(brix::PacketSize(header), input)) {
        return Outcome::NeedMore;
    }
    packet = m_packet;
    m_delivered = true;
    return Outcome::Record;
}

bool PacketAssembler::TakeUpTo(std::size_t size, std::string_view& input) {
    const std::size_t count =
        m_packet.size() < size ? std::min(size - m_packet.size(), input.size()) : 0;
    m_packet.append(input.substr(0, count));
    input.remove_prefix(count);
    return m_packet.size() >= size;
}

} // namespace emulator
