#include "tools/uxvisa/ActivityLine.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <unistd.h>

#include "tools/Terminal.h"

using namespace uxvisa::tool;
using testing::EndsWith;
using testing::StartsWith;

namespace {

// Standard error goes to the descriptor while the work is done.
template <typename Work>
void WithErrorAt(int descriptor, const Work& work) {
    const int saved = ::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3);
    ::dup2(descriptor, STDERR_FILENO);
    work();
    ::dup2(saved, STDERR_FILENO);
    ::close(saved);
}

} // namespace

TEST(ActivityLine, TellsTheTimeInTenths) {
    EXPECT_EQ(ActivityText("searching", 0), "searching 0.0 s");
    EXPECT_EQ(ActivityText("searching", 1.26), "searching 1.3 s");
}

TEST(ActivityLine, IsErasedAtTheEnd) {
    Terminal terminal;
    WithErrorAt(terminal.Slave(), [] {
        const ActivityLine line("working");
        ::usleep(250000);
    });
    EXPECT_THAT(terminal.Text(), StartsWith("\rworking 0.0 s\rworking 0."));
    EXPECT_THAT(terminal.Text(), EndsWith(" s\r             \r"));
}

TEST(ActivityLine, IsErasedAlsoWhenNothingTookTime) {
    Terminal terminal;
    WithErrorAt(terminal.Slave(), [] { const ActivityLine line("working"); });
    EXPECT_EQ(terminal.Text(), "\rworking 0.0 s\r             \r");
}

TEST(ActivityLine, IsNotShownWithoutATerminal) {
    int ends[2] = {};
    ASSERT_EQ(::pipe2(ends, O_CLOEXEC | O_NONBLOCK), 0);
    WithErrorAt(ends[1], [] {
        const ActivityLine line("working");
        ::usleep(150000);
    });
    char byte = 0;
    EXPECT_EQ(::read(ends[0], &byte, 1), -1) << "nothing was written";
    ::close(ends[0]);
    ::close(ends[1]);
}
