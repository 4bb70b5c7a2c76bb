#include "tools/emulator/PacketAssembler.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using emulator::PacketAssembler;

std::string Packet(std::size_t body, char fill = 'x') {
    std::string packet(16, '\0');
    packet[6] = static_cast<char>(body & 0xFFU);
    packet[7] = static_cast<char>(body >> 8U);
    return packet + std::string(body, fill);
}

std::vector<std::string> Packets(const std::string& bytes, std::size_t piece) {
    PacketAssembler assembler;
    std::vector<std::string> packets;
    for (std::size_t at = 0; at < bytes.size(); at += piece) {
        std::string_view input = std::string_view(bytes).substr(at, piece);
        std::string_view packet;
        while (assembler.Take(input, packet) == PacketAssembler::Outcome::Record) {
            packets.emplace_back(packet);
        }
        EXPECT_TRUE(input.empty());
    }
    return packets;
}

} // namespace

TEST(PacketAssembler, FindsPacketsHoweverTheyAreSplit) {
    const std::vector<std::string> packets{Packet(0), Packet(6, 'a'), Packet(65535, 'b'),
                                           Packet(0)};
    std::string bytes;
    for (const std::string& packet : packets) {
        bytes += packet;
    }
    for (const std::size_t piece :
         {std::size_t{1}, std::size_t{15}, std::size_t{17}, bytes.size()}) {
        EXPECT_EQ(Packets(bytes, piece), packets) << piece;
    }
}

TEST(PacketAssembler, WaitsForTheRest) {
    EXPECT_TRUE(Packets(Packet(6).substr(0, 15), 15).empty());
    EXPECT_TRUE(Packets(Packet(6).substr(0, 21), 21).empty());
}
