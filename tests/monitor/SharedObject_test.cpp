#include "monitor/SharedObject.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <thread>
#include <vector>

#include "monitor/BlockName.h"

using uxvisa::test::BlockName;

namespace {

// Shows the fields.
class Opened : public CSharedObject {
public:
    explicit Opened(const std::string& name) : result(OpenSObj(name.c_str())) {}
    const std::string& Name() const { return m_name; }
    int Descriptor() const { return m_fd; }
    unsigned long Reserved() const { return m_reserved; }

    const int result;
};

void ExpectNothingOpen(Opened& object) {
    EXPECT_EQ(object.GetData(), nullptr);
    EXPECT_EQ(object.GetBuffer(), nullptr);
    EXPECT_EQ(object.Descriptor(), 0);
    EXPECT_EQ(object.CloseSObj(), 0);
}

// Sets a soft limit for a while.
class Limited {
public:
    Limited(__rlimit_resource resource, rlim_t value) : m_resource(resource) {
        getrlimit(resource, &m_before);
        rlimit limit = m_before;
        limit.rlim_cur = value;
        EXPECT_EQ(setrlimit(resource, &limit), 0);
    }
    ~Limited() { setrlimit(m_resource, &m_before); }
    Limited(const Limited&) = delete;
    Limited& operator=(const Limited&) = delete;

private:
    __rlimit_resource m_resource;
    rlimit m_before{};
};

} // namespace

TEST(SharedObject, OpeningCreates78ZeroBytesForTheOwnerAlone) {
    const BlockName name;
    const Opened object(name.Get());
    ASSERT_EQ(object.result, 0);
    EXPECT_EQ(object.Name(), name.Get() + "_v2_Map");
    struct stat status {};
    ASSERT_EQ(stat(name.Path().c_str(), &status), 0);
    EXPECT_EQ(status.st_size, 78);
    EXPECT_EQ(status.st_mode & 07777, 0600U);
    EXPECT_GT(status.st_blocks, 0);
}

TEST(SharedObject, StartsClosed) {
    Opened object("");
    object.CloseSObj();
    CSharedObject fresh;
    EXPECT_EQ(fresh.GetData(), nullptr);
    EXPECT_EQ(fresh.GetBuffer(), nullptr);
    EXPECT_EQ(fresh.CloseSObj(), 0);
    EXPECT_EQ(fresh.Lock(), 0);
    EXPECT_EQ(fresh.Unlock(), 0);
    ExpectNothingOpen(object);
    EXPECT_EQ(object.Reserved(), 0UL);
}

TEST(SharedObject, TheBufferIsBehindTheWords) {
    const BlockName name;
    Opened object(name.Get());
    EXPECT_EQ(object.GetBuffer(), reinterpret_cast<unsigned char*>(object.GetData()) + 28);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(object.GetData()), 78), std::string(78, '\0'));
}

TEST(SharedObject, TwoObjectsShareTheBytes) {
    const BlockName name;
    Opened one(name.Get());
    Opened other(name.Get());
    one.GetData()[1] = 12345;
    one.GetBuffer()[49] = 'x';
    EXPECT_EQ(other.GetData()[1], 12345U);
    EXPECT_EQ(other.GetBuffer()[49], 'x');
}

TEST(SharedObject, ClosingTwiceDoesNothingTheSecondTime) {
    const BlockName name;
    Opened object(name.Get());
    EXPECT_EQ(object.CloseSObj(), 0);
    EXPECT_FALSE(name.Exists());
    const Opened other(name.Get());
    EXPECT_EQ(object.CloseSObj(), 0);
    EXPECT_TRUE(name.Exists());
    ExpectNothingOpen(object);
}

TEST(SharedObject, EveryCloserRemovesTheNameOnPurpose) {
    const BlockName name;
    Opened one(name.Get());
    Opened other(name.Get());
    EXPECT_EQ(one.CloseSObj(), 0);
    EXPECT_FALSE(name.Exists());
    other.GetData()[1] = 7; // what is mapped stays
    EXPECT_EQ(other.GetData()[1], 7U);
    const Opened newer(name.Get());
    EXPECT_EQ(other.CloseSObj(), 0);
    EXPECT_FALSE(name.Exists()) << "the newer block's name goes too";
}

TEST(SharedObject, ARemovalThatFailsIsTold) {
    const BlockName name;
    Opened object(name.Get());
    std::filesystem::remove(name.Path());
    EXPECT_EQ(object.CloseSObj(), -1);
    EXPECT_EQ(object.CloseSObj(), 0);
}

TEST(SharedObject, AnExistingBlockIsNotClearedOnPurpose) {
    const BlockName name;
    Opened one(name.Get());
    std::memset(one.GetData(), 0xA5, 78);
    Opened other(name.Get());
    EXPECT_EQ(std::string(reinterpret_cast<char*>(other.GetData()), 78), std::string(78, '\xA5'));
}

TEST(SharedObject, OpeningAgainLetsGoOfTheFirst) {
    const BlockName name;
    const BlockName second;
    Opened object(name.Get());
    ASSERT_EQ(object.OpenSObj(second.Get().c_str()), 0);
    EXPECT_FALSE(name.Exists());
    EXPECT_TRUE(second.Exists());
}

TEST(SharedObject, TheDestructorCloses) {
    const BlockName name;
    { const Opened object(name.Get()); }
    EXPECT_FALSE(name.Exists());
}

TEST(SharedObject, SlashesAreReplacedForTheSystemAlone) {
    const BlockName name("USOCK::/tmp//sock::SOCKET/");
    Opened object(name.Get());
    ASSERT_EQ(object.result, 0);
    EXPECT_TRUE(name.Exists());
    EXPECT_EQ(object.Name(), name.Get() + "_v2_Map");
    EXPECT_EQ(object.CloseSObj(), 0);
    EXPECT_FALSE(name.Exists());
}

TEST(SharedObject, NamesFillWhatTheSystemAllowsAndNoMore) {
    const std::string stem = BlockName().Get();
    const std::string longest = stem + std::string(248 - stem.size(), 'n');
    Opened fits(longest);
    EXPECT_EQ(fits.result, 0);
    EXPECT_EQ(fits.CloseSObj(), 0);
    for (const std::size_t size : {249UL, 255UL, 256UL, 257UL, 100000UL}) {
        Opened tooLong(stem + std::string(size - stem.size(), 'n'));
        EXPECT_EQ(tooLong.result, ENAMETOOLONG) << size;
        ExpectNothingOpen(tooLong);
    }
}

TEST(SharedObject, ANullNameIsRefused) {
    CSharedObject object;
    EXPECT_EQ(object.OpenSObj(nullptr), EINVAL);
    EXPECT_EQ(object.GetData(), nullptr);
}

TEST(SharedObject, WhatCannotBeOpenedIsToldAndLeftAlone) {
    const BlockName name;
    std::filesystem::create_directory(name.Path());
    Opened object(name.Get());
    EXPECT_EQ(object.result, EINVAL); // what the C library says of a directory
    ExpectNothingOpen(object);
    EXPECT_TRUE(name.Exists());
}

TEST(SharedObject, WithoutADescriptorToSpareNothingIsOpened) {
    const BlockName name;
    const Limited limit(RLIMIT_NOFILE, 3);
    Opened object(name.Get());
    EXPECT_EQ(object.result, EMFILE);
    ExpectNothingOpen(object);
}

TEST(SharedObject, WhatCannotBeSizedIsTold) {
    const BlockName name;
    const auto before = signal(SIGXFSZ, SIG_IGN);
    {
        const Limited limit(RLIMIT_FSIZE, 40);
        Opened object(name.Get());
        EXPECT_EQ(object.result, EFBIG);
        ExpectNothingOpen(object);
    }
    signal(SIGXFSZ, before);
}

TEST(SharedObject, WhatCannotBeMappedIsTold) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer needs memory of its own at any time";
#endif
    const BlockName name;
    const std::string text = name.Get();
    int result = 0;
    {
        const Limited limit(RLIMIT_AS, 1);
        CSharedObject object;
        result = object.OpenSObj(text.c_str());
        EXPECT_EQ(object.GetData(), nullptr);
    }
    EXPECT_EQ(result, ENOMEM);
}

TEST(SharedObject, TheDescriptorIsNever0AndNotInherited) {
    const BlockName name;
    const int saved = dup(STDIN_FILENO);
    close(STDIN_FILENO);
    const Opened object(name.Get());
    const bool zeroIsFree = fcntl(STDIN_FILENO, F_GETFD) == -1;
    if (saved != -1) {
        dup2(saved, STDIN_FILENO);
        close(saved);
    }
    EXPECT_EQ(object.result, 0);
    EXPECT_GT(object.Descriptor(), 0);
    EXPECT_TRUE(zeroIsFree);
    EXPECT_EQ(fcntl(object.Descriptor(), F_GETFD), FD_CLOEXEC);
}

TEST(SharedObject, TheLockKeepsOutThreadsThatShareAnObject) {
    const BlockName name;
    Opened object(name.Get());
    const auto work = [&] {
        for (int i = 0; i < 5000; ++i) {
            object.Lock();
            ++object.GetData()[7];
            object.Unlock();
        }
    };
    std::thread other(work);
    work();
    other.join();
    EXPECT_EQ(object.GetData()[7], 10000U);
}

TEST(SharedObject, TheLockKeepsOutOtherObjects) {
    const BlockName name;
    Opened object(name.Get());
    Opened other(name.Get());
    std::atomic<bool> entered{false};
    object.Lock();
    std::thread thread([&] {
        other.Lock();
        entered = true;
        other.Unlock();
    });
    usleep(200000);
    EXPECT_FALSE(entered);
    object.Unlock();
    thread.join();
    EXPECT_TRUE(entered);
}

// Each has its own object, and the name goes with the first that closes; so all open before.
TEST(SharedObject, TheLockKeepsOutOtherProcesses) {
    const BlockName name;
    Opened object(name.Get());
    std::vector<pid_t> children;
    for (int i = 0; i < 3; ++i) {
        const pid_t child = fork();
        if (child == 0) {
            CSharedObject own;
            bool good = own.OpenSObj(name.Get().c_str()) == 0;
            for (int k = 0; good && k < 5000; ++k) {
                own.Lock();
                volatile unsigned int& word = own.GetData()[7];
                word = word + 1;
                own.Unlock();
            }
            _exit(good ? 0 : 1); // without closing: the name stays
        }
        children.push_back(child);
    }
    for (const pid_t child : children) {
        int status = -1;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    }
    EXPECT_EQ(object.GetData()[7], 15000U);
}
