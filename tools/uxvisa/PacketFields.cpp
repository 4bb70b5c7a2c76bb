#include "tools/uxvisa/PacketFields.h"

#include <algorithm>
#include <array>

#include "brix/Decoder.h"
#include "brix/Packet.h"
#include "brix/PacketText.h"
#include "brix/ValueCodec.h"
#include "tools/uxvisa/EscapedText.h"

namespace uxvisa::tool {

namespace {

// The protocol keeps it for texts.
constexpr int TextParameter = 10;
constexpr std::size_t BodyStatusSize = 2;

const unsigned char* Bytes(std::string_view text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

std::string HexNumber(std::uint16_t number) {
    constexpr char Digits[] = "0123456789ABCDEF";
    std::string text = "0x";
    for (int shift = 12; shift >= 0; shift -= 4) {
        text += Digits[(number >> shift) & 0x0F];
    }
    return text;
}

// "1 FREQ"
std::string Named(int number, const std::string& name) {
    return std::to_string(number) + (name.empty() ? ", not in the protocol" : ' ' + name);
}

std::string Counted(std::size_t count, const char* noun) {
    return std::to_string(count) + ' ' + noun + (count == 1 ? "" : "s");
}

const char* FixedMeaning(unsigned int command) {
    switch (command) {
    case brix::SetParameter:
        return ": sets a parameter";
    case brix::QueryParameter:
        return ": asks for a parameter";
    case brix::ReadBlock:
        return ": fetches a block";
    case brix::ActOnParameter:
        return ": acts on a parameter";
    default:
        return "";
    }
}

std::string NumberText(double value) {
    std::string text;
    brix::AppendNumber(text, value);
    return text;
}

class FieldList {
public:
    FieldList(std::string_view packet, const brix::ProtocolNames& names)
        : m_packet(packet), m_names(names) {}

    std::vector<PacketField> All() {
        TakeHeader();
        TakeBody();
        Take(m_packet.size() - m_at, "Behind", "not of this packet");
        return std::move(m_fields);
    }

private:
    // What the packet ends in the middle of is still shown.
    void Take(std::size_t size, const std::string& name, const std::string& meaning) {
        const std::string_view bytes = m_packet.substr(m_at, size);
        if (bytes.empty()) {
            return;
        }
        m_fields.push_back({m_at, bytes, name, bytes.size() < size ? "cut short" : meaning});
        m_at += bytes.size();
    }

    template <typename Word>
    Word Next() const {
        std::array<unsigned char, sizeof(Word)> bytes{};
        const std::string_view here = m_packet.substr(m_at, sizeof(Word));
        std::copy(here.begin(), here.end(), bytes.begin());
        return brix::LoadWord<Word>(bytes.data());
    }

    void TakeHeader() {
        const auto signature = Next<std::uint16_t>();
        Take(2, "Signature",
             HexNumber(signature) + (signature == brix::Signature ? "" : ", which is wrong"));
        m_command = Next<std::uint16_t>();
        m_isParameter = brix::IsParameterCommand(m_command);
        Take(2, "Command",
             Named(static_cast<int>(m_command), m_names.CommandName(static_cast<int>(m_command))) +
                 FixedMeaning(m_command));
        TakeStatus("Status");
        m_bodyLen = Next<std::uint16_t>();
        Take(2, "BodyLen", std::to_string(m_bodyLen));
        m_flagA = Next<unsigned char>();
        Take(1, "FlagA", m_isParameter ? Counted(m_flagA, "value") : std::to_string(m_flagA));
        TakeFlagB();
        Take(2, "Dummy", std::to_string(Next<std::uint16_t>()));
        Take(4, "Unused", "");
    }

    // Protocols put an explanation behind the name.
    void TakeStatus(const char* field) {
        const auto code = Next<std::uint16_t>();
        std::string name = m_names.ErrorName(static_cast<std::int16_t>(code));
        const std::size_t equals = name.find('=');
        if (equals != std::string::npos) {
            name.replace(equals, 1, ": ");
        }
        Take(2, field, HexNumber(code) + (name.empty() ? "" : ' ' + name));
    }

    void TakeFlagB() {
        const auto flagB = Next<unsigned char>();
        m_valueSize = flagB >> 4U;
        m_fraction = flagB & 15U;
        Take(1, "FlagB",
             m_isParameter ? Counted(m_valueSize, "byte") + " a value, " +
                                 std::to_string(m_fraction) + " of them fraction"
                           : std::to_string(flagB));
    }

    void TakeBody() {
        if (m_isParameter && m_bodyLen >= brix::ParameterSize) {
            TakeParameter();
        } else if (m_command == brix::ReadBlock && m_bodyLen >= BodyStatusSize) {
            Take(m_bodyLen - BodyStatusSize, "Data", Counted(m_bodyLen - BodyStatusSize, "byte"));
            TakeStatus("BodyStatus");
        } else {
            Take(m_bodyLen, "Body",
                 m_bodyLen < brix::IdSize
                     ? ""
                     : "as an identifier (ID): " + std::to_string(Next<std::int64_t>()));
        }
    }

    // How many there are, and what is behind them, as sessions take it.
    void TakeParameter() {
        const int parameter = Next<std::uint16_t>();
        Take(brix::ParameterSize, "Parameter", Named(parameter, m_names.ParameterName(parameter)));
        const std::size_t room = m_bodyLen - brix::ParameterSize;
        const std::size_t fitting = m_valueSize == 0 ? 0 : room / m_valueSize;
        const std::size_t count =
            parameter == TextParameter ? std::min<std::size_t>(m_flagA, fitting) : fitting;
        for (std::size_t i = 0; i < count; ++i) {
            TakeValue(i + 1);
        }
        const std::size_t rest = room - count * m_valueSize;
        const std::string_view bytes = m_packet.substr(m_at, rest);
        if (parameter == TextParameter) {
            Take(rest, "Text", EscapedText(bytes));
        } else {
            Take(rest, "Rest",
                 bytes == std::string_view("\0", 1) ? "fills up to an even length" : "no value");
        }
    }

    void TakeValue(std::size_t number) {
        std::array<unsigned char, 16> bytes{};
        const std::string_view here = m_packet.substr(m_at, m_valueSize);
        std::copy(here.begin(), here.end(), bytes.begin());
        const double value = brix::ReadValue(bytes.data(), 0, 0, VS_SIGNED,
                                             static_cast<unsigned int>(m_valueSize), m_fraction);
        Take(m_valueSize, "Value " + std::to_string(number), NumberText(value));
    }

    std::string_view m_packet;
    const brix::ProtocolNames& m_names;
    std::vector<PacketField> m_fields;
    std::size_t m_at = 0;
    unsigned int m_command = 0;
    bool m_isParameter = false;
    std::size_t m_bodyLen = 0;
    unsigned int m_flagA = 0;
    std::size_t m_valueSize = 0;
    unsigned int m_fraction = 0;
};

} // namespace

std::vector<PacketField> FieldsOf(std::string_view packet, const brix::ProtocolNames& names) {
    return FieldList(packet, names).All();
}

std::optional<std::string> FaultOf(std::string_view packet) {
    if (packet.size() < brix::HeaderSize) {
        return "a packet has at least " + Counted(brix::HeaderSize, "byte") + ", here are " +
               std::to_string(packet.size());
    }
    const auto signature = brix::LoadWord<std::uint16_t>(Bytes(packet) + brix::SignatureOffset);
    if (signature != brix::Signature) {
        return "the signature is " + HexNumber(signature) + "; a packet begins with AA 55";
    }
    const std::size_t size = brix::PacketSize(Bytes(packet));
    if (packet.size() < size) {
        return "the header announces a body of " + Counted(size - brix::HeaderSize, "byte") +
               ", here are " + std::to_string(packet.size() - brix::HeaderSize);
    }
    if (packet.size() > size) {
        return Counted(packet.size() - size, "byte") + " behind the end of the packet";
    }
    return std::nullopt;
}

// A request's status is not worth showing in a request.
std::string LineOf(std::string_view packet, const brix::ProtocolNames& names) {
    brix::DecodeOptions options;
    const auto status = packet.size() < brix::StatusOffset + 2
                            ? std::int16_t{0}
                            : brix::LoadWord<std::int16_t>(Bytes(packet) + brix::StatusOffset);
    options.expectedStatus = status == brix::UnansweredStatus ? status : std::int16_t{0};
    return brix::DecodePacket(Bytes(packet), packet.size(), options, names);
}

} // namespace uxvisa::tool
