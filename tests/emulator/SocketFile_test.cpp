#include "tools/emulator/SocketFile.h"

#include "tools/TemporaryDirectory.h"

#include <asio.hpp>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>

using emulator::RemoveStaleSocket;
using emulator::SocketFile;
using std::filesystem::exists;
using Protocol = asio::local::stream_protocol;

namespace {

class SocketFileTest : public testing::Test {
protected:
    std::unique_ptr<Protocol::acceptor> Listen() {
        return std::make_unique<Protocol::acceptor>(context, Protocol::endpoint(path));
    }

    TemporaryDirectory directory;
    asio::io_context context;
    std::string path = directory.File("socket");
};

} // namespace

TEST_F(SocketFileTest, NothingThereIsFine) {
    EXPECT_NO_THROW(RemoveStaleSocket(path));
    EXPECT_NO_THROW(RemoveStaleSocket(directory.File("no/such/folder")));
}

TEST_F(SocketFileTest, ASocketOfAProgramThatEndedIsRemoved) {
    Listen().reset();
    ASSERT_TRUE(exists(path));
    RemoveStaleSocket(path);
    EXPECT_FALSE(exists(path));
}

TEST_F(SocketFileTest, ASocketInUseStays) {
    const auto acceptor = Listen();
    try {
        RemoveStaleSocket(path);
        FAIL() << "somebody listens there";
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code(), std::errc::address_in_use);
    }
    EXPECT_TRUE(exists(path));
}

TEST_F(SocketFileTest, OtherFilesStay) {
    WriteFile(path, "precious");
    EXPECT_THROW(RemoveStaleSocket(path), std::runtime_error);
    EXPECT_EQ(FileContents(path), "precious");
    std::filesystem::create_symlink(path, directory.File("link"));
    EXPECT_THROW(RemoveStaleSocket(directory.File("link")), std::runtime_error);
    EXPECT_TRUE(exists(directory.File("link")));
}

TEST_F(SocketFileTest, APathThatIsTooLongIsAnError) {
    EXPECT_THROW(RemoveStaleSocket(directory.File(std::string(108, 'x'))), std::system_error);
}

TEST_F(SocketFileTest, IsRemovedWithItsObject) {
    const auto acceptor = Listen();
    {
        const SocketFile file(path);
        EXPECT_TRUE(exists(path));
    }
    EXPECT_FALSE(exists(path));
}

TEST_F(SocketFileTest, WhatSomebodyElsePutThereStays) {
    const auto acceptor = Listen();
    {
        const SocketFile file(path);
        std::filesystem::rename(path, path + ".old");
        WriteFile(path, "precious");
    }
    EXPECT_EQ(FileContents(path), "precious");
}
