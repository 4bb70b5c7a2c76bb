#pragma once

#include "companions/protodesc/ProtocolDescription.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace emulator {

// An instrument that speaks the binary command protocol. Its parameters are those of a protocol
// description; all clients share them. To be used from one thread at a time.
//
//   query (4)        answered as a set (3) of the value, so that the line reads "FREQ = 1.5"
//   set (3)          stores the values; answered with the identifier alone
//   step (7)         adds the first value, 1 without one; answered with the new value
//   fetch block (6)  answered with counting bytes and their status
//   other commands   answered with a status; one named RESET forgets all values
//
// What is refused is answered with the command, and the identifier if there was one, and a status.
class BrixInstrument {
public:
    static constexpr std::size_t MaxBlockLength = 65532;

    enum Status : std::uint16_t {
        Done = 0,
        UnknownCommand = 0x8001,
        UnknownParameter = 0x8002,
        ValuesDoNotMatch = 0x8003,
        BodyTooShort = 0x8005,
        LengthRefused = 0x800D,
        SignatureRefused = 0x800E,
    };

    struct Values {
        unsigned int size; // bytes of one; 0: there is none
        unsigned int fract;
        std::vector<double> numbers;
    };

    // An odd block gets one byte more.
    BrixInstrument(protodesc::ProtocolDescription description, std::size_t block_length);

    // The reply to a whole packet.
    std::string Answer(std::string_view packet);

private:
    std::string AnswerParameter(std::string_view packet);
    std::string Change(std::string_view packet, const protodesc::Parameter& parameter);
    std::string Tell(std::uint16_t command, const protodesc::Parameter& parameter);
    // A parameter that was never set is 0.
    static Values Untouched(const protodesc::Parameter& parameter);
    std::string AnswerBlock() const;
    std::string AnswerPlain(std::uint16_t command);

    const protodesc::ProtocolDescription m_description;
    const std::size_t m_block_length;
    std::map<int, Values> m_values;
};

} // namespace emulator
