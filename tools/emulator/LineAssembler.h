#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace emulator {

// Turns a byte stream, however it is split, into lines that end with "\n" or "\r\n".
class LineAssembler {
public:
    static constexpr std::size_t MaxLength = std::size_t{1} << 20U;

    enum class Outcome {
        NeedMore, // the input is used up
        Line,     // a line, without its end
        Overrun,  // a line is too long; what is left of it will be skipped
    };

    explicit LineAssembler(std::size_t max_length = MaxLength) : m_max_length(max_length) {}

    // Consumes input up to and including the next line end. The line stays valid until the next
    // call and as long as the bytes behind input do.
    Outcome Take(std::string_view& input, std::string_view& line);

private:
    Outcome KeepPartialLine(std::string_view part);
    Outcome FinishLine(std::string_view part, std::string_view& line);
    bool TooLong(std::string_view line) const;

    std::size_t m_max_length;
    std::string m_partial;
    bool m_partial_is_delivered = false;
    bool m_skipping = false;
};

} // namespace emulator
