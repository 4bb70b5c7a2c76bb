#include "tools/uxvisa/OutputDiversion.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <string>
#include <thread>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include "tools/uxvisa/Descriptor.h"
#include "tools/uxvisa/Failure.h"

using uxvisa::tool::OutputDiversion;
using Target = OutputDiversion::Target;

namespace {

// Stands in for a standard stream, and gives it back at the end.
class Capture {
public:
    explicit Capture(int stream)
        : m_stream(stream), m_saved(::fcntl(stream, F_DUPFD_CLOEXEC, 3)),
          m_file(::memfd_create("capture", MFD_CLOEXEC)) {
        std::fflush(nullptr);
        ::dup2(m_file, m_stream);
    }
    ~Capture() {
        std::fflush(nullptr);
        ::dup2(m_saved, m_stream);
        ::close(m_saved);
        ::close(m_file);
    }
    Capture(const Capture&) = delete;
    Capture& operator=(const Capture&) = delete;

    std::string Text() const {
        std::fflush(nullptr);
        std::array<char, 65536> text{};
        const ssize_t size = ::pread(m_file, text.data(), text.size(), 0);
        return {text.data(), static_cast<std::size_t>(size)};
    }

private:
    int m_stream;
    int m_saved;
    int m_file;
};

void WriteOut(const char* text) {
    EXPECT_GT(::write(STDOUT_FILENO, text, std::char_traits<char>::length(text)), 0);
}

int OpenDescriptors() {
    int count = 0;
    for (int i = 0; i < 1024; ++i) {
        count += ::fcntl(i, F_GETFD) == -1 ? 0 : 1;
    }
    return count;
}

} // namespace

TEST(OutputDiversion, KeepsWhatIsPrintedOutOfTheOutput) {
    const Capture output(STDOUT_FILENO);
    {
        const OutputDiversion diversion(Target::Nowhere);
        std::printf("IDs:0957\t1796\n");
        WriteOut("aside");
    }
    WriteOut("own");
    EXPECT_EQ(output.Text(), "own");
}

TEST(OutputDiversion, TakesWhatWasBufferedBeforeForOutput) {
    const Capture output(STDOUT_FILENO);
    std::printf("before ");
    {
        const OutputDiversion diversion(Target::Nowhere);
        std::printf("during ");
    }
    std::printf("after");
    EXPECT_EQ(output.Text(), "before after");
}

TEST(OutputDiversion, PassesItToStandardError) {
    const Capture output(STDOUT_FILENO);
    const Capture error(STDERR_FILENO);
    {
        const OutputDiversion diversion(Target::StandardError);
        std::printf("No such file\n");
    }
    WriteOut("own");
    EXPECT_EQ(output.Text(), "own");
    EXPECT_EQ(error.Text(), "No such file\n");
}

TEST(OutputDiversion, CanBeNested) {
    const Capture output(STDOUT_FILENO);
    const Capture error(STDERR_FILENO);
    {
        const OutputDiversion outer(Target::StandardError);
        {
            const OutputDiversion inner(Target::Nowhere);
            WriteOut("inner");
        }
        WriteOut("outer");
    }
    WriteOut("own");
    EXPECT_EQ(error.Text(), "outer");
    EXPECT_EQ(output.Text(), "own");
}

TEST(OutputDiversion, HoldsForEveryThread) {
    const Capture output(STDOUT_FILENO);
    std::atomic<bool> isOver = false;
    {
        const OutputDiversion diversion(Target::Nowhere);
        std::thread printer([&isOver] {
            while (!isOver) {
                std::printf("IDs:0957\t1796\n");
            }
        });
        ::usleep(20000);
        isOver = true;
        printer.join();
    }
    EXPECT_EQ(output.Text(), "");
}

TEST(OutputDiversion, LeavesNoDescriptorOpen) {
    const int before = OpenDescriptors();
    for (const Target target : {Target::Nowhere, Target::StandardError}) {
        const OutputDiversion diversion(target);
    }
    EXPECT_EQ(OpenDescriptors(), before);
}

TEST(OutputDiversion, WithoutADescriptorFailsAndDivertsNothing) {
    // Sanitizers check a class at its first use, and need a descriptor for that.
    EXPECT_THROW(uxvisa::tool::Descriptor(STDOUT_FILENO, "").Fail(EMFILE), uxvisa::tool::Failure);
    const Capture output(STDOUT_FILENO);
    const int before = OpenDescriptors();
    rlimit limit{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
    const int lowest = ::fcntl(STDIN_FILENO, F_DUPFD, 3);
    ::close(lowest);
    for (const int more : {0, 1}) {
        rlimit none{static_cast<rlim_t>(lowest + more), limit.rlim_max};
        ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
        EXPECT_THROW(OutputDiversion diversion(Target::Nowhere), uxvisa::tool::Failure);
        ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
    }
    WriteOut("own");
    EXPECT_EQ(output.Text(), "own");
    EXPECT_EQ(OpenDescriptors(), before);
}
