#include "tools/ToolRun.h"

#include <array>
#include <chrono>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// A file in memory takes any amount of output without a reader.
class Capture {
public:
    Capture() : m_descriptor(::memfd_create("capture", MFD_CLOEXEC)) {
        if (m_descriptor == -1) {
            throw std::system_error(errno, std::generic_category(), "memfd_create");
        }
    }
    ~Capture() { ::close(m_descriptor); }
    Capture(const Capture&) = delete;
    Capture& operator=(const Capture&) = delete;

    int Number() const { return m_descriptor; }
    std::string Text() const {
        std::string text;
        std::array<char, 65536> piece{};
        for (ssize_t size = 1; size > 0;) {
            size =
                ::pread(m_descriptor, piece.data(), piece.size(), static_cast<off_t>(text.size()));
            text.append(piece.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
        }
        return text;
    }

private:
    int m_descriptor;
};

class SpawnActions {
public:
    SpawnActions() { posix_spawn_file_actions_init(&m_actions); }
    ~SpawnActions() { posix_spawn_file_actions_destroy(&m_actions); }
    SpawnActions(const SpawnActions&) = delete;
    SpawnActions& operator=(const SpawnActions&) = delete;

    void Connect(int from, int to) { posix_spawn_file_actions_adddup2(&m_actions, from, to); }
    void Open(const std::string& path, int to) {
        posix_spawn_file_actions_addopen(&m_actions, to, path.c_str(), O_WRONLY, 0);
    }
    void Close(int descriptor) { posix_spawn_file_actions_addclose(&m_actions, descriptor); }
    const posix_spawn_file_actions_t* Get() const { return &m_actions; }

private:
    posix_spawn_file_actions_t m_actions{};
};

pid_t Spawn(const std::vector<std::string>& arguments, const SpawnActions& actions) {
    std::vector<std::string> words{"uxvisa"};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    pointers.reserve(words.size() + 1);
    for (std::string& word : words) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
    pid_t child = -1;
    const int error =
        posix_spawn(&child, UXVISA_TOOL, actions.Get(), nullptr, pointers.data(), environ);
    if (error != 0) {
        throw std::system_error(error, std::generic_category(), "posix_spawn");
    }
    return child;
}

void Connect(SpawnActions& actions, const ToolStreams& streams, const Capture& output,
             const Capture& error) {
    actions.Connect(streams.output == -1 ? output.Number() : streams.output, STDOUT_FILENO);
    actions.Connect(streams.error == -1 ? error.Number() : streams.error, STDERR_FILENO);
    if (!streams.outputPath.empty()) {
        actions.Open(streams.outputPath, STDOUT_FILENO);
    }
    if (streams.closesOutput) {
        actions.Close(STDOUT_FILENO);
    }
    if (streams.closesInput) {
        actions.Close(STDIN_FILENO);
    }
}

} // namespace

ToolResult RunTool(const std::vector<std::string>& arguments, const ToolStreams& streams) {
    const Capture output;
    const Capture error;
    SpawnActions actions;
    Connect(actions, streams, output, error);
    const auto start = std::chrono::steady_clock::now();
    const pid_t child = Spawn(arguments, actions);
    int status = 0;
    rusage usage{};
    if (::wait4(child, &status, 0, &usage) != child) {
        throw std::system_error(errno, std::generic_category(), "wait4");
    }
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return {code, output.Text(), error.Text(), usage.ru_maxrss, elapsed.count()};
}
