// The tool, the LAN driver and the emulator as a user starts them, where port 111 is free.
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "emulator/EmulatorProcess.h"
#include "support/Namespace.h"
#include "tools/TemporaryDirectory.h"
#include "tools/ToolRun.h"

using uxvisa::test::NetworkNamespace;

namespace {

constexpr char Instrument[] = "TCPIP::127.0.0.1::INSTR";
constexpr int ExitFailed = 1;
constexpr int ExitTimedOut = 3;

// The tool with the LAN driver bound.
ToolResult RunOnLan(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"--driver", UXVISA_LAN_DRIVER});
    return RunTool(arguments);
}

class Vxi11Emulator : public uxvisa::test::NamespaceTest {
protected:
    void SetUp() override {
        NamespaceTest::SetUp();
        if (IsSkipped() || HasFatalFailure()) {
            return;
        }
        net = std::make_unique<NetworkNamespace>();
    }

    // The emulator ends with the thread that started it, so everything happens in one.
    void WithEmulator(const std::function<void()>& work, std::vector<std::string> options = {}) {
        options.insert(options.begin(), {"--port", "0", "--vxi11", "0", "--portmapper", "111"});
        net->Do([&] {
            EmulatorProcess emulator(options);
            emulator.Port();
            EXPECT_THAT(emulator.PrintedLine(), testing::StartsWith("vxi11 on 127.0.0.1:"));
            EXPECT_EQ(emulator.PrintedLine(), "portmapper on 127.0.0.1:111");
            work();
        });
    }

    std::unique_ptr<NetworkNamespace> net;
};

} // namespace

TEST_F(Vxi11Emulator, AnswersAQueryThroughTheLanDriver) {
    WithEmulator([] {
        const ToolResult result = RunOnLan({"query", Instrument, "*IDN?"});
        EXPECT_EQ(result.exitCode, 0) << result.error;
        EXPECT_EQ(result.output, "Orvane,Emulator,0," UXVISA_VERSION "\n");
    });
}

TEST_F(Vxi11Emulator, AnswersADeviceOnItsBus) {
    WithEmulator([] {
        const ToolResult result = RunOnLan({"query", "TCPIP::127.0.0.1::gpib0,5::INSTR", "*OPC?"});
        EXPECT_EQ(result.exitCode, 0) << result.error;
        EXPECT_EQ(result.output, "1\n");
    });
}

TEST_F(Vxi11Emulator, SendsABlockOfManyReads) {
    const TemporaryDirectory directory;
    WithEmulator(
        [&] {
            const std::string file = directory.File("curve");
            const ToolResult result =
                RunOnLan({"query", Instrument, "CURV?", "--block", "-o", file});
            EXPECT_EQ(result.exitCode, 0) << result.error;
            const std::string curve = FileContents(file);
            ASSERT_EQ(curve.size(), 300000U);
            for (std::size_t i = 0; i < curve.size(); ++i) {
                ASSERT_EQ(static_cast<unsigned char>(curve[i]), i & 0xFFU) << i;
            }
        },
        {"--curve-length", "300000"});
}

TEST_F(Vxi11Emulator, KeepsWhatWasWritten) {
    WithEmulator([] {
        EXPECT_EQ(RunOnLan({"write", Instrument, "TRAC:POIN 17"}).exitCode, 0);
        EXPECT_EQ(RunOnLan({"query", Instrument, "TRAC:POIN?"}).output, "17\n");
    });
}

TEST_F(Vxi11Emulator, AReadOfNothingTimesOut) {
    WithEmulator([] {
        const ToolResult result = RunOnLan({"read", Instrument, "--timeout", "500"});
        EXPECT_EQ(result.exitCode, ExitTimedOut);
        EXPECT_THAT(result.error, testing::HasSubstr("VI_ERROR_TMO"));
        EXPECT_EQ(RunOnLan({"query", Instrument, "SYST:ERR?"}).output,
                  "-420,\"Query UNTERMINATED\"\n");
    });
}

TEST_F(Vxi11Emulator, ADeviceThatDoesNotExistIsBusyOnPurpose) {
    WithEmulator([] {
        const ToolResult result = RunOnLan({"query", "TCPIP::127.0.0.1::nowhere::INSTR", "*IDN?"});
        EXPECT_EQ(result.exitCode, ExitFailed);
        EXPECT_THAT(result.error, testing::HasSubstr("VI_ERROR_RSRC_BUSY"));
    });
}

TEST_F(Vxi11Emulator, WithoutADriverLibraryNothingIsSent) {
    WithEmulator([] {
        const ToolResult result = RunTool({"query", Instrument, "*IDN?"});
        EXPECT_EQ(result.exitCode, ExitFailed);
        EXPECT_THAT(result.error, testing::HasSubstr("VI_ERROR_LIBRARY_NFOUND"));
    });
}
