#include "monitor/SessionDebug.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <thread>

#include "monitor/BlockName.h"
#include "monitor/PeekedBlock.h"
#include "monitor/ProbeSession.h"
#include "monitor/SessionHook.h"
#include "transports/SessionIO.h"

using namespace std::chrono_literals;
using namespace uxvisa::test;

namespace {

const Transfer Busy{VI_ERROR_RSRC_BUSY, 0};
const Transfer Turned{VI_ERROR_TMO, 0};

class SessionDebug : public ::testing::Test {
protected:
    void OpenBoth() {
        ASSERT_EQ(Open(hook, name.Get()), VI_SUCCESS);
        ASSERT_EQ(Open(monitor, name.Watched()), VI_SUCCESS);
        peeked.emplace(name.Get());
    }
    PeekedBlock& Block() { return *peeked; }
    // The program gets `answer`.
    void Answer(const std::string& answer, long status = VI_SUCCESS) {
        script.input = answer;
        script.status = status;
        Read(hook, answer.size() + 1);
        script.status = VI_SUCCESS;
    }

    BlockName name;
    ProbeSession::Script script;
    CSessionHook hook{new ProbeSession(script)};
    CSessionDebug monitor;
    std::optional<PeekedBlock> peeked;
};

unsigned int Direction(CSessionDebug& monitor) {
    unsigned int values[2] = {9, 0xA5A5A5A5};
    EXPECT_EQ(monitor.GetAttribute(0x3FFF00E8, values), VI_SUCCESS);
    EXPECT_EQ(values[1], 0xA5A5A5A5) << "32 bits are stored";
    return values[0];
}

} // namespace

TEST_F(SessionDebug, SeesACommandThenTheTurnThenTheReply) {
    OpenBoth();
    EXPECT_EQ(Write(hook, "*IDN?\n"), Sent(6));
    EXPECT_EQ(Read(monitor, 100), Received("*IDN?\n"));
    Answer("Orvane\n", VI_SUCCESS_TERM_CHAR);
    EXPECT_EQ(Read(monitor, 100), Turned);
    EXPECT_EQ(Direction(monitor), 0U);
    EXPECT_EQ(Read(monitor, 100), Received("Orvane\n", VI_SUCCESS_TERM_CHAR));
    EXPECT_EQ(Read(monitor, 100), Busy);
}

TEST_F(SessionDebug, TheTurnIsToldWithoutTheAttributeBeingRead) {
    OpenBoth();
    Write(hook, "a");
    EXPECT_EQ(Read(monitor, 100), Received("a"));
    Answer("b");
    EXPECT_EQ(Read(monitor, 100), Turned);
    EXPECT_EQ(Read(monitor, 100), Received("b"));
    Write(hook, "c");
    EXPECT_EQ(Read(monitor, 100), Turned);
    EXPECT_EQ(Read(monitor, 100), Received("c"));
    Write(hook, "d");
    EXPECT_EQ(Read(monitor, 100), Received("d"));
}

TEST_F(SessionDebug, WhoReadTheAttributeIsNotToldTheNextTurn) {
    OpenBoth();
    Write(hook, "a");
    EXPECT_EQ(Read(monitor, 100), Received("a"));
    Answer("b");
    EXPECT_EQ(Direction(monitor), 1U) << "what was seen last";
    EXPECT_EQ(Read(monitor, 100), Received("b"));
    EXPECT_EQ(Direction(monitor), 0U);
}

TEST_F(SessionDebug, SilenceIsBusyAfterAHundredMillisecondsOnPurpose) {
    OpenBoth();
    const Stopwatch watch;
    EXPECT_EQ(Read(monitor, 100), Busy);
    EXPECT_GE(watch.Elapsed(), 95ms);
    EXPECT_LT(watch.Elapsed(), 20s);
}

TEST_F(SessionDebug, AClearShowsOnlyWhenTheTimeIsOverOnPurpose) {
    OpenBoth();
    hook.Clear();
    const Stopwatch watch;
    EXPECT_EQ(Read(monitor, 100), (Transfer{VI_ERROR_ABORT, 0}));
    EXPECT_GE(watch.Elapsed(), 95ms);
    EXPECT_EQ(Block().Pending(), 0U);
    EXPECT_EQ(Read(monitor, 100), Busy);
}

TEST_F(SessionDebug, AClearDoesNotShowWhenDataFollowInTimeOnPurpose) {
    OpenBoth();
    Transfer read;
    // The write waits until the monitor has taken the clear, and comes at once then. A machine that
    // is busy elsewhere may be too late with it, so there are further attempts.
    for (int attempt = 0; attempt < 20 && read.data.empty(); ++attempt) {
        hook.Clear();
        std::thread writing([&] { Write(hook, "data"); });
        read = Read(monitor, 100);
        writing.join();
        if (read.data.empty()) {
            EXPECT_EQ(Read(monitor, 100), Received("data"));
        }
    }
    EXPECT_EQ(read, Received("data"));
}

TEST_F(SessionDebug, AReadOfTheProgramThatGotNothingLeavesItsStatus) {
    OpenBoth();
    Answer("", VI_ERROR_CONN_LOST);
    EXPECT_EQ(Read(monitor, 100), (Transfer{VI_ERROR_CONN_LOST, 0}));
}

TEST_F(SessionDebug, OneOfSeveralReadersIsToldTheTurnOnPurpose) {
    OpenBoth();
    CSessionDebug other;
    ASSERT_EQ(Open(other, name.Watched()), VI_SUCCESS);
    Write(hook, "a");
    EXPECT_EQ(Read(monitor, 100), Received("a"));
    EXPECT_EQ(Read(other, 100), Received("a"));
    Answer("b");
    EXPECT_EQ(Read(monitor, 100), Turned);
    EXPECT_EQ(Read(other, 100), Received("b")) << "the other has seen it";
    EXPECT_EQ(Read(monitor, 100), Received("b"));
    EXPECT_FALSE(other.LastPlace().written);
    EXPECT_FALSE(monitor.LastPlace().written);
}

TEST_F(SessionDebug, AReaderThatClosesTakesItsShareOnPurpose) {
    OpenBoth();
    CSessionDebug other;
    ASSERT_EQ(Open(other, name.Watched()), VI_SUCCESS);
    Write(hook, "a");
    EXPECT_EQ(Block().Pending(), 2U);
    EXPECT_EQ(other.CloseConnection(), VI_SUCCESS);
    EXPECT_EQ(Block().ReaderCount(), 1U);
    EXPECT_EQ(Block().Pending(), 1U);
    EXPECT_EQ(monitor.CloseConnection(), VI_SUCCESS);
    EXPECT_EQ(Block().ReaderCount(), 0U);
    EXPECT_EQ(Block().Pending(), 0U);
    EXPECT_EQ(Write(hook, "b"), Sent(1));
}

TEST_F(SessionDebug, WhatAReaderLeavesToOthersIsNotLostWhenItCloses) {
    OpenBoth();
    CSessionDebug other;
    ASSERT_EQ(Open(other, name.Watched()), VI_SUCCESS);
    Write(hook, "a");
    EXPECT_EQ(Read(other, 100), Received("a"));
    other.CloseConnection();
    EXPECT_EQ(Read(monitor, 100), Received("a"));
    Write(hook, "b");
    EXPECT_EQ(Read(monitor, 100), Received("b"));
}

TEST_F(SessionDebug, ClosesOnceAndWhenItIsDestroyed) {
    OpenBoth();
    {
        CSessionDebug other;
        ASSERT_EQ(Open(other, name.Watched()), VI_SUCCESS);
        EXPECT_EQ(Block().ReaderCount(), 2U);
    }
    EXPECT_EQ(Block().ReaderCount(), 1U);
    EXPECT_EQ(monitor.CloseConnection(), VI_SUCCESS);
    EXPECT_EQ(monitor.CloseConnection(), VI_SUCCESS);
    EXPECT_EQ(Block().ReaderCount(), 0U);
}

TEST_F(SessionDebug, OpenedAgainItLeavesTheFirstBlock) {
    OpenBoth();
    const BlockName second;
    EXPECT_EQ(Open(monitor, second.Watched()), VI_SUCCESS);
    EXPECT_EQ(Block().ReaderCount(), 0U);
    EXPECT_EQ(PeekedBlock(second.Get()).ReaderCount(), 1U);
}

TEST_F(SessionDebug, NeitherHasToComeFirst) {
    ASSERT_EQ(Open(monitor, name.Watched()), VI_SUCCESS);
    ASSERT_EQ(Open(hook, name.Get()), VI_SUCCESS);
    Write(hook, "a");
    EXPECT_EQ(Read(monitor, 100), Received("a"));
}

TEST_F(SessionDebug, WhatIsPendingIsNewForWhoJoins) {
    OpenBoth();
    Write(hook, "a");
    CSessionDebug other;
    ASSERT_EQ(Open(other, name.Watched()), VI_SUCCESS);
    EXPECT_EQ(Block().Pending(), 2U);
    EXPECT_EQ(Read(other, 100), Received("a"));
    EXPECT_EQ(Read(monitor, 100), Received("a"));
}

TEST_F(SessionDebug, WhatAllHaveTakenIsNotNewForWhoJoins) {
    OpenBoth();
    Write(hook, "a");
    EXPECT_EQ(Read(monitor, 100), Received("a"));
    CSessionDebug other;
    ASSERT_EQ(Open(other, name.Watched()), VI_SUCCESS);
    EXPECT_EQ(Read(other, 100), Busy);
}

TEST_F(SessionDebug, AMessageMayBeTakenInParts) {
    OpenBoth();
    script.status = VI_ERROR_IO;
    Write(hook, "abcdef");
    EXPECT_EQ(Read(monitor, 4), Received("abcd"));
    EXPECT_EQ(Block().Pending(), 1U);
    EXPECT_EQ(Read(monitor, 2), Received("ef", VI_ERROR_IO));
    EXPECT_EQ(Block().Pending(), 0U);
}

TEST_F(SessionDebug, PiecesTellTheirPlace) {
    OpenBoth();
    std::thread writing([&] { Write(hook, std::string(50, 'a') + std::string(50, 'b') + "c"); });
    EXPECT_EQ(Read(monitor, 100), Received(std::string(50, 'a')));
    EXPECT_TRUE(monitor.LastPlace().written);
    EXPECT_FALSE(monitor.LastPlace().continues);
    EXPECT_TRUE(monitor.LastPlace().goesOn);
    EXPECT_EQ(Read(monitor, 100), Received(std::string(50, 'b')));
    EXPECT_TRUE(monitor.LastPlace().continues);
    EXPECT_TRUE(monitor.LastPlace().goesOn);
    EXPECT_EQ(Read(monitor, 100), Received("c"));
    EXPECT_TRUE(monitor.LastPlace().continues);
    EXPECT_FALSE(monitor.LastPlace().goesOn);
    writing.join();
}

TEST_F(SessionDebug, AReadOfNothingTakesNothing) {
    OpenBoth();
    Write(hook, "a");
    EXPECT_EQ(Read(monitor, 0), Busy);
    unsigned long count = 5;
    EXPECT_EQ(monitor.Read(nullptr, 10, &count), VI_ERROR_RSRC_BUSY);
    EXPECT_EQ(count, 0UL);
    EXPECT_EQ(Block().Pending(), 1U);
    unsigned char byte = 0;
    EXPECT_EQ(monitor.Read(&byte, 1, nullptr), VI_SUCCESS);
    EXPECT_EQ(byte, 'a');
}

TEST_F(SessionDebug, ABlockFullOfNonsenseHurtsNobody) {
    OpenBoth();
    for (const unsigned int value : {51U, 1000000U, 0xFFFFFFFFU}) {
        Write(hook, "abc");
        Block().Set(2, value);
        EXPECT_EQ(Read(monitor, 1000).data.size(), 50U) << value;
    }
    Write(hook, "abcdef");
    EXPECT_EQ(Read(monitor, 4), Received("abcd"));
    Block().Set(2, 2); // less than was taken already
    EXPECT_EQ(Read(monitor, 100), (Transfer{VI_SUCCESS, 0})) << "there is nothing left";
    Block().SetReaderCount(0);
    Block().SetPending(0);
    monitor.CloseConnection();
    EXPECT_EQ(Block().ReaderCount(), 0U);
    EXPECT_EQ(Block().Pending(), 0U);
}

TEST_F(SessionDebug, OnlyItsOwnAttributeIsAnswered) {
    OpenBoth();
    unsigned long value = 77;
    EXPECT_EQ(monitor.GetAttribute(VI_ATTR_TMO_VALUE, &value), VI_ERROR_NSUP_ATTR);
    EXPECT_EQ(value, 77UL);
    EXPECT_EQ(monitor.GetAttribute(0x3FFF00E8, nullptr), VI_ERROR_NSUP_ATTR_STATE);
    EXPECT_EQ(monitor.SetAttribute(0x3FFF00E8, 1), VI_ERROR_NSUP_ATTR);
    EXPECT_EQ(monitor.SetAttribute(VI_ATTR_TMO_VALUE, 1), VI_ERROR_NSUP_ATTR);
}

TEST_F(SessionDebug, WritingAndClearingDoNothing) {
    OpenBoth();
    const std::string before = Block().Image();
    unsigned char byte = 'x';
    unsigned long count = 77;
    EXPECT_EQ(monitor.Write(&byte, 1, &count), VI_SUCCESS);
    EXPECT_EQ(count, 77UL);
    EXPECT_EQ(monitor.Clear(), VI_SUCCESS);
    EXPECT_EQ(Block().Image(), before);
}

TEST_F(SessionDebug, ANameWithoutTheEndingIsRefusedBeforeAnythingIsOpened) {
    for (const std::string& resource : {name.Get(), name.Get() + "::hook", name.Get() + ":HOOK"}) {
        EXPECT_EQ(Open(monitor, resource), VI_ERROR_INV_RSRC_NAME) << resource;
    }
    EXPECT_EQ(monitor.OpenConnection(nullptr, 0, 0), VI_ERROR_INV_RSRC_NAME);
    EXPECT_FALSE(name.Exists());
    EXPECT_EQ(monitor.GetData(), nullptr);
}

TEST_F(SessionDebug, TheFirstEndingIsTakenOutWhereverItIs) {
    const BlockName inside("a::b");
    std::string resource = inside.Get();
    resource.insert(resource.find("::b"), "::HOOK");
    EXPECT_EQ(Open(monitor, resource), VI_SUCCESS);
    EXPECT_TRUE(inside.Exists());
    const BlockName twice("::HOOK");
    EXPECT_EQ(Open(monitor, twice.Watched()), VI_SUCCESS);
    EXPECT_TRUE(twice.Exists());
}

TEST_F(SessionDebug, ABlockThatCannotBeHadIsNotFound) {
    EXPECT_EQ(Open(monitor, std::string(255, 'n') + "::HOOK"), VI_ERROR_RSRC_NFOUND);
    std::filesystem::create_directory(name.Path());
    EXPECT_EQ(Open(monitor, name.Watched()), VI_ERROR_RSRC_NFOUND);
    EXPECT_EQ(monitor.CloseConnection(), VI_SUCCESS);
}

TEST_F(SessionDebug, ClosedItFindsNothing) {
    unsigned int direction = 7;
    EXPECT_EQ(Read(monitor, 10), (Transfer{VI_ERROR_RSRC_NFOUND, 0}));
    EXPECT_EQ(monitor.GetAttribute(0x3FFF00E8, &direction), VI_ERROR_RSRC_NFOUND);
    EXPECT_EQ(direction, 7U);
}

TEST_F(SessionDebug, PathsAndLongNamesCanBeWatched) {
    const BlockName path("::/tmp/sock::SOCKET");
    const BlockName stem;
    const BlockName longest(std::string(248 - stem.Get().size(), 'n'));
    for (const BlockName* watched : {&path, &longest}) {
        CSessionHook own(new ProbeSession(script));
        CSessionDebug reader;
        EXPECT_EQ(Open(own, watched->Get()), VI_SUCCESS);
        EXPECT_EQ(Open(reader, watched->Watched()), VI_SUCCESS);
        Write(own, "seen");
        EXPECT_EQ(Read(reader, 100), Received("seen"));
    }
}

TEST_F(SessionDebug, TwoMonitorsOfDifferentHooksDoNotMeet) {
    OpenBoth();
    const BlockName otherName;
    CSessionHook otherHook(new ProbeSession(script));
    CSessionDebug otherMonitor;
    ASSERT_EQ(Open(otherHook, otherName.Get()), VI_SUCCESS);
    ASSERT_EQ(Open(otherMonitor, otherName.Watched()), VI_SUCCESS);
    Write(hook, "one");
    EXPECT_EQ(Read(otherMonitor, 100), Busy);
    Write(otherHook, "two");
    EXPECT_EQ(Read(monitor, 100), Received("one"));
    EXPECT_EQ(Read(otherMonitor, 100), Received("two"));
}

// The name goes with the first that closes, so whoever comes later gets a block of its own.
TEST_F(SessionDebug, AMonitorThatComesAfterAnotherHasLeftSeesNothingOnPurpose) {
    OpenBoth();
    monitor.CloseConnection();
    CSessionDebug later;
    ASSERT_EQ(Open(later, name.Watched()), VI_SUCCESS);
    Write(hook, "a");
    EXPECT_EQ(Read(later, 100), Busy);
}
