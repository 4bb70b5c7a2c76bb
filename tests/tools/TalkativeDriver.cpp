// A driver library that prints a line at every turn, and behind which every host has a VXI-11
// instrument.
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <string>

#include "uxvisa/visa.h"

#define EXPORTED __attribute__((visibility("default")))

namespace {

constexpr char Identity[] = "Maker,TALK-1,SN-9,1.2.3\n";

std::mutex mutex;
// What the reads to come hand out.
std::string answer;

void Talk() {
    std::printf("IDs:0957\t1796\n");
}

std::string Word(std::uint32_t value) {
    return {static_cast<char>(value >> 24), static_cast<char>(value >> 16),
            static_cast<char>(value >> 8), static_cast<char>(value)};
}

std::uint32_t WordAt(const std::string& text, std::size_t at) {
    std::uint32_t word = 0;
    for (std::size_t i = at; i < at + 4 && i < text.size(); ++i) {
        word = word << 8 | static_cast<unsigned char>(text[i]);
    }
    return word;
}

// The results behind the header of a reply to a call of the portmapper or the core channel.
std::string Results(std::uint32_t program, std::uint32_t procedure) {
    constexpr std::uint32_t portmapper = 100000;
    constexpr std::uint32_t deviceRead = 12;
    if (program == portmapper) {
        return Word(1024);
    }
    if (procedure != deviceRead) {
        return std::string(32, '\0');
    }
    return std::string(16, '\0') + Word(sizeof Identity - 1) + std::string(4, '\0') + Identity;
}

std::string Reply(const std::string& call) {
    const std::string body = Word(WordAt(call, 4)) + Word(1) + std::string(16, '\0') +
                             Results(WordAt(call, 16), WordAt(call, 24));
    return Word(0x80000000U | static_cast<std::uint32_t>(body.size())) + body;
}

} // namespace

extern "C" {

EXPORTED ViStatus uxOpenDefaultRM(ViPSession vi) {
    Talk();
    *vi = 1;
    return VI_SUCCESS;
}

EXPORTED ViStatus uxOpen(ViSession, ViRsrc, ViAccessMode, ViUInt32, ViPSession vi) {
    Talk();
    *vi = 2;
    return VI_SUCCESS;
}

EXPORTED ViStatus uxClose(ViObject) {
    Talk();
    return VI_SUCCESS;
}

EXPORTED ViStatus uxSetAttribute(ViObject, ViAttr, ViAttrState) {
    return VI_SUCCESS;
}

EXPORTED ViStatus uxWrite(ViSession, ViConstBuf buffer, ViUInt32 count, ViPUInt32 written) {
    const std::lock_guard guard(mutex);
    Talk();
    answer = Reply(std::string(reinterpret_cast<const char*>(buffer), count));
    *written = count;
    return VI_SUCCESS;
}

EXPORTED ViStatus uxRead(ViSession, ViPByte buffer, ViUInt32 count, ViPUInt32 received) {
    const std::lock_guard guard(mutex);
    Talk();
    if (answer.size() < count) {
        return VI_ERROR_TMO;
    }
    std::memcpy(buffer, answer.data(), count);
    answer.erase(0, count);
    *received = count;
    return VI_SUCCESS;
}

} // extern "C"
