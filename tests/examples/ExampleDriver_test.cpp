// The example driver behind the public API, on the loader's path under the names of class words.
#include <gmock/gmock.h>

#include <dlfcn.h>
#include <sys/wait.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>
#include <thread>

#include "uxvisa/visa.h"

// As docs/drivers.md has programs declare it.
class DynamicVisa {
public:
    int Initialize(const char* libraryPath);
    void Uninitialize();
    bool Initialized();
    int MissingFnCount();
};
extern DynamicVisa Visa;

using testing::HasSubstr;

namespace {

constexpr int TableSize = 105;
constexpr int ExampleHas = 7;
constexpr int MostSessions = 32;
constexpr char EcalFile[] = "ecalbridge.dll";

ViSession Manager() {
    ViSession manager = 0;
    EXPECT_EQ(viOpenDefaultRM(&manager), VI_SUCCESS);
    return manager;
}

class Session {
public:
    explicit Session(const char* resource)
        : m_status(viOpen(Manager(), resource, VI_NO_LOCK, 1000, &m_vi)) {}
    ~Session() {
        if (m_status == VI_SUCCESS) {
            EXPECT_EQ(viClose(m_vi), VI_SUCCESS);
        }
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    operator ViSession() const { return m_vi; }
    ViStatus OpenStatus() const { return m_status; }

private:
    ViSession m_vi = 0;
    ViStatus m_status;
};

ViStatus Write(ViSession vi, const std::string& text) {
    ViUInt32 count = 0;
    const ViStatus status =
        viWrite(vi, reinterpret_cast<ViConstBuf>(text.data()), text.size(), &count);
    EXPECT_EQ(count, status == VI_SUCCESS ? text.size() : 0);
    return status;
}

struct Reception {
    ViStatus status;
    std::string text;
};

Reception Read(ViSession vi, std::size_t size = 256) {
    std::string text(size, '?');
    ViUInt32 count = 4711;
    const ViStatus status = viRead(vi, reinterpret_cast<ViPByte>(text.data()), size, &count);
    EXPECT_LE(count, size);
    text.resize(count);
    return {status, text};
}

std::string Query(ViSession vi, const std::string& command) {
    EXPECT_EQ(Write(vi, command), VI_SUCCESS);
    return Read(vi).text;
}

bool IsLoaded(const char* library) {
    void* handle = dlopen(library, RTLD_LAZY | RTLD_NOLOAD);
    if (handle == nullptr) {
        return false;
    }
    dlclose(handle);
    return true;
}

struct Ending {
    int code;
    std::string told;
};

// Runs a program with what it tells on standard error.
Ending Run(const std::string& command) {
    FILE* pipe = popen((command + " 2>&1").c_str(), "r");
    EXPECT_NE(pipe, nullptr);
    std::string told;
    for (int c = std::fgetc(pipe); c != EOF; c = std::fgetc(pipe)) {
        told += static_cast<char>(c);
    }
    const int status = pclose(pipe);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, told};
}

Ending Leave(const std::string& resources) {
    return Run(UXVISA_DRIVER_LEAVER " " + resources);
}

// Whatever search path this test has, the driver has none.
Ending LeaveWithoutDrivers(const std::string& resources) {
    return Run("env -u LD_LIBRARY_PATH " UXVISA_DRIVER_LEAVER " " + resources);
}

} // namespace

TEST(ExampleDriver, AnswersWhoItIs) {
    const Session vi("TCPIP0::4711::ECAL");
    ASSERT_EQ(vi.OpenStatus(), VI_SUCCESS);
    EXPECT_EQ(Query(vi, "*IDN?\n"), "Example,Memory Source,4711,1.0\n");
}

TEST(ExampleDriver, ServesEveryInterfaceUnderItsClassWord) {
    for (const char* resource : {"USB::1::ECAL", "gpib3::1::ecal", "USOCK::1::Ecal", "tty::1::ECAL",
                                 "TCPIP::1::0::anything::ECAL"}) {
        const Session vi(resource);
        ASSERT_EQ(vi.OpenStatus(), VI_SUCCESS) << resource;
        EXPECT_EQ(Query(vi, "*IDN?\n"), "Example,Memory Source,1,1.0\n");
    }
}

TEST(ExampleDriver, ServesAnotherClassWordFromAFileOfItsOwn) {
    const Session ecal("TCPIP0::1::ECAL");
    const Session nfm("TCPIP0::2::NFM");
    ASSERT_EQ(nfm.OpenStatus(), VI_SUCCESS);
    EXPECT_EQ(Write(nfm, "CHAN 5\n"), VI_SUCCESS);
    EXPECT_EQ(Query(nfm, "CHAN?\n"), "5\n");
    EXPECT_EQ(Query(ecal, "CHAN?\n"), "1\n");
}

TEST(ExampleDriver, RefusesASerialNumberThatIsTooLong) {
    const Session vi(("TCPIP::" + std::string(40, 'x') + "::ECAL").c_str());
    EXPECT_EQ(vi.OpenStatus(), VI_ERROR_INV_RSRC_NAME);
    EXPECT_FALSE(IsLoaded(EcalFile));
}

TEST(ExampleDriver, RefusesMoreSessionsThanItHas) {
    ViSession sessions[MostSessions] = {};
    for (ViSession& vi : sessions) {
        ASSERT_EQ(viOpen(Manager(), "TCPIP::1::ECAL", 0, 0, &vi), VI_SUCCESS);
    }
    ViSession another = 0;
    EXPECT_EQ(viOpen(Manager(), "TCPIP::1::ECAL", 0, 0, &another), VI_ERROR_ALLOC);
    EXPECT_EQ(another, 0U);
    viClose(sessions[3]);
    EXPECT_EQ(viOpen(Manager(), "TCPIP::2::ECAL", 0, 0, &sessions[3]), VI_SUCCESS);
    EXPECT_EQ(Query(sessions[3], "*IDN?\n"), "Example,Memory Source,2,1.0\n");
    for (const ViSession vi : sessions) {
        EXPECT_EQ(viClose(vi), VI_SUCCESS);
    }
}

TEST(ExampleDriver, KeepsASetting) {
    const Session vi("TCPIP0::1::ECAL");
    EXPECT_EQ(Query(vi, "CHAN?\n"), "1\n");
    EXPECT_EQ(Write(vi, "CHAN 42\n"), VI_SUCCESS);
    EXPECT_EQ(Query(vi, "CHAN?\n"), "42\n");
    for (const char* ignored : {"CHAN 100\n", "CHAN 0\n", "CHAN x\n", "CHAN 7x\n", "CHAN \n"}) {
        EXPECT_EQ(Write(vi, ignored), VI_SUCCESS);
        EXPECT_EQ(Query(vi, "CHAN?\n"), "42\n") << ignored;
    }
    EXPECT_EQ(Write(vi, "*RST\n"), VI_SUCCESS);
    EXPECT_EQ(Query(vi, "CHAN?\n"), "1\n");
}

TEST(ExampleDriver, TakesACommandInPieces) {
    const Session vi("TCPIP0::1::ECAL");
    for (const char* piece : {"CHA", "N 3", "\nCHAN?", "\n"}) {
        EXPECT_EQ(Write(vi, piece), VI_SUCCESS);
    }
    EXPECT_EQ(Read(vi).text, "3\n");
    EXPECT_EQ(Write(vi, ""), VI_SUCCESS);
}

TEST(ExampleDriver, DropsACommandThatIsTooLong) {
    const Session vi("TCPIP0::1::ECAL");
    EXPECT_EQ(Query(vi, std::string(1000, 'x') + "\nCHAN?\n"), "1\n");
}

TEST(ExampleDriver, ReadsAnswerByAnswerAndInPieces) {
    const Session vi("TCPIP0::12::ECAL");
    EXPECT_EQ(Write(vi, "*IDN?\nCHAN?\n"), VI_SUCCESS);
    Reception reception = Read(vi, 7);
    EXPECT_EQ(reception.status, VI_SUCCESS_MAX_CNT);
    EXPECT_EQ(reception.text, "Example");
    reception = Read(vi);
    EXPECT_EQ(reception.status, VI_SUCCESS);
    EXPECT_EQ(reception.text, ",Memory Source,12,1.0\n");
    EXPECT_EQ(Read(vi).text, "1\n");
}

TEST(ExampleDriver, LosesAnswersThatNobodyReads) {
    const Session vi("TCPIP0::1::ECAL");
    ViUInt32 count = 0;
    viSetAttribute(vi, VI_ATTR_TMO_VALUE, VI_TMO_IMMEDIATE);
    for (int i = 0; i < 5000; ++i) {
        ASSERT_EQ(Write(vi, "CHAN?\n"), VI_SUCCESS);
    }
    while (Read(vi).status == VI_SUCCESS) {
        ++count;
    }
    EXPECT_EQ(count, 2048U);
}

TEST(ExampleDriver, TimesOutWhenThereIsNothingToRead) {
    using namespace std::chrono;
    const Session vi("TCPIP0::1::ECAL");
    EXPECT_EQ(viSetAttribute(vi, VI_ATTR_TMO_VALUE, 1050), VI_SUCCESS);
    const auto start = steady_clock::now();
    const Reception reception = Read(vi);
    EXPECT_GE(steady_clock::now() - start, milliseconds(1050));
    EXPECT_EQ(reception.status, VI_ERROR_TMO);
    EXPECT_EQ(reception.text, "");
    EXPECT_EQ(Query(vi, "CHAN?\n"), "1\n");
}

TEST(ExampleDriver, ReadsNothingAtOnce) {
    const Session vi("TCPIP0::1::ECAL");
    ViUInt32 count = 1;
    EXPECT_EQ(viRead(vi, nullptr, 0, &count), VI_SUCCESS);
    EXPECT_EQ(count, 0U);
}

TEST(ExampleDriver, NeedsNoCounts) {
    const Session vi("TCPIP0::1::ECAL");
    ViByte answer[2] = {};
    EXPECT_EQ(viWrite(vi, reinterpret_cast<ViConstBuf>("CHAN?\n"), 6, nullptr), VI_SUCCESS);
    EXPECT_EQ(viRead(vi, answer, sizeof answer, nullptr), VI_SUCCESS);
    EXPECT_EQ(answer[0], '1');
}

TEST(ExampleDriver, ClearForgetsWhatIsUnderWay) {
    const Session vi("TCPIP0::1::ECAL");
    viSetAttribute(vi, VI_ATTR_TMO_VALUE, VI_TMO_IMMEDIATE);
    EXPECT_EQ(Write(vi, "*IDN?\n*ID"), VI_SUCCESS);
    EXPECT_EQ(viClear(vi), VI_SUCCESS);
    EXPECT_EQ(Read(vi).status, VI_ERROR_TMO);
    EXPECT_EQ(Write(vi, "N?\n"), VI_SUCCESS);
    EXPECT_EQ(Read(vi).status, VI_ERROR_TMO);
}

TEST(ExampleDriver, HasTwoAttributes) {
    const Session vi("TCPIP0::1::ECAL");
    ViUInt32 timeout = 0;
    EXPECT_EQ(viGetAttribute(vi, VI_ATTR_TMO_VALUE, &timeout), VI_SUCCESS);
    EXPECT_EQ(timeout, 2000U);
    EXPECT_EQ(viSetAttribute(vi, VI_ATTR_TMO_VALUE, VI_TMO_INFINITE), VI_SUCCESS);
    EXPECT_EQ(viGetAttribute(vi, VI_ATTR_TMO_VALUE, &timeout), VI_SUCCESS);
    EXPECT_EQ(timeout, VI_TMO_INFINITE);
    std::uint32_t enabled[2] = {4711, 4711};
    EXPECT_EQ(viGetAttribute(vi, VI_ATTR_TERMCHAR_EN, enabled), VI_SUCCESS);
    EXPECT_EQ(enabled[0], 0U);
    EXPECT_EQ(viSetAttribute(vi, VI_ATTR_TERMCHAR_EN, VI_TRUE), VI_SUCCESS);
    EXPECT_EQ(viGetAttribute(vi, VI_ATTR_TERMCHAR_EN, enabled), VI_SUCCESS);
    EXPECT_EQ(enabled[0], 1U);
    EXPECT_EQ(enabled[1], 4711U);
    EXPECT_EQ(viSetAttribute(vi, VI_ATTR_TERMCHAR, '\n'), VI_ERROR_NSUP_ATTR);
    EXPECT_EQ(viGetAttribute(vi, VI_ATTR_TERMCHAR, enabled), VI_ERROR_NSUP_ATTR);
    EXPECT_EQ(viGetAttribute(vi, VI_ATTR_TMO_VALUE, nullptr), VI_ERROR_NSUP_ATTR_STATE);
}

TEST(ExampleDriver, TheManufacturerIsNotItsBusiness) {
    const Session vi("TCPIP0::1::ECAL");
    char name[16] = "";
    EXPECT_EQ(viGetAttribute(vi, VI_ATTR_RSRC_MANF_NAME, name), VI_SUCCESS);
    EXPECT_STREQ(name, "Orvane");
}

TEST(ExampleDriver, TellsTheLineEndWithTerminationOn) {
    const Session vi("TCPIP0::1::ECAL");
    viSetAttribute(vi, VI_ATTR_TERMCHAR_EN, VI_TRUE);
    EXPECT_EQ(Write(vi, "CHAN?\n"), VI_SUCCESS);
    EXPECT_EQ(Read(vi).status, VI_SUCCESS_TERM_CHAR);
}

TEST(ExampleDriver, ServesFormattedQueries) {
    const Session vi("TCPIP0::77::ECAL");
    for (const int termination : {VI_FALSE, VI_TRUE}) {
        viSetAttribute(vi, VI_ATTR_TERMCHAR_EN, static_cast<ViAttrState>(termination));
        int channel = 0;
        EXPECT_EQ(viPrintf(vi, "CHAN %d\n", 8 + termination), VI_SUCCESS);
        EXPECT_EQ(viQueryf(vi, "CHAN?\n", "%d\n", &channel), VI_SUCCESS);
        EXPECT_EQ(channel, 8 + termination);
        char name[64] = "";
        EXPECT_EQ(viQueryf(vi, "*IDN?\n", "%T", name), VI_SUCCESS);
        EXPECT_STREQ(name, "Example,Memory Source,77,1.0\n");
    }
}

TEST(ExampleDriver, SessionsShareTheSourceButNotTheAnswers) {
    const Session first("TCPIP0::1::ECAL");
    const Session second("TCPIP0::2::ECAL");
    EXPECT_EQ(Write(first, "CHAN 9\n"), VI_SUCCESS);
    EXPECT_EQ(Write(first, "*IDN?\n"), VI_SUCCESS);
    EXPECT_EQ(Write(second, "CHAN?\n"), VI_SUCCESS);
    EXPECT_EQ(Read(first).text, "Example,Memory Source,1,1.0\n");
    EXPECT_EQ(Read(second).text, "9\n");
}

TEST(ExampleDriver, SessionsWorkInSeveralThreadsWhileOneWaits) {
    const Session waiting("TCPIP0::1::ECAL");
    const Session first("TCPIP0::2::ECAL");
    const Session second("TCPIP0::3::ECAL");
    viSetAttribute(waiting, VI_ATTR_TMO_VALUE, 200);
    const auto ask = [](ViSession vi, const std::string& answer) {
        for (int i = 0; i < 500; ++i) {
            EXPECT_EQ(Query(vi, "CHAN 7\n*IDN?\n"), answer);
        }
    };
    std::thread wait([&] { EXPECT_EQ(Read(waiting).status, VI_ERROR_TMO); });
    std::thread one([&] { ask(first, "Example,Memory Source,2,1.0\n"); });
    std::thread two([&] { ask(second, "Example,Memory Source,3,1.0\n"); });
    wait.join();
    one.join();
    two.join();
}

TEST(ExampleDriver, IsLoadedFromTheFirstOpenToTheLastClose) {
    EXPECT_FALSE(IsLoaded(EcalFile));
    {
        const Session first("TCPIP0::1::ECAL");
        {
            const Session second("TCPIP0::2::ECAL");
            EXPECT_EQ(Write(second, "CHAN 6\n"), VI_SUCCESS);
        }
        EXPECT_TRUE(IsLoaded(EcalFile));
        EXPECT_EQ(Query(first, "CHAN?\n"), "6\n");
    }
    EXPECT_FALSE(IsLoaded(EcalFile));
    const Session again("TCPIP0::1::ECAL");
    EXPECT_EQ(Query(again, "CHAN?\n"), "1\n");
}

TEST(ExampleDriver, AClosedSessionIsGone) {
    ViSession vi = 0;
    ASSERT_EQ(viOpen(Manager(), "TCPIP0::1::ECAL", 0, 0, &vi), VI_SUCCESS);
    EXPECT_EQ(viClose(vi), VI_SUCCESS);
    EXPECT_EQ(viClose(vi), VI_ERROR_INV_OBJECT);
    EXPECT_EQ(viClear(vi), VI_ERROR_INV_OBJECT);
}

TEST(ExampleDriver, BindsForVxi11) {
    EXPECT_FALSE(Visa.Initialized());
    EXPECT_EQ(Visa.MissingFnCount(), -1);
    EXPECT_EQ(Visa.Initialize(""), -101);
    EXPECT_EQ(Visa.Initialize(EcalFile), TableSize - ExampleHas);
    EXPECT_TRUE(Visa.Initialized());
    EXPECT_EQ(Visa.MissingFnCount(), TableSize - ExampleHas);
    Visa.Uninitialize();
    EXPECT_FALSE(Visa.Initialized());
    EXPECT_FALSE(IsLoaded(EcalFile));
}

TEST(ExampleDriver, IsClosedWhenTheProgramLeavesSessionsOpen) {
    const Ending ending = Leave("TCPIP::1::ECAL TCPIP::2::NFM TCPIP::3::ECAL");
    EXPECT_EQ(ending.code, 0);
    EXPECT_EQ(ending.told, "status 00000000\nstatus 00000000\nstatus 00000000\nleaving\n");
}

TEST(TellingDriver, HearsOfTheEndOfAProgramThatLeavesASessionOpen) {
    const Ending ending = Leave("TCPIP0::host::TRM");
    EXPECT_EQ(ending.code, 0);
    EXPECT_EQ(ending.told, "uxOpen 0 TCPIP0::host::TRM 0 1234\nstatus 00000000\nleaving\n"
                           "uxClose 7\nunloaded\n");
}

TEST(TellingDriver, APositiveStatusFailsTheOpenAndComesBack) {
    ViSession vi = 4711;
    EXPECT_EQ(viOpen(Manager(), "TCPIP0::warm::TRM", 0, 0, &vi), VI_WARN_CONFIG_NLOADED);
    EXPECT_EQ(vi, 4711U);
    EXPECT_FALSE(IsLoaded("trmbridge.dll"));
}

TEST(TellingDriver, ClosesWhatAPositiveStatusOpened) {
    const Ending ending = Leave("TCPIP0::warm::TRM");
    EXPECT_EQ(ending.told, "uxOpen 0 TCPIP0::warm::TRM 0 1234\nuxClose 7\nunloaded\n"
                           "status 3FFF0077\nleaving\n");
}

TEST(TellingDriver, ClosesZeroAfterAFailedOpen) {
    const Ending ending = Leave("TCPIP0::cold::TRM");
    EXPECT_EQ(ending.told, "uxOpen 0 TCPIP0::cold::TRM 0 1234\nuxClose 0\nunloaded\n"
                           "status BFFF0072\nleaving\n");
}

TEST(TellingDriver, WhatItLacksIsNotFound) {
    const Session vi("TCPIP0::host::TRM");
    ASSERT_EQ(vi.OpenStatus(), VI_SUCCESS);
    ViUInt32 value = 0;
    EXPECT_EQ(Write(vi, "*IDN?\n"), VI_ERROR_LIBRARY_NFOUND);
    EXPECT_EQ(viClear(vi), VI_ERROR_LIBRARY_NFOUND);
    EXPECT_EQ(viSetAttribute(vi, VI_ATTR_TMO_VALUE, 1), VI_ERROR_LIBRARY_NFOUND);
    EXPECT_EQ(viGetAttribute(vi, VI_ATTR_TMO_VALUE, &value), VI_ERROR_LIBRARY_NFOUND);
}

TEST(AbsentDriver, IsNotFoundAndTold) {
    const struct {
        const char* word;
        const char* file;
    } rows[] = {{"ECAL", EcalFile},
                {"TRM", "trmbridge.dll"},
                {"QUILL", "quillbridge.dll"},
                {"SAPROC", "libbridge_saproc.so"}};
    for (const auto& row : rows) {
        const Ending ending = LeaveWithoutDrivers(std::string("TCPIP0::host::") + row.word);
        EXPECT_EQ(ending.code, 0);
        EXPECT_THAT(ending.told, HasSubstr(std::string(row.file) + ": "));
        EXPECT_THAT(ending.told, HasSubstr("\nstatus BFFF009E\nleaving\n"));
    }
}

TEST(AbsentDriver, IsNotFoundInSilenceWhereItsFileIsLookedForFirst) {
    for (const char* word : {"NFM", "GNM"}) {
        const Ending ending = LeaveWithoutDrivers(std::string("TCPIP0::host::") + word);
        EXPECT_EQ(ending.told, "status BFFF009E\nleaving\n") << word;
    }
}

TEST(AbsentDriver, ReservedWordsHaveNoneOnPurpose) {
    for (const char* word : {"VNA", "SA", "NFA", "GEN"}) {
        const Ending ending = Leave(std::string("TCPIP0::host::") + word);
        EXPECT_EQ(ending.told, "status BFFF009E\nleaving\n") << word;
    }
}
