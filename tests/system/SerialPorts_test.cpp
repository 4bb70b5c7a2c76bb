// The list of serial ports against lists of the kernel's that the test makes up, each in a mount
// namespace of its own, and ports right under /dev. All of it needs root.
#include "transports/SerialPorts.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <stdexcept>

#include <sched.h>
#include <sys/mount.h>

#include "support/Namespace.h"
#include "support/PseudoTerminal.h"
#include "transports/SessionASRL.h"
#include "transports/SessionIO.h"

using namespace uxvisa::test;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

namespace {

constexpr char ClassDirectory[] = "/sys/class/tty";

std::runtime_error SystemFailure(const std::string& what) {
    return std::runtime_error(what + ": " + std::strerror(errno));
}

// A namespace belongs to the thread that makes it and to threads that one starts.
void InANamespace(const std::function<void()>& work) {
    std::async(std::launch::async, [&work] {
        if (unshare(CLONE_NEWNS) != 0 ||
            mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
            throw SystemFailure("a mount namespace cannot be made");
        }
        work();
    }).get();
}

void MountEmpty(const char* directory) {
    if (mount("none", directory, "tmpfs", 0, "mode=755") != 0) {
        throw SystemFailure(directory);
    }
}

// Only `work` sees the empty list, and nothing is left behind.
void WithEmptyList(const std::function<void()>& work) {
    InANamespace([&work] {
        MountEmpty(ClassDirectory);
        work();
    });
}

std::string WhyUnavailable() {
    try {
        InANamespace([] { MountEmpty("/dev"); });
        const Link link("/dev/null", "/dev/" + NewTerminalName());
    } catch (const std::runtime_error& failure) {
        return failure.what();
    }
    return "";
}

// An entry as the kernel makes it; without a driver its device has none.
void List(const std::string& name, const std::string& driver) {
    const std::string entry = std::string(ClassDirectory) + "/" + name;
    // Devices are kept among the entries, where they are entries without a device.
    const std::string device = std::string(ClassDirectory) + "/device-of-" + name;
    std::filesystem::create_directory(entry);
    std::filesystem::create_directory(device);
    std::filesystem::create_symlink("../device-of-" + name, entry + "/device");
    if (!driver.empty()) {
        std::filesystem::create_symlink("../../../bus/drivers/" + driver, device + "/driver");
    }
}

long Collect(ISession*, char const* record, void* context) {
    static_cast<std::vector<std::string>*>(context)->emplace_back(record);
    return 0;
}

std::vector<std::string> Records(const char* expression) {
    CSessionASRL session;
    std::vector<std::string> records;
    std::string text(expression);
    EXPECT_EQ(session.FindResources(text.data(), Collect, &records), VI_SUCCESS);
    return records;
}

class SerialPorts : public ::testing::Test {
protected:
    void SetUp() override { uxvisa::test::SkipUnlessAvailable(WhyUnavailable()); }
};

} // namespace

TEST_F(SerialPorts, ThoseWithADriverAreReportedInTheOrderOfTheirNames) {
    WithEmptyList([] {
        List("ttyUSB1", "ftdi_sio");
        List("ttyUSB0", "cp210x");
        List("ttyACM0", "cdc_acm");
        List("ttyUSB10", "ftdi_sio");
        EXPECT_THAT(getComList(),
                    ElementsAre("/dev/ttyACM0", "/dev/ttyUSB0", "/dev/ttyUSB1", "/dev/ttyUSB10"));
        EXPECT_THAT(Records(""), ElementsAre("ttyACM0::INSTR\n\n\n", "ttyUSB0::INSTR\n\n\n",
                                             "ttyUSB1::INSTR\n\n\n", "ttyUSB10::INSTR\n\n\n"));
    });
}

TEST_F(SerialPorts, EntriesWithoutADriverAreSkipped) {
    WithEmptyList([] {
        const std::string directory = std::string(ClassDirectory) + "/";
        List("ttyS0", "");
        std::filesystem::create_directory(directory + "tty1");
        std::filesystem::create_directory(directory + "console");
        std::ofstream(directory + "plain") << "file";
        // A device that is a folder and no link, though it has a driver.
        std::filesystem::create_directories(directory + "ttyX/device");
        std::filesystem::create_symlink("../../bus/drivers/x", directory + "ttyX/device/driver");
        // A link to nowhere, and a driver that is a folder.
        std::filesystem::create_directory(directory + "ttyY");
        std::filesystem::create_symlink("../absent", directory + "ttyY/device");
        List("ttyZ", "");
        std::filesystem::create_directory(directory + "device-of-ttyZ/driver");
        EXPECT_THAT(getComList(), IsEmpty());
        EXPECT_THAT(Records("?*"), IsEmpty());
    });
}

TEST_F(SerialPorts, TheExpressionIsNotLookedAtOnPurpose) {
    WithEmptyList([] {
        List("ttyUSB0", "ftdi_sio");
        for (const char* expression : {"", "TCPIP?*", "nothing like it", "USB?*INSTR"}) {
            EXPECT_THAT(Records(expression), ElementsAre("ttyUSB0::INSTR\n\n\n"));
        }
        CSessionASRL session;
        std::vector<std::string> records;
        EXPECT_EQ(session.FindResources(nullptr, Collect, &records), VI_SUCCESS);
        EXPECT_EQ(records.size(), 1U);
    });
}

// "port" is what newer kernels show in front of the driver serial8250.
TEST_F(SerialPorts, WhateverDriverNameTheKernelShowsDecidesOnPurpose) {
    WithEmptyList([] {
        List("ttyS7000", "serial8250");
        List("ttyS7001", "port");
        List("ttyS7002", "serial8250-of-another-kind");
        EXPECT_THAT(getComList(), ElementsAre("/dev/ttyS7001", "/dev/ttyS7002"));
    });
}

TEST_F(SerialPorts, Those8250WithoutHardwareOrDeviceAreLeftOut) {
    const PseudoTerminal noSerialPort("");
    const std::string name = noSerialPort.Resource().substr(0, noSerialPort.Resource().find(':'));
    WithEmptyList([&name] {
        List(name, "serial8250");
        List("ttyS7000", "serial8250");
        EXPECT_THAT(getComList(), IsEmpty());
        std::vector<std::string> ports;
        std::vector<std::string> of8250;
        register_comport(ports, of8250, std::string(ClassDirectory) + "/ttyS7000");
        EXPECT_THAT(of8250, ElementsAre("/dev/ttyS7000"));
        EXPECT_THAT(ports, IsEmpty());
    });
}

TEST_F(SerialPorts, ALongDriverLinkIsReadUpTo1024Bytes) {
    WithEmptyList([] {
        List("ttyA", "a");
        const std::string device = std::string(ClassDirectory) + "/device-of-ttyA";
        std::filesystem::remove(device + "/driver");
        const std::string folders(1020, 'f');
        std::filesystem::create_symlink(folders + "/driver", device + "/driver");
        EXPECT_EQ(get_driver(std::string(ClassDirectory) + "/ttyA"), "dri");
    });
}

TEST_F(SerialPorts, AnEmptyListIsNoError) {
    WithEmptyList([] {
        CaptureStderr();
        EXPECT_THAT(getComList(), IsEmpty());
        EXPECT_EQ(GetCapturedStderr(), "");
    });
}

TEST_F(SerialPorts, WithoutAListThereAreNoPortsAndALineSaysSo) {
    WithEmptyList([] {
        MountEmpty("/sys");
        CaptureStderr();
        EXPECT_THAT(Records(""), IsEmpty());
        EXPECT_EQ(GetCapturedStderr(), "scandir: No such file or directory\n");
    });
}

TEST_F(SerialPorts, APortRightUnderDevOpens) {
    const PseudoTerminal port("");
    CSessionASRL session;
    ASSERT_EQ(Open(session, port.Resource()), VI_SUCCESS);
    EXPECT_EQ(Write(session, "*IDN?\n").status, VI_SUCCESS);
    EXPECT_EQ(port.Receive(6), "*IDN?\n");
    port.Send("Orvane\n");
    EXPECT_EQ(Read(session, 100), Received("Orvane\n"));
}

// Whatever this machine has: what is reported is there.
TEST(SerialPortsOfThisMachine, AreListedByTheKernel) {
    for (const std::string& device : getComList()) {
        const std::string name = device.substr(device.rfind('/') + 1);
        EXPECT_EQ(device, "/dev/" + name);
        EXPECT_TRUE(std::filesystem::exists(std::string(ClassDirectory) + "/" + name)) << device;
    }
}
