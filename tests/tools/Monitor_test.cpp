// A session watched from a second process.
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <unistd.h>

#include "monitor/SharedObject.h"
#include "tools/EmulatorProcess.h"
#include "tools/InstrumentPeer.h"
#include "tools/ToolRun.h"
#include "tools/uxvisa/MonitorReaders.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using uxvisa::tool::MonitorReaders;

namespace {

class RunningMonitor {
public:
    explicit RunningMonitor(const std::string& resource, std::vector<std::string> options = {},
                            const ToolStreams& streams = {})
        : m_tool(Words(resource, std::move(options)), streams) {
        EXPECT_TRUE(m_tool.AwaitError("watching, until Ctrl-C"));
    }

    const RunningTool& Tool() const { return m_tool; }
    // What it has shown, line by line, without the time.
    std::vector<std::string> End(int signal = SIGTERM) {
        m_tool.Signal(signal);
        m_result = m_tool.Wait();
        EXPECT_EQ(m_result.exitCode, 0) << m_result.error;
        std::vector<std::string> lines;
        std::istringstream text(m_result.output);
        for (std::string line; std::getline(text, line);) {
            EXPECT_THAT(line.substr(0, 13), MatchesRegex("[0-9]+:[0-9]+:[0-9]+\\.[0-9]+ "));
            lines.push_back(line.size() > 13 ? line.substr(13) : "");
        }
        return lines;
    }
    std::string Output() {
        m_tool.Signal(SIGTERM);
        return m_tool.Wait().output;
    }
    void Kill() {
        m_tool.Signal(SIGKILL);
        m_tool.Wait();
    }

private:
    static std::vector<std::string> Words(const std::string& resource,
                                          std::vector<std::string> options) {
        options.insert(options.begin(), {"monitor", resource});
        return options;
    }

    RunningTool m_tool;
    ToolResult m_result;
};

std::string BlockPath(const std::string& resource) {
    return "/dev/shm/" + resource + "_v2_Map";
}

bool AwaitReaders(CSharedObject& block, unsigned int count) {
    for (int tries = 0; tries < 2000 && MonitorReaders(block) != count; ++tries) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return MonitorReaders(block) == count;
}

ToolResult HookedQuery(const std::string& resource, const std::string& command) {
    return RunTool({"query", "--hook", resource, command});
}

} // namespace

TEST(Monitor, ShowsWhatHookedQueriesExchange) {
    const Emulator emulator({});
    RunningMonitor monitor(emulator.Resource());
    const ToolResult first = HookedQuery(emulator.Resource(), "*IDN?");
    EXPECT_EQ(first.exitCode, 0) << first.error;
    const std::string identity = first.output.substr(0, first.output.size() - 1);
    // The next command on the same resource is seen from its first byte on.
    EXPECT_EQ(HookedQuery(emulator.Resource(), "*OPC?").output, "1\n");
    EXPECT_EQ(RunTool({"write", "--hook", emulator.Resource(), "*RST"}).exitCode, 0);
    EXPECT_TRUE(monitor.Tool().AwaitOutput("RST"));
    EXPECT_THAT(
        monitor.End(),
        ElementsAre("-> 6 \"*IDN?\\n\"",
                    "<- " + std::to_string(identity.size() + 1) + " \"" + identity + "\\n\"",
                    "-> 6 \"*OPC?\\n\"", "<- 2 \"1\\n\"", "-> 5 \"*RST\\n\""));
}

TEST(Monitor, SeesNothingOfASessionWithoutAHook) {
    const Emulator emulator({});
    RunningMonitor monitor(emulator.Resource());
    EXPECT_EQ(RunTool({"query", emulator.Resource(), "*OPC?"}).exitCode, 0);
    EXPECT_EQ(HookedQuery(emulator.Resource(), "*ESR?").exitCode, 0);
    EXPECT_TRUE(monitor.Tool().AwaitOutput("<-"));
    EXPECT_THAT(monitor.End(), ElementsAre("-> 6 \"*ESR?\\n\"", testing::StartsWith("<- ")));
}

TEST(Monitor, ShowsWhatIsReadWithoutAQuestion) {
    InstrumentPeer peer([](PeerConnection& connection) { connection.Send("tick\n"); });
    RunningMonitor monitor(peer.Resource());
    EXPECT_EQ(RunTool({"read", "--hook", peer.Resource()}).output, "tick\n");
    EXPECT_TRUE(monitor.Tool().AwaitOutput("tick"));
    EXPECT_THAT(monitor.End(), ElementsAre("<- 5 \"tick\\n\""));
}

TEST(Monitor, JoinsTheContinuationsOfALongMessage) {
    const std::string line(5000, 'x');
    InstrumentPeer peer(Answering(line + "\n"));
    RunningMonitor monitor(peer.Resource());
    EXPECT_EQ(HookedQuery(peer.Resource(), "TRAC?").output, line + "\n");
    EXPECT_TRUE(monitor.Tool().AwaitOutput("<-"));
    EXPECT_THAT(monitor.End(), ElementsAre("-> 6 \"TRAC?\\n\"", "<- 5001 \"" + line + "\\n\""));
}

TEST(Monitor, MarksAReadThatRanOutOfTime) {
    InstrumentPeer peer(Answering("+1.2"));
    RunningMonitor monitor(peer.Resource());
    EXPECT_EQ(RunTool({"query", "--hook", peer.Resource(), "V?", "--timeout", "500"}).exitCode, 3);
    EXPECT_TRUE(monitor.Tool().AwaitOutput("+1.2"));
    EXPECT_THAT(monitor.End(), ElementsAre("-> 3 \"V?\\n\"", "<- 4 \"+1.2\" VI_ERROR_TMO"));
}

TEST(Monitor, DumpsBytes) {
    InstrumentPeer peer(Answering("ABC\x01\n"));
    RunningMonitor monitor(peer.Resource(), {"--hex"});
    EXPECT_EQ(HookedQuery(peer.Resource(), "V?").exitCode, 0);
    EXPECT_TRUE(monitor.Tool().AwaitOutput("ABC"));
    EXPECT_THAT(monitor.Output(),
                HasSubstr(" <- 5\n  00000000  41 42 43 01 0A" + std::string(35, ' ') + "ABC..\n"));
}

TEST(Monitor, PrintsAJsonLineForEachMessage) {
    InstrumentPeer peer(Answering("\xFFz\n"));
    RunningMonitor monitor(peer.Resource(), {"--json"});
    EXPECT_EQ(HookedQuery(peer.Resource(), "V?").exitCode, 0);
    EXPECT_TRUE(monitor.Tool().AwaitOutput("read"));
    std::istringstream lines(monitor.Output());
    std::vector<nlohmann::json> messages;
    for (std::string line; std::getline(lines, line);) {
        messages.push_back(nlohmann::json::parse(line));
    }
    ASSERT_EQ(messages.size(), 2U);
    EXPECT_EQ(messages[0]["direction"], "write");
    EXPECT_EQ(messages[0]["text"], "V?\n");
    EXPECT_EQ(messages[0]["length"], 3);
    EXPECT_EQ(messages[0]["complete"], true);
    EXPECT_THAT(messages[0]["time"].get<std::string>(), MatchesRegex("20..-..-..T..:..:..\\....Z"));
    EXPECT_EQ(messages[1]["direction"], "read");
    EXPECT_EQ(messages[1]["base64"], "/3oK");
    EXPECT_EQ(messages[1]["status"], "VI_SUCCESS_TERM_CHAR");
}

TEST(Monitor, SignsOffAtEverySignalThatEndsIt) {
    const Emulator emulator({});
    CSharedObject block;
    ASSERT_EQ(block.OpenSObj(emulator.Resource().c_str()), 0);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        CSharedObject own;
        ASSERT_EQ(own.OpenSObj(emulator.Resource().c_str()), 0);
        EXPECT_EQ(MonitorReaders(own), 0U);
        RunningMonitor monitor(emulator.Resource());
        EXPECT_EQ(MonitorReaders(own), 1U);
        EXPECT_THAT(monitor.End(signal), ElementsAre());
        EXPECT_EQ(MonitorReaders(own), 0U);
        EXPECT_FALSE(std::filesystem::exists(BlockPath(emulator.Resource())));
    }
}

TEST(Monitor, SignsOffWhenItsOutputIsGone) {
    InstrumentPeer peer(Answering("1\n"));
    int ends[2] = {};
    ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    ToolStreams streams;
    streams.output = ends[1];
    RunningTool monitor({"monitor", peer.Resource()}, streams);
    ASSERT_TRUE(monitor.AwaitError("watching"));
    ::close(ends[0]);
    ::close(ends[1]);
    CSharedObject block;
    ASSERT_EQ(block.OpenSObj(peer.Resource().c_str()), 0);
    EXPECT_EQ(HookedQuery(peer.Resource(), "V?").exitCode, 0);
    const ToolResult result = monitor.Wait();
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.error, HasSubstr("standard output: Broken pipe"));
    EXPECT_EQ(MonitorReaders(block), 0U);
}

TEST(Monitor, EndsAlthoughNobodyTakesItsOutput) {
    const std::string line(300000, 'x');
    InstrumentPeer peer(Answering(line + "\n"));
    int ends[2] = {};
    ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    ToolStreams streams;
    streams.output = ends[1];
    RunningTool monitor({"monitor", peer.Resource()}, streams);
    ASSERT_TRUE(monitor.AwaitError("watching"));
    RunningTool query({"query", "--hook", peer.Resource(), "TRAC?"});
    // Time to get stuck in: the pipe takes 64 KiB, and the query waits for the monitor.
    std::this_thread::sleep_for(std::chrono::milliseconds(1500));
    monitor.Signal(SIGTERM);
    EXPECT_EQ(monitor.Wait().exitCode, 0);
    const ToolResult result = query.Wait();
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_TRUE(result.output == line + "\n");
    ::close(ends[0]);
    ::close(ends[1]);
}

TEST(Monitor, KilledItHoldsAQueryUpForSecondsOnly) {
    const Emulator emulator({});
    RunningMonitor(emulator.Resource()).Kill();
    const ToolResult result = HookedQuery(emulator.Resource(), "*OPC?");
    EXPECT_EQ(result.exitCode, 0) << result.error;
    EXPECT_EQ(result.output, "1\n");
    EXPECT_LT(result.seconds, 10);
    // Found out, and not waited for again.
    EXPECT_FALSE(std::filesystem::exists(BlockPath(emulator.Resource())));
}

TEST(Monitor, StaysWhenAnotherOneLeaves) {
    const Emulator emulator({});
    RunningMonitor stays(emulator.Resource());
    RunningMonitor leaves(emulator.Resource());
    EXPECT_EQ(HookedQuery(emulator.Resource(), "*OPC?").exitCode, 0);
    EXPECT_TRUE(leaves.Tool().AwaitOutput("<-"));
    EXPECT_THAT(leaves.End(), ElementsAre("-> 6 \"*OPC?\\n\"", "<- 2 \"1\\n\""));
    EXPECT_EQ(HookedQuery(emulator.Resource(), "*ESE?").exitCode, 0);
    EXPECT_TRUE(stays.Tool().AwaitOutput("<- 2 \"0"));
    EXPECT_THAT(stays.End(), ElementsAre("-> 6 \"*OPC?\\n\"", "<- 2 \"1\\n\"", "-> 6 \"*ESE?\\n\"",
                                         "<- 2 \"0\\n\""));
}

TEST(Monitor, FollowsToTheBlockThatComesAfterAHookHasClosed) {
    const Emulator emulator({});
    RunningMonitor monitor(emulator.Resource());
    {
        // Takes the name with it, as hooks of other programs do.
        CSharedObject foreign;
        ASSERT_EQ(foreign.OpenSObj(emulator.Resource().c_str()), 0);
    }
    CSharedObject block;
    for (int tries = 0; tries < 2000 && !std::filesystem::exists(BlockPath(emulator.Resource()));
         ++tries) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    ASSERT_EQ(block.OpenSObj(emulator.Resource().c_str()), 0);
    ASSERT_TRUE(AwaitReaders(block, 1));
    EXPECT_EQ(HookedQuery(emulator.Resource(), "*OPC?").exitCode, 0);
    EXPECT_TRUE(monitor.Tool().AwaitOutput("<-"));
    EXPECT_THAT(monitor.End(), ElementsAre("-> 6 \"*OPC?\\n\"", "<- 2 \"1\\n\""));
}

TEST(Monitor, SaysWhyANameHasNoBlock) {
    const ToolResult result = RunTool({"monitor", std::string(300, 'x')});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.error, HasSubstr("VI_ERROR_RSRC_NFOUND"));
    EXPECT_THAT(result.error, HasSubstr("hint: a block of shared memory of this name"));
}

TEST(Monitor, ReportsAFailureAsJson) {
    const ToolResult result = RunTool({"monitor", "--json", std::string(300, 'x')});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(nlohmann::json::parse(result.output)["error"]["status"], "VI_ERROR_RSRC_NFOUND");
}
