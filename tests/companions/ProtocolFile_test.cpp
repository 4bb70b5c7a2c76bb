#include "companions/protodesc/ProtocolFile.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include "companions/protodesc/ProtocolXml.h"
#include "tools/TemporaryDirectory.h"

using namespace protodesc;

namespace {

class ProtocolFile : public ::testing::Test {
protected:
    TemporaryDirectory folder;
    std::string path = folder.File("Protocol.xml");
};

} // namespace

TEST_F(ProtocolFile, ComesWholeAndUnchanged) {
    for (const std::string& content :
         {std::string(), std::string("a"), std::string("\0\r\n\xFF\x1A", 5),
          std::string(3 * 1000 * 1000, 'x') + "end"}) {
        WriteFile(path, content);
        const auto read = ReadProtocolFile(path.c_str());
        ASSERT_TRUE(read.has_value());
        EXPECT_TRUE(*read == content) << content.size();
    }
}

TEST_F(ProtocolFile, IsNotThere) {
    EXPECT_FALSE(ReadProtocolFile(path.c_str()).has_value());
    EXPECT_FALSE(ReadProtocolFile("").has_value());
    EXPECT_FALSE(ReadProtocolFile((path + "/below").c_str()).has_value());
    EXPECT_FALSE(ReadProtocolFile(std::string(5000, 'n').c_str()).has_value());
}

TEST_F(ProtocolFile, IsADirectory) {
    std::filesystem::create_directory(path);
    EXPECT_FALSE(ReadProtocolFile(path.c_str()).has_value());
}

TEST_F(ProtocolFile, IsADeviceWithoutEnd) {
    EXPECT_FALSE(ReadProtocolFile("/dev/zero").has_value());
}

// Opening it the ordinary way would wait for a writer.
TEST_F(ProtocolFile, IsAPipe) {
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    EXPECT_FALSE(ReadProtocolFile(path.c_str()).has_value());
}

TEST_F(ProtocolFile, IsASocket) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    ASSERT_LT(path.size(), sizeof address.sun_path);
    path.copy(address.sun_path, path.size());
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ASSERT_EQ(bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_FALSE(ReadProtocolFile(path.c_str()).has_value());
    close(fd);
}

TEST_F(ProtocolFile, IsNotAllowed) {
    if (geteuid() == 0) {
        // Root may read everything, so another user does.
        WriteFile(path, "secret");
        std::filesystem::permissions(path, std::filesystem::perms::none);
        const pid_t child = fork();
        ASSERT_NE(child, -1);
        if (child == 0) {
            const bool changed = setgid(65534) == 0 && setuid(65534) == 0;
            _exit(changed && !ReadProtocolFile(path.c_str()).has_value() ? 0 : 1);
        }
        int status = -1;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
        return;
    }
    WriteFile(path, "secret");
    std::filesystem::permissions(path, std::filesystem::perms::none);
    EXPECT_FALSE(ReadProtocolFile(path.c_str()).has_value());
}

TEST_F(ProtocolFile, ThroughALinkOrNowhere) {
    const std::string link = folder.File("link");
    std::filesystem::create_symlink(path, link);
    EXPECT_FALSE(ReadProtocolFile(link.c_str()).has_value());
    WriteFile(path, "there");
    EXPECT_EQ(ReadProtocolFile(link.c_str()), "there");
    const std::string loop = folder.File("loop");
    std::filesystem::create_symlink(loop, loop);
    EXPECT_FALSE(ReadProtocolFile(loop.c_str()).has_value());
}

TEST_F(ProtocolFile, OfAnySizeStaysBounded) {
    WriteFile(path, "x");
    ASSERT_EQ(truncate(path.c_str(), MaxDocumentSize), 0);
    EXPECT_EQ(ReadProtocolFile(path.c_str()).value().size(), MaxDocumentSize);
    ASSERT_EQ(truncate(path.c_str(), off_t{1} << 40U), 0);
    EXPECT_EQ(ReadProtocolFile(path.c_str()).value().size(), MaxDocumentSize + 1);
}

// Such files say that they are empty.
TEST_F(ProtocolFile, WithoutASizeIsReadToItsEnd) {
    const auto content = ReadProtocolFile("/proc/self/maps");
    ASSERT_TRUE(content.has_value());
    EXPECT_GT(content->size(), 1000U);
    EXPECT_EQ(content->back(), '\n');
}

TEST_F(ProtocolFile, LeavesNoDescriptorOpen) {
    const auto lowest = [] {
        const int fd = dup(STDIN_FILENO);
        close(fd);
        return fd;
    };
    WriteFile(path, "text");
    const int before = lowest();
    EXPECT_TRUE(ReadProtocolFile(path.c_str()).has_value());
    EXPECT_FALSE(ReadProtocolFile("/dev/zero").has_value());
    EXPECT_FALSE(ReadProtocolFile("/nowhere").has_value());
    EXPECT_EQ(lowest(), before);
}
