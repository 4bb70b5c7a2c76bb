// A view into a block from outside: an object of its own that neither reads nor writes messages.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "monitor/MonitorBlock.h"
#include "monitor/SharedObject.h"

namespace uxvisa::test {

// Closed, it takes the name with it like everybody; the test's own block stays mapped.
class PeekedBlock {
public:
    explicit PeekedBlock(const std::string& name) { EXPECT_EQ(m_object.OpenSObj(name.c_str()), 0); }

    unsigned int Toggle() { return Bytes()[0]; }
    unsigned int ReaderCount() { return Word(1); }
    unsigned int Length() { return Word(2); }
    unsigned int Pending() { return Word(3); }
    unsigned int Direction() { return Word(4); }
    unsigned int SeenDirection() { return Word(5); }
    unsigned int Status() { return Word(6); }
    std::string Data() {
        const SharedObjectLock lock(m_object);
        const MonitorPiece piece = MonitorBlock(m_object.GetData()).Current();
        return {reinterpret_cast<const char*>(piece.data), piece.length};
    }
    std::string Image() {
        const SharedObjectLock lock(m_object);
        return {reinterpret_cast<const char*>(Bytes()), MonitorBlockSize};
    }
    void Set(std::size_t word, unsigned int value) {
        __atomic_store_n(m_object.GetData() + word, value, __ATOMIC_SEQ_CST);
    }
    void SetReaderCount(unsigned int value) { Set(1, value); }
    void SetPending(unsigned int value) { Set(3, value); }

private:
    const unsigned char* Bytes() {
        return reinterpret_cast<const unsigned char*>(m_object.GetData());
    }
    unsigned int Word(std::size_t position) {
        return __atomic_load_n(m_object.GetData() + position, __ATOMIC_SEQ_CST);
    }

    CSharedObject m_object;
};

} // namespace uxvisa::test
