#include "transports/SessionASRL.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/PseudoTerminal.h"
#include "transports/SessionIO.h"

using namespace std::chrono_literals;
using namespace uxvisa::test;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;

namespace {

constexpr ViUInt32 Untouched = 0xC0C0C0C0;
const Transfer Lost{VI_ERROR_CONN_LOST, Untouched};

class SessionASRL : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(Open(session, port.Resource()), VI_SUCCESS); }

    unsigned int Timeout() {
        unsigned int tenths = 0xFFFFFFFF;
        EXPECT_EQ(session.GetAttribute(VI_ATTR_TMO_VALUE, &tenths), VI_SUCCESS);
        return tenths;
    }

    PseudoTerminal port;
    CSessionASRL session;
};

bool HasFlags(tcflag_t flags, tcflag_t wanted) {
    return (flags & wanted) == wanted;
}

bool HasNone(tcflag_t flags, unsigned int unwanted) {
    return (flags & unwanted) == 0;
}

std::string SaidWhileOpening(const std::string& resource, long expected) {
    CSessionASRL session;
    CaptureStdout();
    EXPECT_EQ(Open(session, resource), expected);
    return GetCapturedStdout();
}

// How often this process has the device open.
int DescriptorsOf(const std::string& device) {
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        count += std::filesystem::read_symlink(entry.path(), gone) == device ? 1 : 0;
    }
    return count;
}

// Puts a file in the place of standard input and takes it away again.
class StandardInput {
public:
    // -1 closes it.
    explicit StandardInput(int fd) : m_saved(fcntl(0, F_DUPFD_CLOEXEC, 10)) {
        fd == -1 ? close(0) : dup2(fd, 0);
    }
    ~StandardInput() { m_saved.Get() == -1 ? close(0) : dup2(m_saved.Get(), 0); }
    StandardInput(const StandardInput&) = delete;
    StandardInput& operator=(const StandardInput&) = delete;

private:
    Descriptor m_saved;
};

// The number that the next file to be opened gets.
int NextDescriptor() {
    return Descriptor(open("/dev/null", O_RDONLY | O_CLOEXEC)).Get();
}

bool IsOpen(int fd) {
    return fcntl(fd, F_GETFD) != -1;
}

} // namespace

TEST_F(SessionASRL, WritesAndReads) {
    EXPECT_EQ(Write(session, "*IDN?\n").status, VI_SUCCESS);
    EXPECT_EQ(port.Receive(6), "*IDN?\n");
    port.Send("Orvane\nrest");
    EXPECT_EQ(Read(session, 100), Received("Orvane\nrest"));
    EXPECT_EQ(Write(session, "next").status, VI_SUCCESS);
    EXPECT_EQ(port.Receive(4), "next"); // nothing was echoed
}

TEST_F(SessionASRL, EveryByteValuePassesBothWays) {
    std::string bytes;
    for (int value = 0; value < 256; ++value) {
        bytes.push_back(static_cast<char>(value));
    }
    EXPECT_EQ(Write(session, bytes).status, VI_SUCCESS);
    EXPECT_EQ(port.Receive(256), bytes);
    port.Send(bytes);
    EXPECT_EQ(Read(session, 300), Received(bytes));
}

TEST_F(SessionASRL, WhatDoesNotFitStaysForTheNextRead) {
    port.Send("abcdef");
    EXPECT_EQ(Read(session, 4), Received("abcd"));
    EXPECT_EQ(Read(session, 4), Received("ef"));
}

TEST_F(SessionASRL, ANulFollowsTheDataAlsoBehindAFullBufferOnPurpose) {
    port.Send("abcdef");
    unsigned char buffer[6];
    for (const unsigned long count : {4UL, 5UL}) {
        std::memset(buffer, 0xA5, sizeof buffer);
        ASSERT_EQ(session.Read(buffer, count, nullptr), VI_SUCCESS);
        const std::size_t size = count == 4 ? 4 : 2;
        EXPECT_EQ(std::memcmp(buffer, count == 4 ? "abcd" : "ef", size + 1), 0);
        EXPECT_EQ(buffer[size + 1], 0xA5);
    }
}

TEST_F(SessionASRL, ASilentLineIsALostConnectionAtOnceOnPurpose) {
    unsigned char buffer[] = {1, 2, 3};
    unsigned long count = Untouched;
    const Stopwatch watch;
    EXPECT_EQ(session.Read(buffer, 2, &count), VI_ERROR_CONN_LOST);
    EXPECT_GE(watch.Elapsed(), 5ms);
    EXPECT_LT(watch.Elapsed(), 5s);
    EXPECT_EQ(count, Untouched);
    EXPECT_EQ(buffer[0], 1);
    EXPECT_TRUE(session.GetConnected());
    port.Send("late");
    EXPECT_EQ(Read(session, 10), Received("late"));
}

TEST_F(SessionASRL, AReadTakesWhatIsThereAndLooksForNoEndOnPurpose) {
    port.Send("one\ntw");
    EXPECT_EQ(Read(session, 100), Received("one\ntw"));
    EXPECT_EQ(session.SetAttribute(VI_ATTR_TERMCHAR_EN, VI_TRUE), VI_ERROR_NSUP_ATTR);
}

TEST_F(SessionASRL, ReadingNothingIsALostConnection) {
    port.Send("x");
    EXPECT_EQ(Read(session, 0), Lost);
    EXPECT_EQ(session.Read(nullptr, 0, nullptr), VI_ERROR_CONN_LOST);
    EXPECT_EQ(Read(session, 1), Received("x"));
}

TEST_F(SessionASRL, AWriteNeverStoresItsCountOnPurpose) {
    const Stopwatch watch;
    EXPECT_EQ(Write(session, "abc"), Sent(Untouched));
    EXPECT_GE(watch.Elapsed(), 1ms);
    unsigned char byte = 'd';
    EXPECT_EQ(session.Write(&byte, 1, nullptr), VI_SUCCESS);
    EXPECT_EQ(Write(session, ""), Sent(Untouched));
    EXPECT_EQ(port.Receive(4), "abcd");
    port.HangUp();
    EXPECT_EQ(Write(session, "abc"), Lost);
}

TEST_F(SessionASRL, AWriteThatTheLineDoesNotTakeWholeIsALostConnection) {
    EXPECT_EQ(Write(session, std::string(1UL << 20, 'x')), Lost);
    EXPECT_TRUE(session.GetConnected());
    EXPECT_EQ(port.Receive(10), "xxxxxxxxxx");
}

TEST_F(SessionASRL, AnUnpluggedPortIsALostConnection) {
    port.HangUp();
    EXPECT_EQ(Read(session, 10), Lost);
    EXPECT_EQ(Write(session, "x"), Lost);
    EXPECT_EQ(session.Flush(0), VI_ERROR_CONN_LOST);
    EXPECT_FALSE(session.GetConnected());
    EXPECT_EQ(session.Clear(), VI_ERROR_CONN_LOST);
}

TEST_F(SessionASRL, FlushDiscardsWhatArrivedWhateverTheMaskOnPurpose) {
    for (const unsigned short mask : std::initializer_list<unsigned short>{0, 1, 0xFFFF}) {
        port.Send("old");
        EXPECT_EQ(port.Waiting(), 3);
        ASSERT_EQ(session.Flush(mask), VI_SUCCESS);
        EXPECT_EQ(port.Waiting(), 0) << mask;
    }
    port.Send("new");
    EXPECT_EQ(Read(session, 10), Received("new"));
}

TEST_F(SessionASRL, FlushPutsTheSessionsSettingsBack) {
    ASSERT_EQ(session.SetAttribute(VI_ATTR_ASRL_BAUD, 9600), VI_SUCCESS);
    termios others = port.Settings();
    others.c_lflag |= ECHO | ICANON;
    others.c_cc[VTIME] = 9;
    cfsetispeed(&others, B300);
    cfsetospeed(&others, B300);
    port.Apply(others);
    EXPECT_EQ(session.Flush(0), VI_SUCCESS);
    EXPECT_TRUE(HasNone(port.Settings().c_lflag, ECHO | ICANON));
    EXPECT_EQ(port.Settings().c_cc[VTIME], 1);
    const termios settings = port.Settings();
    EXPECT_EQ(cfgetospeed(&settings), B9600);
}

TEST_F(SessionASRL, ClearingOpensThePortAnew) {
    ASSERT_EQ(session.SetAttribute(VI_ATTR_ASRL_BAUD, 9600), VI_SUCCESS);
    ASSERT_EQ(session.SetAttribute(VI_ATTR_TMO_VALUE, 1), VI_SUCCESS);
    EXPECT_EQ(session.Clear(), VI_SUCCESS);
    EXPECT_EQ(Timeout(), 1U);
    const termios settings = port.Settings();
    EXPECT_EQ(cfgetospeed(&settings), B115200);
    EXPECT_EQ(DescriptorsOf(port.Device()), 2);
    port.Send("again");
    EXPECT_EQ(Read(session, 10), Received("again"));
}

TEST_F(SessionASRL, OpeningAgainLeavesTheFirstPort) {
    const PseudoTerminal other;
    EXPECT_EQ(Open(session, other.Resource()), VI_SUCCESS);
    EXPECT_EQ(DescriptorsOf(port.Device()), 1);
    EXPECT_EQ(Write(session, "x").status, VI_SUCCESS);
    EXPECT_EQ(other.Receive(1), "x");
    EXPECT_TRUE(port.IsSilent());
    EXPECT_EQ(Open(session, NewTerminalName() + "::INSTR"), VI_ERROR_RSRC_NFOUND);
    EXPECT_FALSE(session.GetConnected());
    EXPECT_EQ(DescriptorsOf(other.Device()), 1);
}

TEST_F(SessionASRL, DescriptorsAreClosedByClosingByDestructionAndByExec) {
    EXPECT_EQ(DescriptorsOf(port.Device()), 2);
    EXPECT_EQ(session.CloseConnection(), VI_SUCCESS);
    EXPECT_EQ(DescriptorsOf(port.Device()), 1);
    EXPECT_FALSE(session.GetConnected());
    EXPECT_EQ(session.CloseConnection(), VI_SUCCESS);
    {
        CSessionASRL another;
        const int fd = NextDescriptor();
        ASSERT_EQ(Open(another, port.Resource()), VI_SUCCESS);
        EXPECT_EQ(DescriptorsOf(port.Device()), 2);
        EXPECT_EQ(fcntl(fd, F_GETFD), FD_CLOEXEC);
    }
    EXPECT_EQ(DescriptorsOf(port.Device()), 1);
}

TEST_F(SessionASRL, TheTimeOutReadsOneAndTwentySixAfterAnySetOnPurpose) {
    EXPECT_EQ(Timeout(), 1U);
    for (const unsigned long value : {5000UL, 0UL, 0xFFFFFFFFUL}) {
        EXPECT_EQ(session.SetAttribute(VI_ATTR_TMO_VALUE, value), VI_SUCCESS);
        EXPECT_EQ(Timeout(), 26U);
        EXPECT_EQ(port.Settings().c_cc[VTIME], 26);
    }
    EXPECT_EQ(session.CloseConnection(), VI_SUCCESS);
    EXPECT_EQ(Timeout(), 26U);
}

TEST_F(SessionASRL, TheTimeOutIsStoredInFourBytes) {
    ViUInt32 value = 0x1111111122222222;
    EXPECT_EQ(session.GetAttribute(VI_ATTR_TMO_VALUE, &value), VI_SUCCESS);
    EXPECT_EQ(value, 0x1111111100000001UL);
    EXPECT_EQ(session.GetAttribute(VI_ATTR_TMO_VALUE, nullptr), VI_ERROR_NSUP_ATTR_STATE);
}

TEST_F(SessionASRL, AnyAttributeCanBeReadOnPurpose) {
    for (const unsigned long attribute : {0UL, VI_ATTR_ASRL_BAUD, VI_ATTR_TERMCHAR_EN,
                                          VI_ATTR_INTF_TYPE, VI_ATTR_RSRC_NAME, 0xFFFFFFFFUL}) {
        ViUInt32 value = Untouched;
        EXPECT_EQ(session.GetAttribute(attribute, &value), VI_SUCCESS) << attribute;
        EXPECT_EQ(value, Untouched) << attribute;
        EXPECT_EQ(session.GetAttribute(attribute, nullptr), VI_SUCCESS) << attribute;
    }
}

TEST_F(SessionASRL, TakesTheSpeedsThatTerminalsHave) {
    const std::pair<unsigned long, speed_t> speeds[] = {
        {50, B50},       {75, B75},     {110, B110},      {134, B134},     {150, B150},
        {200, B200},     {300, B300},   {600, B600},      {1200, B1200},   {1800, B1800},
        {2400, B2400},   {4800, B4800}, {9600, B9600},    {19200, B19200}, {38400, B38400},
        {57600, B57600}, {0, B0},       {115200, B115200}};
    for (const auto& [value, speed] : speeds) {
        EXPECT_EQ(session.SetAttribute(VI_ATTR_ASRL_BAUD, value), VI_SUCCESS);
        const termios settings = port.Settings();
        EXPECT_EQ(cfgetospeed(&settings), speed) << value;
        EXPECT_EQ(cfgetispeed(&settings), speed) << value;
    }
}

TEST_F(SessionASRL, RefusesOtherSpeedsAndKeepsItsOwn) {
    for (const unsigned long value : {1UL, 14400UL, 115201UL, 230400UL, 0x100002580UL}) {
        EXPECT_EQ(session.SetAttribute(VI_ATTR_ASRL_BAUD, value), VI_ERROR_NSUP_ATTR_STATE);
        const termios settings = port.Settings();
        EXPECT_EQ(cfgetospeed(&settings), B115200) << value;
    }
}

TEST_F(SessionASRL, DataBitsSucceedAndChangeNothingOnPurpose) {
    termios before = port.Settings();
    for (const unsigned long value : {5UL, 6UL, 7UL, 8UL}) {
        EXPECT_EQ(session.SetAttribute(VI_ATTR_ASRL_DATA_BITS, value), VI_SUCCESS);
        EXPECT_EQ(port.Settings().c_cflag, before.c_cflag);
    }
    for (const unsigned long value : {0UL, 4UL, 9UL, 0x100000007UL}) {
        EXPECT_EQ(session.SetAttribute(VI_ATTR_ASRL_DATA_BITS, value), VI_ERROR_NSUP_ATTR_STATE);
        EXPECT_EQ(port.Settings().c_cflag, before.c_cflag);
    }
    EXPECT_TRUE(session.GetConnected());
}

TEST_F(SessionASRL, StopBitsAreOneOrTwo) {
    const auto afterSetting = [&](unsigned long value) {
        EXPECT_EQ(session.SetAttribute(VI_ATTR_ASRL_STOP_BITS, value), VI_SUCCESS);
        return (port.Settings().c_cflag & CSTOPB) != 0;
    };
    EXPECT_TRUE(afterSetting(VI_ASRL_STOP_TWO));
    EXPECT_TRUE(afterSetting(12));
    EXPECT_FALSE(afterSetting(VI_ASRL_STOP_ONE));
    EXPECT_FALSE(afterSetting(0));
    EXPECT_TRUE(afterSetting(VI_ASRL_STOP_TWO));
    EXPECT_FALSE(afterSetting(VI_ASRL_STOP_ONE5));
}

TEST_F(SessionASRL, FlowControlCharactersBecomeTheirIdentifiersOnPurpose) {
    EXPECT_EQ(session.SetAttribute(VI_ATTR_ASRL_XON_CHAR, 0x11), VI_SUCCESS);
    EXPECT_EQ(session.SetAttribute(VI_ATTR_ASRL_XOFF_CHAR, 0x13), VI_SUCCESS);
    EXPECT_EQ(port.Settings().c_cc[VSTART], 0xC1);
    EXPECT_EQ(port.Settings().c_cc[VSTOP], 0xC2);
}

TEST_F(SessionASRL, RefusesAttributesItDoesNotKnow) {
    for (const unsigned long attribute :
         {0UL, VI_ATTR_TERMCHAR, VI_ATTR_TERMCHAR_EN, VI_ATTR_ASRL_FLOW_CNTRL, VI_ATTR_ASRL_END_IN,
          VI_ATTR_TMO_VALUE + 0x100000000UL}) {
        EXPECT_EQ(session.SetAttribute(attribute, 1), VI_ERROR_NSUP_ATTR) << attribute;
    }
}

TEST_F(SessionASRL, AttributesStartFromWhatTheLineHasNow) {
    termios others = port.Settings();
    others.c_iflag |= IXOFF;
    port.Apply(others);
    ASSERT_EQ(session.SetAttribute(VI_ATTR_ASRL_BAUD, 9600), VI_SUCCESS);
    EXPECT_TRUE(HasFlags(port.Settings().c_iflag, IXOFF));
    others.c_iflag &= ~static_cast<tcflag_t>(IXOFF);
    port.Apply(others);
    EXPECT_EQ(session.Flush(0), VI_SUCCESS);
    EXPECT_TRUE(HasFlags(port.Settings().c_iflag, IXOFF));
}

TEST_F(SessionASRL, ALineThatIsGoneTakesAttributesWithSuccessOnPurpose) {
    port.HangUp();
    EXPECT_EQ(session.SetAttribute(VI_ATTR_TMO_VALUE, 1), VI_SUCCESS);
    EXPECT_EQ(Timeout(), 26U);
    EXPECT_FALSE(session.GetConnected());
    EXPECT_EQ(Write(session, "x"), Lost);
}

TEST_F(SessionASRL, ALineThatIsGoneRefusesDataBitsAsNotFound) {
    port.HangUp();
    EXPECT_EQ(session.SetAttribute(VI_ATTR_ASRL_DATA_BITS, 9), VI_ERROR_RSRC_NFOUND);
    EXPECT_FALSE(session.GetConnected());
}

TEST_F(SessionASRL, SetsWhatReadsOfATerminalWaitFor) {
    session.set_mincount(port.Terminal(), 0);
    EXPECT_EQ(port.Settings().c_cc[VMIN], 0);
    EXPECT_EQ(port.Settings().c_cc[VTIME], 5);
    for (const int block : {1, 2, -1}) {
        session.set_mincount(port.Terminal(), block);
        EXPECT_EQ(port.Settings().c_cc[VMIN], 1);
        EXPECT_EQ(port.Settings().c_cc[VTIME], 5);
    }
    CaptureStdout();
    session.set_mincount(-1, 1);
    EXPECT_EQ(GetCapturedStdout(), "Error tcgetattr: Bad file descriptor\n");
}

TEST(SessionASRLOpening, MakesTheLineRaw) {
    const PseudoTerminal port;
    termios settings = port.Settings();
    settings.c_iflag |=
        IGNBRK | BRKINT | PARMRK | ISTRIP | INLCR | IGNCR | ICRNL | IXON | IXOFF | INPCK;
    settings.c_oflag |= OPOST | ONLCR;
    settings.c_lflag |= ECHO | ECHONL | ICANON | ISIG | IEXTEN | TOSTOP;
    settings.c_cflag |= CSTOPB | CRTSCTS | HUPCL;
    settings.c_cflag &= ~static_cast<tcflag_t>(CLOCAL);
    settings.c_cc[VMIN] = 7;
    settings.c_cc[VTIME] = 8;
    cfsetispeed(&settings, B300);
    cfsetospeed(&settings, B300);
    port.Apply(settings);
    CSessionASRL session;
    ASSERT_EQ(Open(session, port.Resource()), VI_SUCCESS);
    const termios raw = port.Settings();
    EXPECT_TRUE(
        HasNone(raw.c_iflag, IGNBRK | BRKINT | PARMRK | ISTRIP | INLCR | IGNCR | ICRNL | IXON));
    EXPECT_TRUE(HasNone(raw.c_oflag, OPOST));
    EXPECT_TRUE(HasNone(raw.c_lflag, ECHO | ECHONL | ICANON | ISIG | IEXTEN));
    EXPECT_TRUE(HasNone(raw.c_cflag, CSTOPB | PARENB | CRTSCTS));
    EXPECT_TRUE(HasFlags(raw.c_cflag, CS8 | CREAD | CLOCAL));
    EXPECT_EQ(raw.c_cc[VMIN], 1);
    EXPECT_EQ(raw.c_cc[VTIME], 1);
    EXPECT_EQ(cfgetispeed(&raw), B115200);
    EXPECT_EQ(cfgetospeed(&raw), B115200);
    // What is not the session's business stays.
    EXPECT_TRUE(HasFlags(raw.c_iflag, IXOFF | INPCK));
    EXPECT_TRUE(HasFlags(raw.c_oflag, ONLCR));
    EXPECT_TRUE(HasFlags(raw.c_lflag, TOSTOP));
    EXPECT_TRUE(HasFlags(raw.c_cflag, HUPCL));
}

TEST(SessionASRLOpening, TheClassWordMakesNoDifference) {
    const PseudoTerminal port;
    CSessionASRL session;
    const std::string name = port.Resource().substr(0, port.Resource().find("::"));
    for (const char* rest : {"", "::INSTR", "::5::other::RAW", "::"}) {
        EXPECT_EQ(Open(session, name + rest), VI_SUCCESS) << rest;
    }
}

TEST(SessionASRLOpening, WhatCannotBeOpenedIsNotFoundAndNothingIsSaid) {
    for (const char* resource :
         {"ttyUxVisaAbsent::INSTR", "", "::INSTR", "::", "shm::INSTR", "TTYNULL/x::INSTR"}) {
        EXPECT_EQ(SaidWhileOpening(resource, VI_ERROR_RSRC_NFOUND), "") << resource;
    }
    EXPECT_EQ(SaidWhileOpening("tty" + std::string(100000, 'x'), VI_ERROR_RSRC_NFOUND), "");
    CSessionASRL session;
    EXPECT_EQ(session.OpenConnection(nullptr, 0, 0), VI_ERROR_RSRC_NFOUND);
    EXPECT_FALSE(session.GetConnected());
    EXPECT_EQ(session.Clear(), VI_ERROR_CONN_LOST);
}

TEST(SessionASRLOpening, ADeviceThatIsNoTerminalIsABareMinusOneOnPurpose) {
    const std::string name = NewTerminalName();
    const Link null("/dev/null", "/tmp/" + name);
    EXPECT_EQ(SaidWhileOpening("../tmp/" + name + "::INSTR", -1),
              "Error from tcgetattr: Inappropriate ioctl for device\n");
}

// The descriptor goes with the session, or with the next opening.
TEST(SessionASRLOpening, ADeviceThatIsNoTerminalStaysOpenUntilTheSessionEndsOnPurpose) {
    const std::string name = NewTerminalName();
    const std::string file = "/tmp/" + name + ".file";
    std::ofstream(file) << "text";
    const Link link(file, "/tmp/" + name);
    {
        CSessionASRL session;
        CaptureStdout();
        EXPECT_EQ(Open(session, "../tmp/" + name), -1);
        GetCapturedStdout();
        EXPECT_TRUE(session.GetConnected());
        EXPECT_EQ(DescriptorsOf(file), 1);
        EXPECT_EQ(Open(session, "ttyUxVisaAbsent"), VI_ERROR_RSRC_NFOUND);
        EXPECT_EQ(DescriptorsOf(file), 0);
        CaptureStdout();
        EXPECT_EQ(Open(session, "../tmp/" + name), -1);
        GetCapturedStdout();
    }
    EXPECT_EQ(DescriptorsOf(file), 0);
    unlink(file.c_str());
}

TEST(SessionASRLOpening, SaysItAtOnce) {
    const std::string name = NewTerminalName();
    const Link null("/dev/null", "/tmp/" + name);
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    const Descriptor reader(ends[0]);
    Descriptor writer(ends[1]);
    std::fflush(stdout);
    const Descriptor saved(fcntl(1, F_DUPFD_CLOEXEC, 10));
    dup2(writer.Get(), 1);
    CSessionASRL session;
    const long status = Open(session, "../tmp/" + name);
    dup2(saved.Get(), 1);
    writer.Close();
    EXPECT_EQ(status, -1);
    char said[100] = {};
    EXPECT_GT(read(reader.Get(), said, sizeof said - 1), 0);
    EXPECT_EQ(std::string(said).substr(0, 20), "Error from tcgetattr");
}

TEST(SessionASRLOpening, TheLineDoesNotBecomeTheProgramsTerminal) {
    const PseudoTerminal port;
    const pid_t child = fork();
    ASSERT_NE(child, -1);
    if (child == 0) {
        setsid();
        CSessionASRL session;
        if (Open(session, port.Resource()) != VI_SUCCESS) {
            _exit(2);
        }
        _exit(open("/dev/tty", O_RDWR | O_CLOEXEC) == -1 ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST(SessionASRLStandardInput, IsNeverTheLineOnPurpose) {
    const PseudoTerminal port;
    const StandardInput none(-1);
    CSessionASRL session;
    ASSERT_EQ(Open(session, port.Resource()), VI_SUCCESS);
    EXPECT_FALSE(IsOpen(0));
    EXPECT_TRUE(session.GetConnected());
    EXPECT_EQ(Write(session, "x").status, VI_SUCCESS);
    EXPECT_EQ(port.Receive(1), "x");
    EXPECT_EQ(DescriptorsOf(port.Device()), 2);
    EXPECT_EQ(session.Clear(), VI_SUCCESS);
    EXPECT_FALSE(IsOpen(0));
}

TEST(SessionASRLStandardInput, IsNeverTouchedByAClosedSession) {
    PseudoTerminal terminal;
    termios before = terminal.Settings();
    before.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    terminal.Apply(before);
    terminal.Send("typed");
    const StandardInput input(terminal.Terminal());
    CSessionASRL session;
    EXPECT_FALSE(session.GetConnected());
    EXPECT_EQ(Read(session, 10), Lost);
    EXPECT_EQ(Write(session, "x"), Lost);
    EXPECT_EQ(Write(session, ""), Lost);
    EXPECT_EQ(session.Flush(0), VI_ERROR_CONN_LOST);
    EXPECT_EQ(session.SetAttribute(VI_ATTR_ASRL_BAUD, 300), VI_SUCCESS);
    EXPECT_EQ(session.SetAttribute(VI_ATTR_TMO_VALUE, 300), VI_SUCCESS);
    EXPECT_EQ(session.SetAttribute(VI_ATTR_ASRL_DATA_BITS, 9), VI_ERROR_RSRC_NFOUND);
    EXPECT_EQ(session.CloseConnection(), VI_SUCCESS);
    EXPECT_TRUE(terminal.IsSilent());
    const termios after = terminal.Settings();
    EXPECT_EQ(cfgetospeed(&after), cfgetospeed(&before));
    EXPECT_EQ(after.c_cc[VTIME], before.c_cc[VTIME]);
    char typed[10] = {};
    EXPECT_EQ(read(0, typed, sizeof typed), 5);
    EXPECT_STREQ(typed, "typed");
}
