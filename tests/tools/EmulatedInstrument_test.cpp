// The tool and the emulator as a user starts them.
#include <gmock/gmock.h>

#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <string>

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tools/TemporaryDirectory.h"
#include "tools/ToolRun.h"

namespace {

class Emulator {
public:
    explicit Emulator(std::vector<std::string> options) {
        std::vector<char*> words;
        options.insert(options.begin(), {"uxvisa-emulator", "--port", "0"});
        for (std::string& option : options) {
            words.push_back(option.data());
        }
        words.push_back(nullptr);
        int ends[2] = {};
        if (::pipe2(ends, O_CLOEXEC) != 0) {
            throw std::runtime_error("no pipe");
        }
        Start(words.data(), ends[1]);
        ::close(ends[1]);
        m_output = ::fdopen(ends[0], "r");
        int port = 0;
        if (std::fscanf(m_output, "listening on 127.0.0.1:%d", &port) != 1) {
            throw std::runtime_error("the emulator did not start");
        }
        m_resource = "TCPIP::127.0.0.1::" + std::to_string(port) + "::SOCKET";
    }
    ~Emulator() {
        if (m_child > 0) {
            ::kill(m_child, SIGTERM);
            ::waitpid(m_child, nullptr, 0);
        }
        std::fclose(m_output);
    }
    Emulator(const Emulator&) = delete;
    Emulator& operator=(const Emulator&) = delete;

    const std::string& Resource() const { return m_resource; }

private:
    void Start(char** words, int output) {
        posix_spawn_file_actions_t actions{};
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
        posix_spawn(&m_child, UXVISA_EMULATOR, &actions, nullptr, words, environ);
        posix_spawn_file_actions_destroy(&actions);
    }

    pid_t m_child = -1;
    std::FILE* m_output = nullptr;
    std::string m_resource;
};

} // namespace

TEST(EmulatedInstrument, AnswersOneQueryAfterTheOther) {
    const Emulator emulator({});
    for (int i = 0; i < 3; ++i) {
        const ToolResult result = RunTool({"query", emulator.Resource(), "*IDN?"});
        EXPECT_EQ(result.exitCode, 0) << result.error;
        EXPECT_THAT(result.output, testing::MatchesRegex("[^,]+,[^,]+,[^,]+,[^,]+\n"));
    }
}

TEST(EmulatedInstrument, SendsACurveOfTheLengthAskedFor) {
    const TemporaryDirectory directory;
    const Emulator emulator({"--curve-length", "2000000"});
    const ToolResult result =
        RunTool({"query", emulator.Resource(), "CURV?", "--block", "-o", directory.File("curve")});
    EXPECT_EQ(result.exitCode, 0) << result.error;
    EXPECT_EQ(std::filesystem::file_size(directory.File("curve")), 2000000U);
}

TEST(EmulatedInstrument, TakesAWriteAndQueuesTheErrorOfABadOne) {
    const Emulator emulator({});
    EXPECT_EQ(RunTool({"write", emulator.Resource(), "*RST"}).exitCode, 0);
    EXPECT_EQ(RunTool({"query", emulator.Resource(), "SYST:ERR?"}).output, "0,\"No error\"\n");
    EXPECT_EQ(RunTool({"query", emulator.Resource(), "BOGUS?", "--timeout", "300"}).exitCode, 3);
    EXPECT_THAT(RunTool({"query", emulator.Resource(), "SYST:ERR?"}).output,
                testing::StartsWith("-113,"));
}

// The library closes a local socket only after its peer did.
TEST(EmulatedInstrument, AnswersOnALocalSocket) {
    const TemporaryDirectory directory;
    const std::string path = directory.File("socket");
    const Emulator emulator({"--usock", path, "--idle-drop", "300"});
    const std::string resource = "USOCK::" + path + "::SOCKET";
    for (int i = 0; i < 2; ++i) {
        const ToolResult result = RunTool({"query", resource, "*IDN?"});
        EXPECT_EQ(result.exitCode, 0) << result.error;
        EXPECT_THAT(result.output, testing::MatchesRegex("[^,]+,[^,]+,[^,]+,[^,]+\n"));
    }
    const ToolResult curve = RunTool(
        {"query", resource, "CURV:LENG 200000;:CURV?", "--block", "-o", directory.File("curve")});
    EXPECT_EQ(curve.exitCode, 0) << curve.error;
    EXPECT_EQ(std::filesystem::file_size(directory.File("curve")), 200000U);
}
