#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace emulator {

// The answer to one query. Large answers are made piece by piece while they are moved out.
class Reply {
public:
    Reply() = default; // a command that answers nothing

    static Reply Text(std::string text);
    static Reply Block(std::size_t length);
    static Reply Trace(std::size_t points, std::uint64_t seed);

    // True when nothing is left to move.
    bool Empty() const { return m_text_at == m_text.size() && m_next == m_end; }

    // Appends at most limit bytes to out; fewer only when the answer ends.
    void MoveTo(std::string& out, std::size_t limit);

private:
    enum class Body { None, Block, Trace };

    void MoveText(std::string& out, std::size_t limit);
    void MoveBlock(std::string& out, std::size_t limit);
    void MakeTraceText();

    std::string m_text;
    std::size_t m_text_at = 0;
    Body m_body = Body::None;
    std::size_t m_next = 0;
    std::size_t m_end = 0;
    std::uint64_t m_seed = 0;
};

} // namespace emulator
