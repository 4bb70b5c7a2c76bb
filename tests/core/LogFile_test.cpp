#include "core/LogFile.h"

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <clocale>
#include <ctime>
#include <deque>
#include <filesystem>
#include <locale>
#include <string>
#include <utility>
#include <vector>

#include "tools/TemporaryDirectory.h"

using testing::ElementsAre;
using testing::Pair;

namespace {

// What the wall clock says next, in milliseconds; the real time when there is nothing.
std::deque<unsigned long> nextTicks;
std::vector<std::pair<int, std::string>> locales;

constexpr const char* Footer =
    "\r\n---------------------------- Log closed ----------------------------";

} // namespace

// Stand in for the C library's in this program.
extern "C" int clock_gettime(clockid_t clock, timespec* time) noexcept {
    if (clock == CLOCK_REALTIME && !nextTicks.empty()) {
        *time = {static_cast<time_t>(nextTicks.front() / 1000),
                 static_cast<long>(nextTicks.front() % 1000) * 1000000};
        nextTicks.pop_front();
        return 0;
    }
    return static_cast<int>(syscall(SYS_clock_gettime, clock, time));
}

extern "C" char* setlocale(int category, const char* name) noexcept {
    using Function = char* (*)(int, const char*);
    if (name != nullptr) {
        locales.emplace_back(category, name);
    }
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, "setlocale"))(category, name);
}

namespace {

class LogFile : public ::testing::Test {
protected:
    void SetUp() override {
        std::filesystem::create_directory(directory.File("work"));
        std::filesystem::current_path(directory.File("work"));
    }
    void TearDown() override {
        nextTicks.clear();
        std::filesystem::current_path(before);
    }

    std::string Contents(const std::string& name = "a.log") const {
        return FileContents(directory.File("work\\orvane lumen\\" + name));
    }
    std::size_t FileCount() const {
        const auto all = std::filesystem::recursive_directory_iterator(directory.File("."));
        return static_cast<std::size_t>(std::distance(begin(all), end(all)));
    }

    const std::filesystem::path before = std::filesystem::current_path();
    TemporaryDirectory directory;
};

std::string Stamp(std::time_t time, const char* format) {
    std::tm local{};
    localtime_r(&time, &local);
    char text[256];
    return {text, std::strftime(text, sizeof text, format, &local)};
}

// `pattern` with the stamps of some second in the range: %F and %T are replaced.
bool MatchesWithin(std::time_t from, std::time_t to, const std::string& text,
                   const std::string& pattern) {
    for (std::time_t second = from; second <= to; ++second) {
        if (Stamp(second, pattern.c_str()) == text) {
            return true;
        }
    }
    return false;
}

// Cuts off the header of a log made since `from`, or fails.
std::string BehindHeader(const std::string& contents, std::time_t from) {
    const std::string pattern =
        "\r\n\r\n------------------- Log started %F [%T] ----------------------------";
    const std::size_t size = Stamp(from, pattern.c_str()).size();
    EXPECT_TRUE(MatchesWithin(from, std::time(nullptr), contents.substr(0, size), pattern))
        << contents;
    return contents.substr(std::min(size, contents.size()));
}

} // namespace

TEST_F(LogFile, IsAHeaderEntriesAndAFooter) {
    const std::time_t start = std::time(nullptr);
    nextTicks = {5000, 5250, 5250, 5263, 5263};
    {
        CLogFile log("a.log");
        log.AddString("one");
        log.AddDateTimeString("when");
        log.AddString("");
    }
    const std::string rest = BehindHeader(Contents(), start);
    const std::size_t first = rest.find("\r\n", 2);
    const std::size_t second = rest.find("\r\n", first + 2);
    const std::size_t third = rest.find("\r\n", second + 2);
    ASSERT_NE(third, std::string::npos);
    const std::time_t end = std::time(nullptr);
    EXPECT_TRUE(MatchesWithin(start, end, rest.substr(0, first), "\r\n[%T - 250 ms after] one"))
        << rest;
    EXPECT_TRUE(MatchesWithin(start, end, rest.substr(first, second - first), "\r\n%F [%T] when"))
        << rest;
    EXPECT_TRUE(
        MatchesWithin(start, end, rest.substr(second, third - second), "\r\n[%T - 13 ms after] "))
        << rest;
    EXPECT_EQ(rest.substr(third), Footer);
}

TEST_F(LogFile, CountsRealTimeFromCreationAndFromTheEntryBefore) {
    {
        CLogFile log("a.log");
        usleep(50000);
        log.AddString("first");
        usleep(250000);
        log.AddString("second");
    }
    const std::string contents = Contents();
    int first = 0;
    int second = 0;
    ASSERT_EQ(std::sscanf(contents.c_str() + contents.find(" - "), " - %d ms after] first", &first),
              1);
    ASSERT_EQ(
        std::sscanf(contents.c_str() + contents.rfind(" - "), " - %d ms after] second", &second),
        1);
    EXPECT_GE(first, 49);
    EXPECT_LT(first, 5000);
    EXPECT_GE(second, 249);
    EXPECT_LT(second, 5000);
}

TEST_F(LogFile, LiesBesideTheWorkingDirectoryUnderANameWithBackslashesOnPurpose) {
    { CLogFile log("a.log"); }
    EXPECT_TRUE(std::filesystem::is_regular_file(directory.File("work\\orvane lumen\\a.log")));
    EXPECT_TRUE(std::filesystem::is_empty(directory.File("work")));
    EXPECT_EQ(FileCount(), 2U);
}

TEST_F(LogFile, LineEndsStandBeforeEveryEntryAndNotBehindItOnPurpose) {
    {
        CLogFile log("a.log");
        log.AddString("one");
        EXPECT_EQ(Contents().substr(Contents().size() - 3), "one");
    }
    EXPECT_EQ(Contents().substr(0, 4), "\r\n\r\n");
    EXPECT_EQ(Contents().back(), '-');
}

TEST_F(LogFile, AnEntryReadsTheClockTwiceOnPurpose) {
    const std::time_t start = std::time(nullptr);
    nextTicks = {1000, 1100, 1190, 1200, 1200};
    {
        CLogFile log("a.log");
        log.AddString("told 100");
        log.AddString("told 10, not 100");
    }
    const std::string rest = BehindHeader(Contents(), start);
    EXPECT_NE(rest.find(" - 100 ms after] told 100"), std::string::npos) << rest;
    EXPECT_NE(rest.find(" - 10 ms after] told 10, not 100"), std::string::npos) << rest;
}

TEST_F(LogFile, SetsTwoLocalesAroundTheOpeningOnPurpose) {
    locales.clear();
    { CLogFile log("a.log"); }
    EXPECT_THAT(locales, ElementsAre(Pair(LC_ALL, "Russian"), Pair(LC_ALL, "English")));
}

TEST_F(LogFile, ANullTextWritesNothingAndLeavesTheClockAlone) {
    const std::time_t start = std::time(nullptr);
    nextTicks = {1000, 1500, 1500};
    {
        CLogFile log("a.log");
        log.AddString(nullptr);
        log.AddDateTimeString(nullptr);
        EXPECT_EQ(BehindHeader(Contents(), start), "");
        EXPECT_EQ(nextTicks.size(), 2U);
        log.AddString("x");
    }
    EXPECT_NE(Contents().find(" - 500 ms after] x"), std::string::npos);
}

TEST_F(LogFile, EmptiesAFileOfTheSameName) {
    WriteFile(directory.File("work\\orvane lumen\\a.log"), std::string(5000, 'o'));
    const std::time_t start = std::time(nullptr);
    { CLogFile log("a.log"); }
    EXPECT_EQ(BehindHeader(Contents(), start), Footer);
}

TEST_F(LogFile, WhatIsShiftedInHasNoPrefixAndIsNotFlushed) {
    const std::time_t start = std::time(nullptr);
    CLogFile log("a.log");
    log << "text " << std::string("and \0 zero", 10) << -17;
    EXPECT_EQ(BehindHeader(Contents(), start), "");
    log.Flush();
    EXPECT_EQ(BehindHeader(Contents(), start), std::string("text and \0 zero-17", 18));
    std::ofstream& stream = log;
    stream << "own";
    log.Flush();
    EXPECT_EQ(BehindHeader(Contents(), start), std::string("text and \0 zero-17own", 21));
}

namespace {

class Grouped : public std::numpunct<char> {
    char do_thousands_sep() const override { return '\''; }
    std::string do_grouping() const override { return "\3"; }
};

} // namespace

TEST_F(LogFile, OwnTextDependsOnNoLocaleAndNoFieldWidth) {
    const std::time_t start = std::time(nullptr);
    const std::locale former = std::locale::global({std::locale::classic(), new Grouped});
    nextTicks = {0, 1234567, 1234567};
    {
        CLogFile log("a.log");
        static_cast<std::ofstream&>(log).width(40);
        log << 7654321;
        log.AddString("x");
    }
    std::locale::global(former);
    const std::string rest = BehindHeader(Contents(), start);
    EXPECT_EQ(rest.substr(0, 9), "7654321\r\n");
    EXPECT_NE(rest.find(" - 1234567 ms after] x"), std::string::npos) << rest;
}

TEST_F(LogFile, AnElapsedTimeIsToldIn32Bits) {
    nextTicks = {1000, 1000 + 2147483648UL, 0};
    { CLogFile("a.log").AddString("x"); }
    EXPECT_NE(Contents().find(" - -2147483648 ms after] x"), std::string::npos);
}

TEST_F(LogFile, EntriesAreThereWhenTheProcessDies) {
    const std::time_t start = std::time(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        nextTicks = {1000, 1001, 1001};
        CLogFile log("a.log");
        log.AddString("last words");
        _exit(0);
    }
    ASSERT_EQ(waitpid(child, nullptr, 0), child);
    const std::string rest = BehindHeader(Contents(), start);
    EXPECT_TRUE(MatchesWithin(start, std::time(nullptr), rest, "\r\n[%T - 1 ms after] last words"))
        << rest;
}

namespace {

void UseAll(CLogFile& log) {
    log.AddString("x");
    log.AddDateTimeString("x");
    log << "x" << 1;
    log.Flush();
    static_cast<std::ofstream&>(log) << "x" << std::endl;
    log << "x";
    log.Flush();
    log.AddString("x");
}

} // namespace

TEST_F(LogFile, ADirectoryThatIsGoneMeansNoFile) {
    std::filesystem::remove(directory.File("work"));
    {
        CLogFile log("a.log");
        UseAll(log);
        EXPECT_FALSE(static_cast<std::ofstream&>(log).is_open());
    }
    EXPECT_EQ(FileCount(), 0U);
}

TEST_F(LogFile, ADirectoryOfThousandBytesMeansNoFile) {
    const std::string deep(250, 'd');
    for (int depth = 0; depth < 4; ++depth) {
        std::filesystem::create_directory(deep);
        std::filesystem::current_path(deep);
    }
    {
        CLogFile log("a.log");
        UseAll(log);
    }
    std::filesystem::current_path(before);
    EXPECT_EQ(FileCount(), 5U);
}

TEST_F(LogFile, AFileThatCannotBeOpenedIsSilence) {
    {
        CLogFile log("absent/a.log");
        UseAll(log);
        EXPECT_FALSE(static_cast<std::ofstream&>(log).is_open());
        CLogFile nameless(nullptr);
        UseAll(nameless);
    }
    EXPECT_EQ(FileCount(), 1U);
}
