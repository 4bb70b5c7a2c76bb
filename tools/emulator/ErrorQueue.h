#pragma once

#include "tools/emulator/ErrorCode.h"

#include <cstddef>
#include <deque>

namespace emulator {

// First in, first out. When it is full, its newest entry turns into QueueOverflow and later errors
// are lost until one is read.
class ErrorQueue {
public:
    static constexpr std::size_t kDepth = 20;

    void Push(ErrorCode code);
    ErrorCode Pop(); // NoError when empty
    void Clear() { codes_.clear(); }
    std::size_t Count() const { return codes_.size(); }
    bool Empty() const { return codes_.empty(); }

private:
    std::deque<ErrorCode> codes_;
};

} // namespace emulator
