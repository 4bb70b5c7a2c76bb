// Hooks and monitors at work, in threads and in processes.
#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "monitor/BlockName.h"
#include "monitor/PeekedBlock.h"
#include "monitor/ProbeSession.h"
#include "monitor/ReaderProcess.h"
#include "monitor/SessionHook.h"
#include "monitor/WatchedMessages.h"
#include "transports/SessionIO.h"

using namespace std::chrono_literals;
using namespace uxvisa::test;
using testing::AnyOf;

namespace {

// Scaled down under a sanitizer, where the full count takes longer than a test should.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr long ManyMessages = 20000;
#else
constexpr long ManyMessages = 100000;
#endif

class Traffic : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(Open(hook, name.Get()), VI_SUCCESS); }

    void WriteNumbers(long from, long to) {
        for (long number = from; number < to; ++number) {
            ASSERT_EQ(Write(hook, std::to_string(number)).status, VI_SUCCESS);
        }
    }
    void WriteEnd() { Write(hook, "end"); }
    // The program gets `answer`.
    void Answer(const std::string& answer, long status) {
        script.input = answer;
        script.status = status;
        Read(hook, 70000);
        script.status = VI_SUCCESS;
    }

    BlockName name;
    ProbeSession::Script script;
    CSessionHook hook{new ProbeSession(script)};
};

std::string Patterned(std::size_t size) {
    std::string text(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
        text[i] = static_cast<char>(i * 7 + i / 256);
    }
    return text;
}

const std::vector<std::size_t> Sizes{1, 50, 51, 100, 101, 4096, 65000};

// Every closer takes the name away; a hard link keeps the block reachable, so that readers can go
// on joining the same one.
class KeptName {
public:
    explicit KeptName(const BlockName& name) : m_path(name.Path()), m_kept(m_path + "-kept") {
        std::filesystem::create_hard_link(m_path, m_kept);
    }
    ~KeptName() {
        std::error_code ignored;
        std::filesystem::remove(m_kept, ignored);
    }
    KeptName(const KeptName&) = delete;
    KeptName& operator=(const KeptName&) = delete;

    void Restore() const {
        std::error_code there;
        std::filesystem::create_hard_link(m_kept, m_path, there);
    }

private:
    std::string m_path;
    std::string m_kept;
};

} // namespace

TEST_F(Traffic, EverySizeArrivesWholeInAnotherThread) {
    WatchedMessages messages;
    ASSERT_EQ(messages.Open(name.Watched()), VI_SUCCESS);
    std::thread program([&] {
        for (const std::size_t size : Sizes) {
            Write(hook, Patterned(size));
            Answer(Patterned(size), VI_SUCCESS_TERM_CHAR);
        }
        Answer("", VI_ERROR_CONN_LOST);
    });
    WatchedMessage message;
    for (const std::size_t size : Sizes) {
        ASSERT_TRUE(messages.Next(message)) << size;
        EXPECT_TRUE(message.written);
        EXPECT_EQ(message.status, VI_SUCCESS);
        EXPECT_EQ(message.data, Patterned(size));
        ASSERT_TRUE(messages.Next(message)) << size;
        EXPECT_FALSE(message.written);
        EXPECT_EQ(message.status, VI_SUCCESS_TERM_CHAR);
        EXPECT_EQ(message.data, Patterned(size));
    }
    ASSERT_TRUE(messages.Next(message));
    EXPECT_EQ(message.data, "");
    EXPECT_EQ(message.status, VI_ERROR_CONN_LOST);
    program.join();
}

TEST_F(Traffic, EverySizeArrivesWholeInAnotherProcess) {
    ReaderProcess reader(name.Watched(), "print", static_cast<long>(2 * Sizes.size()) + 1);
    for (const std::size_t size : Sizes) {
        const std::string message = Patterned(size);
        const std::string told = std::to_string(Checksum(message));
        Write(hook, message);
        EXPECT_EQ(reader.Line(), "-> " + std::to_string(size) + " 0 " + told);
        Answer(message, VI_SUCCESS_TERM_CHAR);
        EXPECT_EQ(reader.Line(), "<- " + std::to_string(size) + " 1073676293 " + told);
    }
    Answer("", VI_ERROR_CONN_LOST);
    EXPECT_EQ(reader.Line(),
              "<- 0 " + std::to_string(VI_ERROR_CONN_LOST) + " " + std::to_string(Checksum("")));
    EXPECT_EQ(reader.Wait(), 0);
}

TEST_F(Traffic, MessagesOfExactlyTheDataAreaAreNotJoined) {
    WatchedMessages messages;
    ASSERT_EQ(messages.Open(name.Watched()), VI_SUCCESS);
    std::thread program([&] {
        for (const char letter : {'a', 'b', 'c'}) {
            Write(hook, std::string(50, letter));
        }
    });
    WatchedMessage message;
    for (const char letter : {'a', 'b', 'c'}) {
        EXPECT_TRUE(messages.Next(message));
        EXPECT_EQ(message.data, std::string(50, letter));
    }
    program.join();
}

// The whole life of a program in one thread: it reads its own monitor.
TEST_F(Traffic, OneThreadMayDoBoth) {
    WatchedMessages messages;
    ASSERT_EQ(messages.Open(name.Watched()), VI_SUCCESS);
    WatchedMessage message;
    for (long number = 0; number < 500; ++number) {
        Write(hook, std::to_string(number));
        ASSERT_TRUE(messages.Next(message));
        ASSERT_EQ(message.data, std::to_string(number));
        ASSERT_TRUE(message.written);
        Answer("answer", VI_SUCCESS);
        ASSERT_TRUE(messages.Next(message));
        ASSERT_EQ(message.data, "answer");
        ASSERT_FALSE(message.written);
    }
}

// Two of three readers come and go all the time, in threads of the same process.
TEST_F(Traffic, NothingIsLostForAReaderThatStaysWhileOthersComeAndGo) {
    const KeptName kept(name);
    std::atomic<bool> over{false};
    std::atomic<int> gone{0};
    std::atomic<long> visits{0};
    std::atomic<long> outOfTurn{0};
    std::mutex coming;
    WatchedMessages staying;
    ASSERT_EQ(staying.Open(name.Watched()), VI_SUCCESS);
    const auto visit = [&](long most) {
        WatchedMessages messages;
        {
            const std::lock_guard<std::mutex> lock(coming);
            kept.Restore();
            ASSERT_EQ(messages.Open(name.Watched()), VI_SUCCESS);
        }
        Sequence sequence;
        WatchedMessage message;
        while (sequence.Count() < most && !over && messages.Next(message) &&
               message.data != "end") {
            sequence.Take(message.data);
        }
        const std::lock_guard<std::mutex> lock(coming);
        messages.Close();
        outOfTurn += sequence.OutOfTurn();
        visits += sequence.Count() > 0 ? 1 : 0;
    };
    const auto visitor = [&](long most) {
        while (!over) {
            visit(most);
        }
        ++gone;
    };
    std::thread first(visitor, 7);
    std::thread second(visitor, 30);
    std::thread program([&] {
        WriteNumbers(0, ManyMessages);
        // Over and over, so that none of those who come and go waits for a message in vain.
        while (gone < 2) {
            WriteEnd();
        }
    });
    Sequence sequence;
    WatchedMessage message;
    while (staying.Next(message) && message.data != "end") {
        sequence.Take(message.data);
    }
    over = true;
    staying.Close();
    first.join();
    second.join();
    program.join();
    EXPECT_EQ(sequence.First(), 0);
    EXPECT_EQ(sequence.Count(), ManyMessages);
    EXPECT_EQ(sequence.OutOfTurn(), 0);
    EXPECT_EQ(outOfTurn, 0);
    EXPECT_GT(visits, ManyMessages / 300);
}

// Three processes join at different times, before the first of them leaves and takes the name
// along. Whether the last number before one joins is still pending then is a matter of time, so
// each may begin with either of two.
TEST_F(Traffic, NothingIsLostBetweenProcesses) {
    constexpr long Tenth = ManyMessages / 10;
    ReaderProcess staying(name.Watched(), "follow", ManyMessages + 1);
    WriteNumbers(0, Tenth);
    ReaderProcess leaving(name.Watched(), "follow", Tenth);
    WriteNumbers(Tenth, 2 * Tenth - 2);
    ReaderProcess late(name.Watched(), "follow", 5 * Tenth);
    WriteNumbers(2 * Tenth - 2, ManyMessages);
    WriteEnd();
    const auto range = [](long first, long count) {
        return std::to_string(first) + " " + std::to_string(first + count - 1) + " 0";
    };
    EXPECT_EQ(staying.Line(), range(0, ManyMessages));
    EXPECT_THAT(leaving.Line(), AnyOf(range(Tenth - 1, Tenth), range(Tenth, Tenth)));
    EXPECT_THAT(late.Line(),
                AnyOf(range(2 * Tenth - 3, 5 * Tenth), range(2 * Tenth - 2, 5 * Tenth)));
    EXPECT_EQ(staying.Wait(), 0);
    EXPECT_EQ(leaving.Wait(), 0);
    EXPECT_EQ(late.Wait(), 0);
    EXPECT_EQ(hook.GetData()[1], 0U) << "all have left";
    EXPECT_EQ(hook.GetData()[3], 0U);
}

TEST_F(Traffic, AMonitorThatIsKilledStopsNobodyForLong) {
    ReaderProcess reader(name.Watched(), "hang");
    PeekedBlock block(name.Get());
    EXPECT_EQ(Write(hook, "never taken"), Sent(11));
    EXPECT_EQ(block.Pending(), 1U);
    std::atomic<bool> written{false};
    Stopwatch sinceDeath;
    std::thread program([&] {
        EXPECT_EQ(Write(hook, "next"), Sent(4));
        written = true;
    });
    std::this_thread::sleep_for(2500ms); // longer than it takes to suspect a death
    EXPECT_FALSE(written);
    sinceDeath = {};
    reader.Kill();
    program.join();
    EXPECT_LT(sinceDeath.Elapsed(), 15s);
    EXPECT_EQ(block.ReaderCount(), 0U);
    EXPECT_EQ(block.Pending(), 0U);
    EXPECT_EQ(block.Data(), "next");
}

TEST_F(Traffic, AMonitorThatDiedBetweenMessagesCostsOneWait) {
    {
        ReaderProcess reader(name.Watched(), "print", 1000);
        Write(hook, "taken");
        EXPECT_NE(reader.Line(), "");
        reader.Kill();
    }
    const Stopwatch watch;
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(Write(hook, "on and on"), Sent(9));
    }
    EXPECT_GE(watch.Elapsed(), 1900ms);
    EXPECT_LT(watch.Elapsed(), 15s);
    EXPECT_EQ(hook.GetData()[1], 0U);
}

TEST_F(Traffic, AMonitorThatIsKilledWhileItReadsLosesNothingForTheProgram) {
    for (int round = 0; round < 3; ++round) {
        ReaderProcess reader(name.Watched(), "follow", 1000000);
        std::thread killer([&] {
            std::this_thread::sleep_for(50ms);
            reader.Kill();
        });
        WriteNumbers(0, 2000);
        killer.join();
        WriteNumbers(2000, 2010);
        EXPECT_EQ(hook.GetData()[1], 0U);
    }
}

TEST_F(Traffic, AMonitorInAnotherProcessMayComeFirst) {
    const BlockName later;
    ReaderProcess reader(later.Watched(), "print", 1);
    CSessionHook second(new ProbeSession(script));
    ASSERT_EQ(Open(second, later.Get()), VI_SUCCESS);
    Write(second, "hello");
    EXPECT_EQ(reader.Line(), "-> 5 0 " + std::to_string(Checksum("hello")));
    EXPECT_EQ(reader.Wait(), 0);
}
