#include "tools/emulator/ErrorQueue.h"

namespace emulator {

void ErrorQueue::Push(ErrorCode code) {
    if (codes_.size() < kDepth) {
        codes_.push_back(code);
    } else {
        codes_.back() = ErrorCode::QueueOverflow;
    }
}

ErrorCode ErrorQueue::Pop() {
    if (codes_.empty()) {
        return ErrorCode::NoError;
    }
    const ErrorCode oldest = codes_.front();
    codes_.pop_front();
    return oldest;
}

} // namespace emulator
