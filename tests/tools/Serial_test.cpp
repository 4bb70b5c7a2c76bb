// Serial resources: a line without a time-out, without line ends, and silent more often than not.
#include <gmock/gmock.h>

#include <chrono>
#include <functional>
#include <string>
#include <thread>

#include <poll.h>
#include <pty.h>
#include <unistd.h>

#include "support/PseudoTerminal.h"
#include "tools/TemporaryDirectory.h"
#include "tools/ToolRun.h"

using testing::HasSubstr;
using namespace std::chrono_literals;

namespace {

// The instrument's side of a pseudo-terminal, played by a thread. The terminal's side is held open,
// so that the settings can be looked at afterwards.
class SerialInstrument {
public:
    using Script = std::function<void(const SerialInstrument&)>;

    explicit SerialInstrument(Script script) : m_device(Open()), m_link(m_device, LinkPath()) {
        m_thread = std::thread([this, script = std::move(script)] { script(*this); });
    }
    ~SerialInstrument() {
        Finish();
        ::close(m_instrument);
        ::close(m_terminal);
    }
    SerialInstrument(const SerialInstrument&) = delete;
    SerialInstrument& operator=(const SerialInstrument&) = delete;

    std::string Resource() const { return m_name + "::INSTR"; }
    // What the script has stored may be looked at from here on.
    void Finish() {
        if (m_thread.joinable()) {
            m_thread.join();
        }
    }
    std::string ReadLine() const {
        std::string line;
        pollfd waited{m_instrument, POLLIN, 0};
        char byte = 0;
        while (!line.ends_with('\n') && ::poll(&waited, 1, 20000) == 1 &&
               ::read(m_instrument, &byte, 1) == 1) {
            line += byte;
        }
        return line;
    }
    void Send(const std::string& data) const {
        EXPECT_EQ(::write(m_instrument, data.data(), data.size()),
                  static_cast<ssize_t>(data.size()));
    }
    speed_t Speed() const {
        termios settings{};
        EXPECT_EQ(::tcgetattr(m_terminal, &settings), 0);
        return ::cfgetospeed(&settings);
    }

private:
    std::string Open() {
        termios raw{};
        ::cfmakeraw(&raw);
        char name[64] = {};
        EXPECT_EQ(::openpty(&m_instrument, &m_terminal, name, &raw, nullptr), 0);
        return name;
    }
    std::string LinkPath() {
        m_name = "../tmp/" + uxvisa::test::NewTerminalName();
        return "/dev/" + m_name;
    }

    int m_instrument = -1;
    int m_terminal = -1;
    std::string m_name;
    std::string m_device;
    uxvisa::test::Link m_link;
    std::thread m_thread;
};

SerialInstrument::Script Answering(const std::string& answer) {
    return [answer](const SerialInstrument& instrument) {
        instrument.ReadLine();
        instrument.Send(answer);
    };
}

} // namespace

TEST(Serial, PrintsTheAnswer) {
    std::string received;
    SerialInstrument instrument([&received](const SerialInstrument& self) {
        received = self.ReadLine();
        self.Send("ACME,42\n");
    });
    const ToolResult result = RunTool({"query", instrument.Resource(), "*IDN?"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output, "ACME,42\n");
    EXPECT_EQ(result.error, "");
    instrument.Finish();
    EXPECT_EQ(received, "*IDN?\n");
}

TEST(Serial, WaitsForAnAnswerThatComesLateAndInPieces) {
    const SerialInstrument instrument([](const SerialInstrument& self) {
        self.ReadLine();
        for (const auto* piece : {"AC", "ME,", "42\r", "\n"}) {
            std::this_thread::sleep_for(200ms);
            self.Send(piece);
        }
    });
    const ToolResult result = RunTool({"query", instrument.Resource(), "*IDN?"});
    EXPECT_EQ(result.exitCode, 0) << result.error;
    EXPECT_EQ(result.output, "ACME,42\n");
}

TEST(Serial, StopsAtTheFirstLineFeed) {
    const SerialInstrument instrument(Answering("one\ntwo\n"));
    EXPECT_EQ(RunTool({"query", instrument.Resource(), "V?"}).output, "one\n");
}

TEST(Serial, TimesOutWithAHint) {
    const SerialInstrument instrument(Answering(""));
    const ToolResult result = RunTool({"query", instrument.Resource(), "V?", "--timeout", "500"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.error, HasSubstr("VI_ERROR_TMO"));
    EXPECT_THAT(result.error, HasSubstr("hint: raise --timeout (now 500), or is the speed another "
                                        "one (--baud), or the device unplugged?"));
    EXPECT_GE(result.seconds, 0.5);
    EXPECT_LT(result.seconds, 10);
}

TEST(Serial, PrintsAPartialAnswerBeforeTheTimeOut) {
    const SerialInstrument instrument(Answering("+1.2"));
    const ToolResult result = RunTool({"query", instrument.Resource(), "V?", "--timeout", "500"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.output, "+1.2\n");
}

TEST(Serial, WithoutTerminationCharacterTakesAllUntilSilence) {
    const SerialInstrument instrument(Answering("one\ntwo"));
    const ToolResult result =
        RunTool({"query", instrument.Resource(), "V?", "--termchar", "off", "--timeout", "1000"});
    EXPECT_EQ(result.exitCode, 0) << result.error;
    EXPECT_EQ(result.output, "one\ntwo\n");
}

TEST(Serial, ReadsABlockWithLineFeedsInIt) {
    const TemporaryDirectory directory;
    const std::string data("\n\0\n1", 4);
    const SerialInstrument instrument(Answering("#14" + data + "\n"));
    const ToolResult result = RunTool(
        {"query", instrument.Resource(), "CURV?", "--block", "-o", directory.File("curve")});
    EXPECT_EQ(result.exitCode, 0) << result.error;
    EXPECT_EQ(FileContents(directory.File("curve")), data);
}

TEST(Serial, ReadsACountOverLineEndsWhenAsked) {
    const SerialInstrument instrument([](const SerialInstrument& self) { self.Send("a\nbcdef"); });
    EXPECT_EQ(RunTool({"read", instrument.Resource(), "--count", "4", "--termchar", "off"}).output,
              "a\nbc");
}

TEST(Serial, CountsWhatItWrites) {
    const SerialInstrument instrument(
        [](const SerialInstrument& self) { EXPECT_EQ(self.ReadLine(), "*RST\n"); });
    const ToolResult result = RunTool({"write", instrument.Resource(), "*RST", "--json"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.output, HasSubstr("\"bytes\":5,"));
}

TEST(Serial, SetsTheSpeed) {
    const SerialInstrument instrument(Answering("1\n"));
    EXPECT_EQ(RunTool({"query", instrument.Resource(), "V?", "--baud", "9600"}).output, "1\n");
    EXPECT_EQ(instrument.Speed(), static_cast<speed_t>(B9600));
}

TEST(Serial, RefusesASpeedThatDoesNotExist) {
    const SerialInstrument instrument([](const SerialInstrument&) {});
    const ToolResult result = RunTool({"query", instrument.Resource(), "V?", "--baud", "12345"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.error, HasSubstr("--baud: "));
    EXPECT_THAT(result.error, HasSubstr("VI_ERROR_NSUP_ATTR_STATE"));
    EXPECT_THAT(result.error, HasSubstr("hint: speeds are 50, 75,"));
}

TEST(Serial, HasNoUseForOptionsOfOtherKinds) {
    const SerialInstrument instrument([](const SerialInstrument&) {});
    const ToolResult result = RunTool({"query", instrument.Resource(), "V?", "--full-header"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.error, HasSubstr("hint: --full-header is for resources with ::BRIX"));
}
