#include "tools/emulator/ErrorQueue.h"

namespace emulator {

void ErrorQueue::Push(ErrorCode code) {
    if (m_codes.size() < Depth) {
        m_codes.push_back(code);
    } else {
        m_codes.back() = ErrorCode::QueueOverflow;
    }
}

ErrorCode ErrorQueue::Pop() {
    if (m_codes.empty()) {
        return ErrorCode::NoError;
    }
    const ErrorCode oldest = m_codes.front();
    m_codes.pop_front();
    return oldest;
}

} // namespace emulator
