#include "monitor/MonitorBlock.h"

#include <algorithm>
#include <atomic>
#include <cstring>

namespace uxvisa {

namespace {

// Positions in the block, counted in words.
enum Word { ReaderCount = 1, Length, Pending, Direction, SeenDirectionWord, Status };

constexpr std::size_t PlaceOffset = 1;
constexpr unsigned char ContinuesBit = 1;
constexpr unsigned char GoesOnBit = 2;

std::atomic_ref<unsigned int> At(unsigned int* words, Word word) {
    return std::atomic_ref<unsigned int>(words[word]);
}

std::atomic_ref<unsigned char> Byte(unsigned int* words, std::size_t offset) {
    return std::atomic_ref<unsigned char>(reinterpret_cast<unsigned char*>(words)[offset]);
}

// Never wraps, whatever another program has left in the word.
void Decrement(std::atomic_ref<unsigned int> word) {
    unsigned int value = word.load();
    while (value != 0 && !word.compare_exchange_weak(value, value - 1)) {
    }
}

unsigned char Place(const MonitorPiece& piece) {
    return static_cast<unsigned char>((piece.continues ? ContinuesBit : 0) |
                                      (piece.goesOn ? GoesOnBit : 0));
}

} // namespace

bool MonitorBlock::IsFree() const {
    return At(m_words, Pending).load(std::memory_order_acquire) == 0;
}

// In this order, so that a reader without the lock finds a whole message when it sees the toggle.
void MonitorBlock::Put(const MonitorPiece& piece) const {
    const auto size = std::min<std::size_t>(piece.length, MonitorDataSize);
    if (size != 0) {
        std::memcpy(reinterpret_cast<unsigned char*>(m_words) + MonitorDataOffset, piece.data,
                    size);
    }
    Byte(m_words, PlaceOffset).store(Place(piece));
    At(m_words, Length).store(static_cast<unsigned int>(size));
    At(m_words, Direction).store(piece.written ? 1 : 0);
    At(m_words, Status).store(piece.status);
    At(m_words, Pending).store(At(m_words, ReaderCount).load());
    Byte(m_words, 0).fetch_xor(1);
}

void MonitorBlock::ForgetReaders() const {
    At(m_words, ReaderCount).store(0);
    At(m_words, Pending).store(0);
}

// A message that others still have to take is news for who joins, too.
unsigned char MonitorBlock::Join() const {
    const unsigned char toggle = Byte(m_words, 0).load();
    ++At(m_words, ReaderCount);
    if (IsFree()) {
        return toggle;
    }
    ++At(m_words, Pending);
    return toggle ^ 1;
}

// Takes its own share of the message that is pending, and only that: a reader that has consumed the
// message has none left, and what it took in addition would be lost for another.
void MonitorBlock::Leave(unsigned char ownToggle) const {
    Decrement(At(m_words, ReaderCount));
    if (HoldsNews(ownToggle)) {
        Decrement(At(m_words, Pending));
    }
}

bool MonitorBlock::HoldsNews(unsigned char ownToggle) const {
    return !IsFree() && Byte(m_words, 0).load() != ownToggle;
}

MonitorPiece MonitorBlock::Current() const {
    const unsigned char place = Byte(m_words, PlaceOffset).load();
    MonitorPiece piece;
    piece.data = reinterpret_cast<unsigned char*>(m_words) + MonitorDataOffset;
    piece.length = std::min<unsigned int>(At(m_words, Length).load(), MonitorDataSize);
    piece.written = At(m_words, Direction).load() != 0;
    piece.status = At(m_words, Status).load();
    piece.continues = (place & ContinuesBit) != 0;
    piece.goesOn = (place & GoesOnBit) != 0;
    return piece;
}

unsigned char MonitorBlock::Consume(unsigned char ownToggle) const {
    Decrement(At(m_words, Pending));
    return ownToggle ^ 1;
}

bool MonitorBlock::DirectionTurned() const {
    return At(m_words, SeenDirectionWord).load() != At(m_words, Direction).load();
}

void MonitorBlock::SeeDirection() const {
    At(m_words, SeenDirectionWord).store(At(m_words, Direction).load());
}

unsigned int MonitorBlock::SeenDirection() const {
    return At(m_words, SeenDirectionWord).load();
}

} // namespace uxvisa
