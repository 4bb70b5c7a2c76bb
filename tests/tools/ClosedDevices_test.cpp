#include "tools/uxvisa/ClosedDevices.h"

#include <gtest/gtest.h>

#include <thread>

#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "tools/TemporaryDirectory.h"

using uxvisa::tool::ClosedDevices;

namespace {

using Texts = std::vector<std::string>;

constexpr uid_t Nobody = 65534;

// Root may open everything, so a thread of this process gives that up; the C library's function
// would do it for the whole process.
Texts SeenByAnOrdinaryUser(const std::string& folder) {
    Texts closed;
    std::thread([&] {
        if (::geteuid() == 0) {
            ASSERT_EQ(::syscall(SYS_setresuid, Nobody, Nobody, Nobody), 0);
        }
        closed = ClosedDevices(folder);
    }).join();
    return closed;
}

class ClosedDevicesTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(::chmod(m_folder.File("").c_str(), 0755), 0); }

    std::string Make(const std::string& name, mode_t mode) const {
        const std::string path = m_folder.File(name);
        WriteFile(path, "");
        EXPECT_EQ(::chmod(path.c_str(), mode), 0);
        return path;
    }

    TemporaryDirectory m_folder;
};

} // namespace

TEST_F(ClosedDevicesTest, AreThoseThatCannotBeReadAndWritten) {
    const std::string acm = Make("ttyACM1", 0000);
    const std::string usb = Make("ttyUSB0", 0444);
    const std::string tmc = Make("usbtmc1", 0000);
    Make("ttyUSB1", 0666);
    EXPECT_EQ(SeenByAnOrdinaryUser(m_folder.File("")), (Texts{acm, usb, tmc}));
}

TEST_F(ClosedDevicesTest, AreOnlyThoseOfInstruments) {
    for (const auto* name : {"ttyS0", "tty", "tty1", "null", "xttyUSB0", "usb"}) {
        Make(name, 0000);
    }
    EXPECT_EQ(SeenByAnOrdinaryUser(m_folder.File("")), Texts{});
}

TEST_F(ClosedDevicesTest, InAFolderThatIsNotThereAreNone) {
    EXPECT_EQ(ClosedDevices(m_folder.File("nowhere")), Texts{});
}
