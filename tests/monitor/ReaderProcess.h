// A MonitorReader that runs.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <string>
#include <vector>

extern char** environ;

namespace uxvisa::test {

class ReaderProcess {
public:
    // Returns when it watches.
    ReaderProcess(const std::string& resource, const std::string& mode, long count = 0) {
        int ends[2] = {-1, -1};
        EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
        std::vector<std::string> words{UXVISA_MONITOR_READER, resource, mode,
                                       std::to_string(count)};
        std::vector<char*> arguments;
        for (std::string& word : words) {
            arguments.push_back(word.data());
        }
        arguments.push_back(nullptr);
        EXPECT_EQ(
            posix_spawn(&m_pid, words[0].c_str(), &actions, nullptr, arguments.data(), environ), 0);
        posix_spawn_file_actions_destroy(&actions);
        close(ends[1]);
        m_output = ends[0];
        EXPECT_EQ(Line(), "open");
    }
    ~ReaderProcess() {
        Kill();
        close(m_output);
    }
    ReaderProcess(const ReaderProcess&) = delete;
    ReaderProcess& operator=(const ReaderProcess&) = delete;

    // Without its line feed; what there is when the process ends or says nothing for two minutes.
    std::string Line() {
        std::string line;
        pollfd waited{m_output, POLLIN, 0};
        char c = 0;
        while (poll(&waited, 1, 120000) == 1 && read(m_output, &c, 1) == 1 && c != '\n') {
            line += c;
        }
        return line;
    }
    void Kill() {
        if (m_pid > 0) {
            kill(m_pid, SIGKILL);
            waitpid(m_pid, nullptr, 0);
        }
        m_pid = -1;
    }
    // The exit status.
    int Wait() {
        int status = -1;
        waitpid(m_pid, &status, 0);
        m_pid = -1;
        return status;
    }

private:
    pid_t m_pid = -1;
    int m_output = -1;
};

} // namespace uxvisa::test
