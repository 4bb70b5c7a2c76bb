// How many monitors a block counts.
#pragma once

#include "monitor/SharedObject.h"

namespace uxvisa::tool {

// 0 without a block.
inline unsigned int MonitorReaders(CSharedObject& object) {
    constexpr int ReaderCountWord = 1;
    unsigned int* words = object.GetData();
    return words == nullptr ? 0 : __atomic_load_n(words + ReaderCountWord, __ATOMIC_SEQ_CST);
}

} // namespace uxvisa::tool
