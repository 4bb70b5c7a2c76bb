#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace emulator {

// Turns a byte stream, however it is split, into records of ONC RPC (RFC 5531, section 11). A
// record may come in several fragments, of which any may be empty.
class RecordAssembler {
public:
    // A device_write with as many data as a link takes.
    static constexpr std::size_t MaxLength = 65536 + 60;

    enum class Outcome {
        NeedMore, // the input is used up
        Record,   // a record, without its marks
        Overrun,  // a record is too long; nothing behind it can be told apart
    };

    explicit RecordAssembler(std::size_t max_length = MaxLength) : m_max_length(max_length) {}

    // Consumes input up to the end of the next record. The record stays valid until the next call.
    Outcome Take(std::string_view& input, std::string_view& record);

private:
    bool TakeMark(std::string_view& input);
    void TakeFragment(std::string_view& input);

    std::size_t m_max_length;
    std::string m_record;
    std::uint32_t m_mark = 0;
    std::size_t m_mark_bytes = 0;
    std::size_t m_fragment_left = 0;
    bool m_in_fragment = false;
    bool m_delivered = false;
    bool m_overrun = false;
};

} // namespace emulator
