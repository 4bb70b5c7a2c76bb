#include "brix/Decoder.h"

#include <algorithm>
#include <charconv>
#include <vector>

#include "brix/Packet.h"
#include "brix/PacketText.h"
#include "brix/ValueCodec.h"

namespace uxvisa::brix {

namespace {

// The one parameter whose values may be followed by raw bytes. Its number is fixed, on purpose: the
// protocol keeps it for texts whatever its description calls it.
constexpr int TextParameter = 10;
constexpr std::size_t LongestDumpLine = 99999;
// Counted as if the header had its identifier before the body, on purpose: the status that
// instruments put at the end of such a body belongs to the block, and what lies here does to the
// packet. The place is always past the packet and so reads as zero.
constexpr std::size_t BodyStatusOffset = 22;

template <typename Word>
Word WordAt(const unsigned char* packet, std::size_t size, std::size_t offset) {
    unsigned char bytes[sizeof(Word)] = {};
    if (offset < size) {
        std::copy_n(packet + offset, std::min(sizeof bytes, size - offset), bytes);
    }
    return LoadWord<Word>(bytes);
}

void AppendDecimal(std::string& line, int value) {
    char text[16];
    line.append(text, std::to_chars(text, text + sizeof text, value).ptr);
}

// Of a whole packet: as many bytes as its header says.
class PacketDecoder {
public:
    PacketDecoder(const unsigned char* packet, const DecodeOptions& options,
                  const ProtocolNames& names)
        : m_packet(packet), m_size(PacketSize(packet)), m_options(options), m_names(names),
          m_signature(Word<std::uint16_t>(SignatureOffset)),
          m_command(Word<std::uint16_t>(CommandOffset)), m_status(Word<std::int16_t>(StatusOffset)),
          m_bodyLen(static_cast<int>(m_size - HeaderSize)), m_flagA(packet[FlagsOffset]),
          m_flagB(packet[FlagsOffset + 1]), m_dummy(Word<std::uint16_t>(DummyOffset)),
          m_id(Word<std::int64_t>(IdOffset)),
          m_withParameter(IsParameterCommand(static_cast<unsigned int>(m_command)) &&
                          m_bodyLen >= static_cast<int>(ParameterSize)),
          m_parameter(m_withParameter ? Word<std::uint16_t>(ParameterOffset) : 0) {}

    std::string Line() {
        AppendName();
        AppendHeader();
        if (m_withParameter) {
            AppendValues();
        } else if (m_options.mode == HexadecimalBodies) {
            AppendDump();
        }
        return std::move(m_line);
    }

private:
    template <typename Value>
    Value Word(std::size_t offset) const {
        return WordAt<Value>(m_packet, m_size, offset);
    }

    int LenParam() const { return m_flagB >> 4; }

    void AppendName() {
        const int number = m_withParameter ? m_parameter : m_command;
        m_line = m_withParameter ? m_names.ParameterName(number) : m_names.CommandName(number);
        if (m_line.empty()) {
            AppendPadded(m_line, number);
        }
    }

    void AppendHeader() {
        const std::size_t name = m_line.size();
        AppendIf(m_signature != Signature, "Signature", [this] { Padded(m_signature); });
        AppendIf(m_status != m_options.expectedStatus, "Status", [this] { Error(m_status); });
        AppendIf(ShowsLength(), "BodyLen", [this] { AppendDecimal(m_line, m_bodyLen); });
        AppendIf(ShowsFlagA(), "FlagA", [this] { Padded(m_flagA); });
        AppendIf(ShowsFlagB(), "FlagB", [this] { Padded(m_flagB); });
        AppendBodyStatus();
        AppendIf(m_dummy != 0, "Dummy", [this] { AppendDecimal(m_line, m_dummy); });
        // A parameter lies over the identifier's place.
        AppendIf(!m_withParameter && m_id != 0, "ID",
                 [this] { AppendDecimal(m_line, static_cast<int>(m_id)); });
        if (m_line.size() > name) {
            m_line.insert(name, " (");
            m_line += " )";
        }
    }

    template <typename AppendField>
    void AppendIf(bool unexpected, const char* name, AppendField&& appendField) {
        if (unexpected || m_options.full) {
            AppendLabel(m_line, name);
            appendField();
        }
    }

    void Padded(int value) { AppendPadded(m_line, value); }
    void Error(int code) { m_line += ErrorText(code, m_names); }

    bool LengthFitsValues() const {
        return m_bodyLen == LenParam() * m_flagA + static_cast<int>(ParameterSize);
    }

    bool ShowsLength() const { return m_withParameter ? !LengthFitsValues() : m_bodyLen != 0; }
    bool ShowsFlagA() const { return m_withParameter ? !LengthFitsValues() : m_flagA != 0; }

    bool ShowsFlagB() const {
        if (m_flagB == 0 || !m_withParameter) {
            return m_flagB != 0;
        }
        const int size = m_names.ParameterSize(m_parameter);
        return size == 0 || m_flagB != size * 16 + m_names.ParameterFract(m_parameter);
    }

    void AppendBodyStatus() {
        if (m_command != ReadBlock || m_bodyLen < 2) {
            return;
        }
        const auto offset = BodyStatusOffset + static_cast<std::size_t>(m_bodyLen);
        const auto status = Word<std::int16_t>(offset);
        AppendIf(status != m_options.expectedStatus, "BodyStatus", [&] { Error(status); });
    }

    // FlagA counts the values of the text parameter and those without a size; of others there are
    // as many as the body holds, on purpose: instruments send FlagA 1 for whole arrays.
    int ValueCount() const {
        const bool counted = m_parameter == TextParameter || LenParam() == 0;
        return counted ? m_flagA : (m_bodyLen - static_cast<int>(ParameterSize)) / LenParam();
    }

    void AppendValues() {
        switch (m_command) {
        case SetParameter:
            m_line += " =";
            break;
        case QueryParameter:
            m_line += " ?";
            break;
        default:
            m_line += " !";
        }
        const int count = ValueCount();
        for (int i = 0; i < count; ++i) {
            m_line += ' ';
            AppendNumber(m_line, Value(static_cast<unsigned int>(i)));
        }
        const std::size_t end = ValuesOffset + static_cast<std::size_t>(count * LenParam());
        if (m_parameter == TextParameter && end < m_size) {
            m_line += ' ';
            AppendQuoted(m_line, m_packet + end, m_size - end);
        }
    }

    double Value(unsigned int index) const {
        const auto size = static_cast<unsigned int>(LenParam());
        const unsigned int frac = m_flagB & 15;
        const std::size_t start = ValuesOffset + std::size_t{index} * size;
        if (start + std::max(size, 1U) <= m_size) {
            return ReadValue(m_packet + ValuesOffset, 0, index, VS_SIGNED, size, frac);
        }
        unsigned char bytes[15] = {};
        if (start < m_size) {
            std::copy(m_packet + start, m_packet + m_size, bytes);
        }
        return ReadValue(bytes, 0, 0, VS_SIGNED, size, frac);
    }

    // Items of more than one byte have their last byte first, as numbers are read.
    void AppendDump() {
        const auto itemSize = static_cast<std::size_t>(std::max(LenParam(), 1));
        const std::size_t body = m_size - HeaderSize;
        const std::size_t whole = 3 * ((body + itemSize - 1) / itemSize) + 2 * body;
        std::size_t end = m_line.size();
        m_line.resize(std::max(end, std::min(end + whole, LongestDumpLine)));
        for (std::size_t at = HeaderSize; at < m_size; at += itemSize) {
            const std::size_t count = std::min(itemSize, m_size - at);
            if (end + 3 + 2 * count > m_line.size()) {
                break;
            }
            end = StoreItem(end, m_packet + at, count);
        }
        m_line.resize(end);
    }

    std::size_t StoreItem(std::size_t at, const unsigned char* bytes, std::size_t count) {
        constexpr char Digits[] = "0123456789ABCDEF";
        char* to = &m_line[at];
        *to++ = ' ';
        *to++ = '0';
        *to++ = 'x';
        for (std::size_t i = count; i > 0; --i) {
            *to++ = Digits[bytes[i - 1] >> 4];
            *to++ = Digits[bytes[i - 1] & 15];
        }
        return at + 3 + 2 * count;
    }

    const unsigned char* m_packet;
    std::size_t m_size;
    const DecodeOptions& m_options;
    const ProtocolNames& m_names;
    std::uint16_t m_signature;
    int m_command;
    std::int16_t m_status;
    int m_bodyLen;
    int m_flagA;
    int m_flagB;
    int m_dummy;
    std::int64_t m_id;
    bool m_withParameter;
    int m_parameter;
    std::string m_line;
};

} // namespace

std::string ErrorText(int code, const ProtocolNames& names) {
    std::string text = names.ErrorName(code);
    if (text.empty()) {
        AppendPadded(text, code & 0xFFFF);
    }
    // Cut off on purpose: descriptions put an explanation behind the name.
    return text.substr(0, text.find('='));
}

std::string DecodePacket(const unsigned char* packet, std::size_t length,
                         const DecodeOptions& options, const ProtocolNames& names) {
    const std::size_t size = HeaderSize + WordAt<std::uint16_t>(packet, length, BodyLenOffset);
    if (length >= size) {
        return PacketDecoder(packet, options, names).Line();
    }
    std::vector<unsigned char> whole(size);
    std::copy_n(packet, length, whole.data());
    return PacketDecoder(whole.data(), options, names).Line();
}

} // namespace uxvisa::brix
