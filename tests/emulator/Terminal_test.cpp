#include "tools/emulator/Terminal.h"

#include "emulator/StreamClient.h"
#include "tools/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <filesystem>
#include <stdexcept>
#include <string>

using emulator::Link;
using emulator::Terminal;
using std::filesystem::create_symlink;
using std::filesystem::is_symlink;
using std::filesystem::read_symlink;

namespace {

StreamClient OpenClient(const std::string& device) {
    return StreamClient(::open(device.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));
}

std::string AllBytes() {
    std::string bytes;
    for (int i = 0; i < 256; ++i) {
        bytes += static_cast<char>(static_cast<unsigned char>(i));
    }
    return bytes;
}

} // namespace

TEST(Terminal, PassesOnEveryByteBothWays) {
    Terminal terminal;
    StreamClient instrument(terminal.TakeInstrumentEnd());
    StreamClient client = OpenClient(terminal.Device());
    client.Send(AllBytes());
    EXPECT_EQ(instrument.ReadExactly(256), AllBytes());
    EXPECT_FALSE(client.HasInputWithin(std::chrono::milliseconds(20))) << "no echo";
    instrument.Send(AllBytes());
    EXPECT_EQ(client.ReadExactly(256), AllBytes());
}

TEST(Terminal, ClientsComeAndGo) {
    Terminal terminal;
    StreamClient instrument(terminal.TakeInstrumentEnd());
    for (const char* message : {"one", "two"}) {
        OpenClient(terminal.Device()).Send(message);
        EXPECT_EQ(instrument.ReadExactly(3), message);
        EXPECT_FALSE(instrument.HasInputWithin(std::chrono::milliseconds(20))) << "no hang-up";
    }
}

TEST(Terminal, IsGoneWithItsObject) {
    std::string device;
    {
        const Terminal terminal;
        device = terminal.Device();
        EXPECT_THAT(device, testing::StartsWith("/dev/pts/"));
        EXPECT_TRUE(std::filesystem::is_character_file(device));
        EXPECT_NE(device, Terminal().Device());
    }
    EXPECT_FALSE(std::filesystem::exists(device));
}

TEST(Link, PointsToItsTargetAndGoesWithItsObject) {
    const TemporaryDirectory directory;
    const std::string path = directory.File("link");
    {
        const Link link(path, "/dev/pts/7");
        EXPECT_EQ(read_symlink(path), "/dev/pts/7");
    }
    EXPECT_FALSE(is_symlink(path));
}

TEST(Link, TakesThePlaceOfALinkToATerminal) {
    const TemporaryDirectory directory;
    const std::string path = directory.File("link");
    create_symlink("/dev/pts/6", path);
    const Link link(path, "/dev/pts/7");
    EXPECT_EQ(read_symlink(path), "/dev/pts/7");
}

TEST(Link, ReplacesNothingElse) {
    const TemporaryDirectory directory;
    WriteFile(directory.File("file"), "precious");
    create_symlink(directory.File("file"), directory.File("other"));
    create_symlink("/dev/null", directory.File("device"));
    for (const char* name : {"file", "other", "device", "."}) {
        EXPECT_THROW(Link(directory.File(name), "/dev/pts/7"), std::runtime_error) << name;
    }
    EXPECT_EQ(FileContents(directory.File("file")), "precious");
    EXPECT_EQ(read_symlink(directory.File("other")), directory.File("file"));
    EXPECT_EQ(read_symlink(directory.File("device")), "/dev/null");
    EXPECT_THROW(Link(directory.File("no/folder"), "/dev/pts/7"), std::runtime_error);
}

TEST(Link, WhatSomebodyElsePutThereStays) {
    const TemporaryDirectory directory;
    const std::string path = directory.File("link");
    {
        const Link first(path, "/dev/pts/7");
        std::filesystem::remove(path);
        create_symlink("/dev/pts/8", path);
    }
    EXPECT_EQ(read_symlink(path), "/dev/pts/8");
    std::filesystem::remove(path);
    {
        const Link second(path, "/dev/pts/7");
        std::filesystem::remove(path);
        WriteFile(path, "precious");
    }
    EXPECT_EQ(FileContents(path), "precious");
}
