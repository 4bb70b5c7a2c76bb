#include "support/Namespace.h"

#include <cerrno>
#include <cstring>
#include <future>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <vector>

#include <fcntl.h>
#include <sched.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace uxvisa::test {

namespace {

std::runtime_error SystemFailure(const std::string& what) {
    return std::runtime_error(what + ": " + std::strerror(errno));
}

void InAThread(const std::function<void()>& work) {
    std::async(std::launch::async, work).get();
}

Descriptor OpenNewNamespace() {
    Descriptor opened;
    InAThread([&] {
        if (unshare(CLONE_NEWNET) != 0) {
            throw SystemFailure("a network namespace cannot be made");
        }
        opened = Descriptor(open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC));
        if (opened.Get() == -1) {
            throw SystemFailure("a network namespace cannot be opened");
        }
    });
    return opened;
}

int ExitCode(pid_t child) {
    int status = 0;
    while (waitpid(child, &status, 0) == -1 && errno == EINTR) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// -1 when the program cannot be started.
int Run(std::vector<std::string> words) {
    std::vector<char*> arguments;
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t quietly;
    posix_spawn_file_actions_init(&quietly);
    posix_spawn_file_actions_addopen(&quietly, 1, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    const int failed =
        posix_spawnp(&child, arguments[0], &quietly, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&quietly);
    return failed == 0 ? ExitCode(child) : -1;
}

} // namespace

std::string NetworkNamespace::WhyUnavailable() {
    try {
        OpenNewNamespace();
    } catch (const std::runtime_error& failure) {
        return failure.what();
    }
    return Run({"ip", "-V"}) == 0 ? "" : "the ip command is missing";
}

NetworkNamespace::NetworkNamespace() : m_namespace(OpenNewNamespace()) {
    Ip("link set lo up");
}

void NetworkNamespace::Do(const std::function<void()>& work) const {
    InAThread([&] {
        if (setns(m_namespace.Get(), CLONE_NEWNET) != 0) {
            throw SystemFailure("a network namespace cannot be entered");
        }
        work();
    });
}

void NetworkNamespace::Ip(const std::string& words) const {
    std::istringstream text("ip " + words);
    const std::vector<std::string> command{std::istream_iterator<std::string>(text), {}};
    Do([&] { EXPECT_EQ(Run(command), 0) << "ip " << words; });
}

void NetworkNamespace::WireTo(const NetworkNamespace& other, const std::string& ownAddress,
                              const std::string& otherAddress) const {
    const std::string there =
        "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(other.m_namespace.Get());
    Ip("link add wire type veth peer name wire netns " + there);
    Ip("address add " + ownAddress + "/24 dev wire");
    Ip("link set wire up");
    other.Ip("address add " + otherAddress + "/24 dev wire");
    other.Ip("link set wire up");
}

} // namespace uxvisa::test
