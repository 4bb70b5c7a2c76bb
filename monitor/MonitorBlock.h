// The shared block through which one message at a time goes from a hooked session to its monitors.
#pragma once

#include <cstddef>

namespace uxvisa {

// 78 bytes, little-endian. Byte 0 is the toggle, byte 1 the place of a piece in its message (see
// MonitorPiece); six 32-bit words follow, then the data. Programs of other origin map it too.
constexpr std::size_t MonitorBlockSize = 78;
constexpr std::size_t MonitorDataOffset = 28;
constexpr std::size_t MonitorDataSize = MonitorBlockSize - MonitorDataOffset;

// What is published at a time: a message, or one of the pieces of a message that is longer than the
// data area.
struct MonitorPiece {
    const unsigned char* data = nullptr;
    unsigned int length = 0;
    bool written = false; // by the program; otherwise it was read
    unsigned int status = 0;
    bool continues = false; // the piece published before it
    bool goesOn = false;    // in a further piece
};

// A view of a mapped block. Everything is done under the block's lock, except IsFree(). The words
// are accessed atomically all the same, since not every program that maps the block takes the lock.
class MonitorBlock {
public:
    explicit MonitorBlock(unsigned int* start) : m_words(start) {}

    // For the writer.
    bool IsFree() const;
    void Put(const MonitorPiece& piece) const;
    // When all readers have died.
    void ForgetReaders() const;

    // For a reader. Its own toggle differs from the block's as long as there is something to take.
    unsigned char Join() const;
    void Leave(unsigned char ownToggle) const;
    bool HoldsNews(unsigned char ownToggle) const;
    // The bytes of `piece` are those in the block.
    MonitorPiece Current() const;
    // The reader's toggle from here on.
    unsigned char Consume(unsigned char ownToggle) const;

    // The direction that a reader has seen last; one word for all of them.
    bool DirectionTurned() const;
    void SeeDirection() const;
    unsigned int SeenDirection() const;

private:
    unsigned int* m_words;
};

} // namespace uxvisa
