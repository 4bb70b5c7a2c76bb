#include "monitor/SessionHook.h"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "monitor/BlockName.h"
#include "monitor/PeekedBlock.h"
#include "monitor/ProbeSession.h"
#include "monitor/SessionDebug.h"
#include "transports/SessionIO.h"

using namespace std::chrono_literals;
using namespace uxvisa::test;
using testing::ElementsAre;
using testing::StartsWith;

namespace {

constexpr unsigned int AbortStatus = 0xBFFF0030;
constexpr unsigned int TimeoutStatus = 0xBFFF0015;

class SessionHook : public ::testing::Test {
protected:
    void OpenIt() {
        ASSERT_EQ(Open(hook, name.Get()), script.status);
        peeked.emplace(name.Get());
        script.calls.clear();
    }
    PeekedBlock& Block() { return *peeked; }

    BlockName name;
    ProbeSession::Script script;
    CSessionHook hook{new ProbeSession(script)};
    std::optional<PeekedBlock> peeked;
};

// Runs `body` in a thread and tells whether it has come back.
class Background {
public:
    template <typename Body>
    explicit Background(Body&& body)
        : m_thread([this, body] {
              body();
              m_done = true;
          }) {}
    ~Background() { m_thread.join(); }
    bool IsDone() const { return m_done; }
    bool IsDoneWithin(std::chrono::milliseconds time) const {
        const Stopwatch watch;
        while (!m_done && watch.Elapsed() < time) {
            std::this_thread::sleep_for(1ms);
        }
        return m_done;
    }

private:
    std::atomic<bool> m_done{false};
    std::thread m_thread;
};

} // namespace

TEST_F(SessionHook, ForwardsEveryOperationUnchanged) {
    script.status = VI_ERROR_RSRC_LOCKED;
    char resource[] = "rsrc";
    unsigned short type = 0;
    unsigned short number = 0;
    char text[300] = {};
    ISession* session = nullptr;
    std::ostringstream pointers;
    pointers << &type << ' ' << &number << ' ' << static_cast<void*>(text) << ' '
             << static_cast<void*>(text + 1) << ' ' << static_cast<void*>(text + 2);
    std::ostringstream opened;
    opened << "Open rsrc 1 2 " << &session;
    std::ostringstream attribute;
    attribute << "GetAttribute 8 " << static_cast<void*>(text);

    EXPECT_EQ(hook.ParseRsrcEx(resource, &type, &number, text, text + 1, text + 2),
              VI_ERROR_RSRC_LOCKED);
    EXPECT_EQ(hook.Open(resource, 1, 2, &session), VI_ERROR_RSRC_LOCKED);
    EXPECT_EQ(hook.EnableEvent(1, 2, 3), VI_ERROR_RSRC_LOCKED);
    EXPECT_EQ(hook.DisableEvent(4, 5), VI_ERROR_RSRC_LOCKED);
    EXPECT_EQ(hook.DiscardEvents(6, 7), VI_ERROR_RSRC_LOCKED);
    EXPECT_EQ(hook.SetAttribute(9, 10), VI_ERROR_RSRC_LOCKED);
    EXPECT_EQ(hook.GetAttribute(8, text), VI_ERROR_RSRC_LOCKED);
    EXPECT_EQ(hook.Close(11), VI_ERROR_RSRC_LOCKED);
    EXPECT_EQ(hook.Flush(12), VI_ERROR_RSRC_LOCKED);
    EXPECT_EQ(hook.CloseConnection(), VI_ERROR_RSRC_LOCKED);
    EXPECT_EQ(hook.Clear(), VI_ERROR_RSRC_LOCKED);
    EXPECT_THAT(script.calls,
                ElementsAre("ParseRsrcEx rsrc " + pointers.str(), opened.str(), "EnableEvent 1 2 3",
                            "DisableEvent 4 5", "DiscardEvents 6 7", "SetAttribute 9 10",
                            attribute.str(), "Close 11", "Flush 12", "CloseConnection", "Clear"));
}

TEST_F(SessionHook, OpensTheBlockUnderTheWholeResourceStringAndThenTheSession) {
    script.during = [&] { EXPECT_TRUE(name.Exists()); };
    std::string resource = name.Get();
    EXPECT_EQ(hook.OpenConnection(resource.data(), 7, 8), VI_SUCCESS);
    EXPECT_THAT(script.calls, ElementsAre("OpenConnection " + name.Get() + " 7 8"));
    script.during = [&] { EXPECT_FALSE(name.Exists()); };
    EXPECT_EQ(hook.CloseConnection(), VI_SUCCESS);
    EXPECT_THAT(script.calls.back(), "CloseConnection");
}

TEST_F(SessionHook, AFailedOpeningIsTheSessionsOwn) {
    script.status = VI_ERROR_RSRC_NFOUND;
    EXPECT_EQ(Open(hook, name.Get()), VI_ERROR_RSRC_NFOUND);
    EXPECT_TRUE(name.Exists());
}

TEST(SessionHookEnd, DeletesWhatItWrapsAndClosesTheBlock) {
    const BlockName name;
    ProbeSession::Script script;
    {
        CSessionHook hook(new ProbeSession(script));
        Open(hook, name.Get());
    }
    EXPECT_THAT(script.calls, ElementsAre(StartsWith("OpenConnection"), "deleted"));
    EXPECT_FALSE(name.Exists());
}

TEST(SessionHookAlone, AnswersInvalidObjectAndOpensNothing) {
    const BlockName name;
    CSessionHook hook(nullptr);
    char text[10] = {};
    EXPECT_EQ(Open(hook, name.Get()), VI_ERROR_INV_OBJECT);
    EXPECT_FALSE(name.Exists());
    EXPECT_EQ(hook.CloseConnection(), VI_ERROR_INV_OBJECT);
    EXPECT_EQ(hook.ParseRsrcEx(text, nullptr, nullptr, nullptr, nullptr, nullptr),
              VI_ERROR_INV_OBJECT);
    EXPECT_EQ(hook.Open(text, 0, 0, nullptr), VI_ERROR_INV_OBJECT);
    EXPECT_EQ(hook.EnableEvent(0, 0, 0), VI_ERROR_INV_OBJECT);
    EXPECT_EQ(hook.DisableEvent(0, 0), VI_ERROR_INV_OBJECT);
    EXPECT_EQ(hook.DiscardEvents(0, 0), VI_ERROR_INV_OBJECT);
    EXPECT_EQ(hook.SetAttribute(0, 0), VI_ERROR_INV_OBJECT);
    EXPECT_EQ(hook.GetAttribute(0, text), VI_ERROR_INV_OBJECT);
    EXPECT_EQ(Read(hook, 5), (Transfer{VI_ERROR_INV_OBJECT, 0}));
    EXPECT_EQ(Write(hook, "x").status, VI_ERROR_INV_OBJECT);
    EXPECT_EQ(hook.Clear(), VI_ERROR_INV_OBJECT);
    EXPECT_EQ(hook.Close(0), VI_ERROR_INV_OBJECT);
    EXPECT_EQ(hook.Flush(0), VI_ERROR_INV_OBJECT);
}

TEST_F(SessionHook, PublishesAWrite) {
    OpenIt();
    script.status = VI_SUCCESS_TERM_CHAR;
    EXPECT_EQ(Write(hook, "*IDN?\n"), (Transfer{VI_SUCCESS_TERM_CHAR, 6}));
    std::string expected(
        "\x01\0\0\0\0\0\0\0\x06\0\0\0\0\0\0\0\x01\0\0\0\0\0\0\0\x05\0\xff\x3f*IDN?\n", 34);
    expected.resize(78, '\0');
    EXPECT_EQ(Block().Image(), expected);
    EXPECT_THAT(script.calls, ElementsAre("Write 6"));
}

TEST_F(SessionHook, PublishesARead) {
    OpenIt();
    script.input = "Orvane\n";
    EXPECT_EQ(Read(hook, 100), Received("Orvane\n"));
    EXPECT_EQ(Block().Data(), "Orvane\n");
    EXPECT_EQ(Block().Direction(), 0U);
    EXPECT_EQ(Block().Status(), 0U);
    EXPECT_EQ(Block().Toggle(), 1U);
    script.input = "";
    script.status = VI_ERROR_TMO;
    EXPECT_EQ(Read(hook, 100), Received("", VI_ERROR_TMO));
    EXPECT_EQ(Block().Length(), 0U);
    EXPECT_EQ(Block().Status(), TimeoutStatus);
    EXPECT_EQ(Block().Toggle(), 0U);
}

TEST_F(SessionHook, PublishesAClear) {
    OpenIt();
    EXPECT_EQ(hook.Clear(), VI_SUCCESS);
    EXPECT_EQ(Block().Length(), 0U);
    EXPECT_EQ(Block().Direction(), 1U);
    EXPECT_EQ(Block().Status(), AbortStatus);
    EXPECT_EQ(Block().Toggle(), 1U);
}

TEST_F(SessionHook, ATransferIsPublishedAfterItAndAClearBeforeItOnPurpose) {
    OpenIt();
    script.input = "r";
    unsigned int before = 9;
    script.during = [&] { before = Block().Toggle(); };
    Write(hook, "w");
    EXPECT_EQ(before, 0U);
    EXPECT_EQ(Block().Toggle(), 1U);
    Read(hook, 1);
    EXPECT_EQ(before, 1U);
    EXPECT_EQ(Block().Toggle(), 0U);
    hook.Clear();
    EXPECT_EQ(before, 1U);
    EXPECT_EQ(Block().Status(), AbortStatus);
}

TEST_F(SessionHook, AWritePublishesAllItsBytesWhateverWasWrittenOnPurpose) {
    OpenIt();
    script.writtenLimit = 2;
    script.status = VI_ERROR_TMO;
    EXPECT_EQ(Write(hook, "command"), (Transfer{VI_ERROR_TMO, 2}));
    EXPECT_EQ(Block().Data(), "command");
    EXPECT_EQ(Block().Status(), TimeoutStatus);
}

TEST_F(SessionHook, AWriteOfNothingReturnsAtOnceOnPurpose) {
    OpenIt();
    Block().SetReaderCount(1);
    Block().SetPending(1);
    const std::string before = Block().Image();
    const Stopwatch watch;
    EXPECT_EQ(Write(hook, ""), Sent(0));
    EXPECT_LT(watch.Elapsed(), 1500ms); // less than the 2 s after which readers count as dead
    EXPECT_EQ(Block().Image(), before);
    EXPECT_THAT(script.calls, ElementsAre("Write 0"));
}

TEST_F(SessionHook, AReadOfNothingWaitsAndPublishesNothingOnPurpose) {
    OpenIt();
    Block().SetReaderCount(1);
    Block().SetPending(1);
    Transfer read;
    std::string before;
    {
        const Background reading([&] { read = Read(hook, 0); });
        EXPECT_FALSE(reading.IsDoneWithin(500ms));
        Block().SetPending(0);
        before = Block().Image();
        EXPECT_TRUE(reading.IsDoneWithin(60s));
    }
    EXPECT_EQ(read, Received(""));
    EXPECT_EQ(Block().Image(), before);
}

// Longer than a dead reader would be waited for.
TEST_F(SessionHook, AWriterWaitsForALivingReaderWithoutLimitOnPurpose) {
    OpenIt();
    CSessionDebug monitor;
    ASSERT_EQ(Open(monitor, name.Watched()), VI_SUCCESS);
    EXPECT_EQ(Write(hook, "first"), Sent(5));
    const Background writing([&] { EXPECT_EQ(Write(hook, "second"), Sent(6)); });
    EXPECT_FALSE(writing.IsDoneWithin(3500ms));
    EXPECT_EQ(Block().Data(), "first");
    EXPECT_EQ(Read(monitor, 100), Received("first"));
    EXPECT_TRUE(writing.IsDoneWithin(60s));
    EXPECT_EQ(Block().Data(), "second");
}

TEST_F(SessionHook, WithoutReadersEveryMessageIsOverwrittenByTheNext) {
    OpenIt();
    Write(hook, "first");
    Write(hook, "next");
    EXPECT_EQ(Block().Data(), "next");
    EXPECT_EQ(Block().Pending(), 0U);
}

TEST_F(SessionHook, ForgetsReadersThatAreDeadAfterAWhile) {
    OpenIt();
    Block().SetReaderCount(3);
    Block().SetPending(2);
    const Stopwatch watch;
    EXPECT_EQ(Write(hook, "on we go"), Sent(8));
    EXPECT_GE(watch.Elapsed(), 1900ms);
    EXPECT_LT(watch.Elapsed(), 30s);
    EXPECT_EQ(Block().ReaderCount(), 0U);
    EXPECT_EQ(Block().Pending(), 0U);
    EXPECT_EQ(Block().Data(), "on we go");
}

TEST_F(SessionHook, CountsEveryReaderForEveryMessage) {
    OpenIt();
    Block().SetReaderCount(3);
    Write(hook, "x");
    EXPECT_EQ(Block().Pending(), 3U);
}

TEST_F(SessionHook, AMessageThatDoesNotFitGoesInPieces) {
    OpenIt();
    const std::string message = std::string(50, 'a') + std::string(50, 'b') + "c";
    Write(hook, message);
    EXPECT_EQ(Block().Data(), "c");
    EXPECT_EQ(Block().Toggle(), 1U) << "three pieces";
    Write(hook, message.substr(0, 100));
    EXPECT_EQ(Block().Data(), std::string(50, 'b'));
    EXPECT_EQ(Block().Toggle(), 1U) << "two more";
    Write(hook, message.substr(0, 50));
    EXPECT_EQ(Block().Data(), std::string(50, 'a'));
    EXPECT_EQ(Block().Toggle(), 0U) << "one more";
}

// A program may read its own monitor in the thread that writes.
TEST_F(SessionHook, TheRestOfALongMessageIsDroppedWhenReadersDoNotKeepUp) {
    OpenIt();
    CSessionDebug monitor;
    ASSERT_EQ(Open(monitor, name.Watched()), VI_SUCCESS);
    const Stopwatch watch;
    EXPECT_EQ(Write(hook, std::string(65000, 'x')), Sent(65000));
    EXPECT_GE(watch.Elapsed(), 190ms);
    EXPECT_LT(watch.Elapsed(), 30s);
    EXPECT_EQ(Read(monitor, 100), Received(std::string(50, 'x')));
    EXPECT_TRUE(monitor.LastPlace().goesOn);
    EXPECT_EQ(Read(monitor, 100), (Transfer{VI_ERROR_RSRC_BUSY, 0}));
    EXPECT_EQ(Write(hook, "next"), Sent(4));
    EXPECT_EQ(Read(monitor, 100), Received("next"));
    EXPECT_FALSE(monitor.LastPlace().continues);
}

TEST_F(SessionHook, WithoutABlockItOnlyForwards) {
    for (const std::string& resource : {std::string(300, 'r'), std::string()}) {
        CSessionHook blind(new ProbeSession(script));
        std::string copy = resource;
        script.calls.clear();
        EXPECT_EQ(blind.OpenConnection(resource.empty() ? nullptr : copy.data(), 1, 2), VI_SUCCESS);
        EXPECT_EQ(blind.GetData(), nullptr);
        script.input = "answer";
        EXPECT_EQ(Write(blind, "x"), Sent(1));
        EXPECT_EQ(Read(blind, 10), Received("answer"));
        EXPECT_EQ(Read(blind, 0), Received(""));
        EXPECT_EQ(blind.Clear(), VI_SUCCESS);
        EXPECT_EQ(blind.CloseConnection(), VI_SUCCESS);
        EXPECT_THAT(script.calls, ElementsAre(StartsWith("OpenConnection"), "Write 1", "Read 10",
                                              "Read 0", "Clear", "CloseConnection"));
    }
}

TEST_F(SessionHook, CountsThatAreNotWantedAndBuffersThatAreNotThere) {
    OpenIt();
    script.input = "answer";
    unsigned char buffer[10];
    EXPECT_EQ(hook.Read(buffer, 10, nullptr), VI_SUCCESS);
    EXPECT_EQ(Block().Data(), "answer");
    unsigned char byte = 'b';
    EXPECT_EQ(hook.Write(&byte, 1, nullptr), VI_SUCCESS);
    EXPECT_EQ(Block().Data(), "b");
    const std::string before = Block().Image();
    unsigned long count = 0;
    EXPECT_EQ(hook.Write(nullptr, 5, &count), VI_SUCCESS);
    EXPECT_EQ(Block().Image(), before);
}

TEST_F(SessionHook, MoreBytesThanWereAskedForAreNotPublished) {
    OpenIt();
    script.input = "123456789";
    script.overstates = true;
    unsigned char buffer[4];
    unsigned long count = 0;
    EXPECT_EQ(hook.Read(buffer, 4, &count), VI_SUCCESS);
    EXPECT_EQ(count, 1004UL);
    EXPECT_EQ(Block().Data(), "1234");
}

TEST_F(SessionHook, NoExceptionLeavesAnOperation) {
    OpenIt();
    script.during = [] { throw std::runtime_error("x"); };
    unsigned long count = 0;
    EXPECT_EQ(Read(hook, 3).status, VI_ERROR_SYSTEM_ERROR);
    EXPECT_EQ(Write(hook, "x").status, VI_ERROR_SYSTEM_ERROR);
    EXPECT_EQ(hook.Clear(), VI_ERROR_SYSTEM_ERROR);
    EXPECT_EQ(hook.GetAttribute(1, &count), VI_ERROR_SYSTEM_ERROR);
    script.during = [] {};
    EXPECT_EQ(Write(hook, "and it works again"), Sent(18));
}

TEST_F(SessionHook, FormattedOutputIsPublishedLikeAnyOther) {
    OpenIt();
    char format[] = "VOLT %d\n";
    const auto print = [&](int first, ...) {
        va_list arguments;
        va_start(arguments, first);
        const long status = hook.Printf(format, arguments);
        va_end(arguments);
        return status;
    };
    EXPECT_EQ(print(0, 42), VI_SUCCESS);
    EXPECT_EQ(Block().Data(), "VOLT 42\n");
}

TEST_F(SessionHook, TwoHooksOfDifferentNamesDoNotMeet) {
    OpenIt();
    const BlockName otherName;
    ProbeSession::Script otherScript;
    CSessionHook other(new ProbeSession(otherScript));
    Open(other, otherName.Get());
    PeekedBlock otherBlock(otherName.Get());
    Write(hook, "one");
    EXPECT_EQ(otherBlock.Toggle(), 0U);
    Write(other, "two");
    EXPECT_EQ(Block().Data(), "one");
    EXPECT_EQ(otherBlock.Data(), "two");
}

TEST_F(SessionHook, AThreadThatWaitsForReadersCanBeCancelled) {
    OpenIt();
    CSessionDebug monitor;
    ASSERT_EQ(Open(monitor, name.Watched()), VI_SUCCESS);
    Write(hook, "first");
    pthread_t thread{};
    ASSERT_EQ(pthread_create(
                  &thread, nullptr,
                  [](void* waiting) -> void* {
                      Write(*static_cast<CSessionHook*>(waiting), "second");
                      return nullptr;
                  },
                  &hook),
              0);
    std::this_thread::sleep_for(100ms);
    ASSERT_EQ(pthread_cancel(thread), 0);
    void* result = nullptr;
    ASSERT_EQ(pthread_join(thread, &result), 0);
    EXPECT_EQ(result, PTHREAD_CANCELED);
    EXPECT_EQ(Read(monitor, 100), Received("first"));
}
