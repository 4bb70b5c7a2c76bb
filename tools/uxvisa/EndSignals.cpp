#include "tools/uxvisa/EndSignals.h"

#include <algorithm>
#include <cerrno>
#include <climits>

#include <poll.h>
#include <pthread.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include "tools/uxvisa/Failure.h"

namespace uxvisa::tool {

namespace {

sigset_t EndingSignals() {
    sigset_t set{};
    sigemptyset(&set);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        sigaddset(&set, number);
    }
    return set;
}

} // namespace

EndSignals::EndSignals() {
    const sigset_t ending = EndingSignals();
    m_news = ::signalfd(-1, &ending, SFD_CLOEXEC | SFD_NONBLOCK);
    if (m_news == -1) {
        throw Failure(ExitFailed, "", "there is no descriptor left for signals");
    }
    pthread_sigmask(SIG_BLOCK, &ending, &m_before);
}

// What has come is taken first: let through, it would end the program after all.
EndSignals::~EndSignals() {
    signalfd_siginfo taken{};
    while (::read(m_news, &taken, sizeof taken) == sizeof taken) {
    }
    ::close(m_news);
    pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
}

bool EndSignals::HaveCome() const {
    pollfd news{m_news, POLLIN, 0};
    return ::poll(&news, 1, 0) == 1;
}

// A pipe that has room takes this much without blocking.
void EndSignals::WriteUntil(const Descriptor& output, std::string_view data) const {
    while (!data.empty() && AwaitRoom(output.Number())) {
        const std::string_view piece = data.substr(0, PIPE_BUF);
        const ssize_t written = ::write(output.Number(), piece.data(), piece.size());
        if (written >= 0) {
            data.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno != EINTR && errno != EAGAIN) {
            output.Fail(errno);
        }
    }
}

bool EndSignals::AwaitRoom(int descriptor) const {
    pollfd waited[] = {{m_news, POLLIN, 0}, {descriptor, POLLOUT, 0}};
    while (::poll(waited, 2, -1) == -1 && errno == EINTR) {
    }
    return waited[1].revents != 0;
}

} // namespace uxvisa::tool
