#include "tools/emulator/BrixInstrument.h"

#include "brix/Head.h"
#include "brix/Packet.h"
#include "brix/ValueCodec.h"

#include <algorithm>
#include <utility>

namespace emulator {

namespace {

namespace brix = uxvisa::brix;

using protodesc::Parameter;

// Carries text behind its values; the decoders know it by this number.
constexpr int TextParameter = 10;
constexpr char Identity[] = "Orvane,Emulator,0,2.0.0";
// The header's own check counts a header of so many bytes, and this protocol keeps it so.
constexpr std::size_t SurplusOfCheck = 24 - brix::HeaderSize;

const unsigned char* Bytes(std::string_view packet) {
    return reinterpret_cast<const unsigned char*>(packet.data());
}

CHead HeadOf(std::string_view packet) {
    CHead head;
    const unsigned char* bytes = Bytes(packet);
    head.Signature = brix::LoadWord<std::uint16_t>(bytes + brix::SignatureOffset);
    head.Command = brix::LoadWord<std::uint16_t>(bytes + brix::CommandOffset);
    head.Status = brix::LoadWord<std::int16_t>(bytes + brix::StatusOffset);
    head.BodyLen = brix::LoadWord<std::uint16_t>(bytes + brix::BodyLenOffset);
    const unsigned char flag_b = bytes[brix::FlagsOffset + 1];
    head.SetFlags(bytes[brix::FlagsOffset], static_cast<short>(flag_b >> 4U),
                  static_cast<short>(flag_b & 0x0FU));
    head.Dummy = 0;
    head.ID = 0;
    return head;
}

// The check counts in 16 bits, so that it refuses the very longest packets.
int CheckHead(std::string_view packet) {
    const std::size_t length = std::min<std::size_t>(packet.size() + SurplusOfCheck, 0xFFFF);
    return HeadOf(packet).Check(static_cast<unsigned short>(length));
}

struct Flags {
    std::uint8_t count = 0;
    std::uint8_t sizes = 0;
};

Flags FlagsOf(const BrixInstrument::Values& values) {
    return {static_cast<std::uint8_t>(values.numbers.size()),
            static_cast<std::uint8_t>(values.size << 4U | values.fract)};
}

// A packet of even length; `body` follows the header.
std::string Packet(std::uint16_t command, int status, std::string body, Flags flags = {}) {
    body.resize(body.size() + body.size() % 2, '\0');
    std::string packet(brix::HeaderSize, '\0');
    auto* bytes = reinterpret_cast<unsigned char*>(packet.data());
    brix::StoreWord(bytes + brix::SignatureOffset, brix::Signature);
    brix::StoreWord(bytes + brix::CommandOffset, command);
    brix::StoreWord(bytes + brix::StatusOffset, static_cast<std::uint16_t>(status));
    brix::StoreWord(bytes + brix::BodyLenOffset, static_cast<std::uint16_t>(body.size()));
    bytes[brix::FlagsOffset] = flags.count;
    bytes[brix::FlagsOffset + 1] = flags.sizes;
    return packet + body;
}

std::string IdentifierBody(int identifier) {
    std::string body(brix::ParameterSize, '\0');
    brix::StoreWord(reinterpret_cast<unsigned char*>(body.data()),
                    static_cast<std::uint16_t>(identifier));
    return body;
}

std::string ValueBytes(const BrixInstrument::Values& values) {
    std::string bytes(values.numbers.size() * values.size, '\0');
    for (std::size_t i = 0; i < values.numbers.size(); ++i) {
        WriteComplexValue(reinterpret_cast<unsigned char*>(bytes.data()), values.size, values.fract,
                          values.numbers[i], static_cast<int>(i));
    }
    return bytes;
}

BrixInstrument::Values ValuesOf(std::string_view packet) {
    CHead head = HeadOf(packet);
    BrixInstrument::Values values{static_cast<unsigned int>(head.LenParam()),
                                  static_cast<unsigned int>(head.FracParam()),
                                  {}};
    for (int i = 0; values.size != 0 && i < head.NumParam(); ++i) {
        values.numbers.push_back(ReadComplexValue2(Bytes(packet) + brix::ValuesOffset, 0,
                                                   static_cast<unsigned int>(i), VS_SIGNED,
                                                   values.size, values.fract));
    }
    return values;
}

} // namespace

BrixInstrument::BrixInstrument(protodesc::ProtocolDescription description, std::size_t block_length)
    : m_description(std::move(description)),
      m_block_length(std::min(block_length + block_length % 2, MaxBlockLength)) {}

std::string BrixInstrument::Answer(std::string_view packet) {
    const std::uint16_t command = HeadOf(packet).Command;
    const bool on_parameter = brix::IsParameterCommand(command);
    const std::string named =
        on_parameter && packet.size() >= brix::ValuesOffset
            ? std::string(packet.substr(brix::ParameterOffset, brix::ParameterSize))
            : std::string();
    if (const int refused = CheckHead(packet); refused != brix::HeadAcceptable) {
        return Packet(command, refused, named);
    }
    if (on_parameter) {
        return named.empty() ? Packet(command, BodyTooShort, {}) : AnswerParameter(packet);
    }
    return command == brix::ReadBlock ? AnswerBlock() : AnswerPlain(command);
}

std::string BrixInstrument::AnswerParameter(std::string_view packet) {
    const std::uint16_t command = HeadOf(packet).Command;
    const int identifier = brix::LoadWord<std::uint16_t>(Bytes(packet) + brix::ParameterOffset);
    const Parameter* parameter = m_description.parameters.Find(identifier);
    if (parameter == nullptr) {
        return Packet(command, UnknownParameter, IdentifierBody(identifier));
    }
    return command == brix::QueryParameter ? Tell(brix::SetParameter, *parameter)
                                           : Change(packet, *parameter);
}

// A parameter of unknown size takes its values in whatever size they come.
std::string BrixInstrument::Change(std::string_view packet, const Parameter& parameter) {
    CHead head = HeadOf(packet);
    const bool known = parameter.size != 0;
    const bool has_values = head.NumParam() > 0;
    const int refused = head.Check(-1, known && has_values ? parameter.size : -1,
                                   known && has_values ? parameter.fract : -1, true);
    if (refused != brix::HeadAcceptable) {
        return Packet(head.Command, refused, IdentifierBody(parameter.id));
    }
    const Values values = ValuesOf(packet);
    if (head.Command == brix::SetParameter) {
        m_values[parameter.id] = values;
        return Packet(head.Command, Done, IdentifierBody(parameter.id));
    }
    Values& kept = m_values.try_emplace(parameter.id, Untouched(parameter)).first->second;
    kept.numbers.resize(std::max<std::size_t>(kept.numbers.size(), 1));
    kept.numbers.front() += values.numbers.empty() ? 1 : values.numbers.front();
    return Tell(head.Command, parameter);
}

BrixInstrument::Values BrixInstrument::Untouched(const Parameter& parameter) {
    return {
        static_cast<unsigned int>(parameter.size), static_cast<unsigned int>(parameter.fract), {0}};
}

std::string BrixInstrument::Tell(std::uint16_t command, const Parameter& parameter) {
    if (parameter.id == TextParameter) {
        return Packet(command, Done, IdentifierBody(parameter.id) + Identity);
    }
    const auto found = m_values.find(parameter.id);
    Values values = found == m_values.end() ? Untouched(parameter) : found->second;
    if (values.size == 0) {
        values.numbers.clear();
    }
    return Packet(command, Done, IdentifierBody(parameter.id) + ValueBytes(values),
                  FlagsOf(values));
}

std::string BrixInstrument::AnswerBlock() const {
    std::string body;
    for (std::size_t i = 0; i < m_block_length; ++i) {
        body += static_cast<char>(i & 0xFFU);
    }
    const std::string body_status(2, '\0');
    return Packet(brix::ReadBlock, Done, body + body_status);
}

std::string BrixInstrument::AnswerPlain(std::uint16_t command) {
    const protodesc::Command* known = m_description.commands.Find(command);
    if (known == nullptr) {
        return Packet(command, UnknownCommand, {});
    }
    if (protodesc::UpperCased(known->name) == "RESET") {
        m_values.clear();
    }
    return Packet(command, Done, {});
}

} // namespace emulator
