#include "support/Namespace.h"

#include <cerrno>
#include <cstdlib>
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
    Ip("link add wire type veth peer name wire netns " + other.Path());
    Ip("address add " + ownAddress + "/24 dev wire");
    Ip("link set wire up");
    other.Ip("address add " + otherAddress + "/24 dev wire");
    other.Ip("link set wire up");
}

std::string NetworkNamespace::Path() const {
    return "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(m_namespace.Get());
}

Lan::Lan() {
    m_switch.Ip("link add bridge type bridge");
    m_switch.Ip("link set bridge up");
}

void Lan::Attach(const NetworkNamespace& host, const std::string& interface,
                 const std::string& address) {
    const std::string port = "port" + std::to_string(m_ports++);
    m_switch.Ip("link add " + port + " type veth peer name " + interface + " netns " + host.Path());
    m_switch.Ip("link set " + port + " master bridge up");
    host.Ip("address add " + address + "/24 brd + dev " + interface);
    host.Ip("link set " + interface + " up");
}

void SkipUnlessAvailable(const std::string& reason) {
    if (!reason.empty()) {
        const char* continuous = std::getenv("CI");
        ASSERT_FALSE(continuous != nullptr && std::string(continuous) == "true") << reason;
        GTEST_SKIP() << reason;
    }
}

void NamespaceTest::SetUp() {
    SkipUnlessAvailable(NetworkNamespace::WhyUnavailable());
}

} // namespace uxvisa::test
