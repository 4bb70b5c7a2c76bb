#include "tools/ToolRun.h"

#include <array>
#include <chrono>
#include <csignal>
#include <stdexcept>
#include <system_error>
#include <thread>

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
    void OpenInput(const std::string& path) {
        posix_spawn_file_actions_addopen(&m_actions, STDIN_FILENO, path.c_str(), O_RDONLY, 0);
    }
    void ChangeDirectory(const std::string& path) {
        posix_spawn_file_actions_addchdir_np(&m_actions, path.c_str());
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
    if (!streams.inputPath.empty()) {
        actions.OpenInput(streams.inputPath);
    }
    if (!streams.directory.empty()) {
        actions.ChangeDirectory(streams.directory);
    }
}

bool Await(const Capture& capture, const std::string& text) {
    for (int tries = 0; tries < 2000; ++tries) {
        if (capture.Text().find(text) != std::string::npos) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

} // namespace

struct RunningTool::Streams {
    Capture output;
    Capture error;
    std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
};

RunningTool::RunningTool(const std::vector<std::string>& arguments, const ToolStreams& streams)
    : m_streams(std::make_unique<Streams>()) {
    SpawnActions actions;
    Connect(actions, streams, m_streams->output, m_streams->error);
    m_child = Spawn(arguments, actions);
}

RunningTool::~RunningTool() {
    if (m_child > 0) {
        ::kill(m_child, SIGKILL);
        ::waitpid(m_child, nullptr, 0);
    }
}

void RunningTool::Signal(int number) const {
    ::kill(m_child, number);
}

bool RunningTool::AwaitOutput(const std::string& text) const {
    return Await(m_streams->output, text);
}

bool RunningTool::AwaitError(const std::string& text) const {
    return Await(m_streams->error, text);
}

ToolResult RunningTool::Wait() {
    int status = 0;
    rusage usage{};
    if (::wait4(m_child, &status, 0, &usage) != m_child) {
        throw std::system_error(errno, std::generic_category(), "wait4");
    }
    m_child = -1;
    const std::chrono::duration<double> elapsed =
        std::chrono::steady_clock::now() - m_streams->start;
    const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return {code, m_streams->output.Text(), m_streams->error.Text(), usage.ru_maxrss,
            elapsed.count()};
}

ToolResult RunTool(const std::vector<std::string>& arguments, const ToolStreams& streams) {
    return RunningTool(arguments, streams).Wait();
}
