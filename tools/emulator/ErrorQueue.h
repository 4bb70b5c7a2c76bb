#pragma once

#include "tools/emulator/ErrorCode.h"

#include <cstddef>
#include <deque>

namespace emulator {

// First in, first out. When it is full, its newest entry turns into QueueOverflow and later errors
// are lost until one is read.
class ErrorQueue {
public:
    static constexpr std::size_t Depth = 20;

    void Push(ErrorCode code);
    ErrorCode Pop(); // NoError when empty
    void Clear() { m_codes.clear(); }
    std::size_t Count() const { return m_codes.size(); }
    bool Empty() const { return m_codes.empty(); }

private:
    std::deque<ErrorCode> m_codes;
};

} // namespace emulator
