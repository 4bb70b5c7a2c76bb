#pragma once

#include "emulator/StreamClient.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

// The emulator of this build as a child process, with its outputs behind pipes. It is killed when
// the object goes, and by the kernel when the test dies.
class EmulatorProcess {
public:
    // At most `descriptors` may be open in the child at once; zero leaves that limit alone.
    explicit EmulatorProcess(std::vector<std::string> arguments, rlim_t descriptors = 0) {
        std::array<int, 2> out{};
        std::array<int, 2> err{};
        if (::pipe2(out.data(), O_CLOEXEC) != 0 || ::pipe2(err.data(), O_CLOEXEC) != 0) {
            throw std::system_error(errno, std::generic_category(), "pipe2");
        }
        std::vector<char*> words{m_program.data()};
        for (std::string& argument : arguments) {
            words.push_back(argument.data());
        }
        words.push_back(nullptr);
        m_child = ::fork();
        if (m_child == 0) {
            Become(words.data(), out[1], err[1], descriptors);
        }
        ::close(out[1]);
        ::close(err[1]);
        m_output = std::make_unique<StreamClient>(out[0]);
        m_errors = std::make_unique<StreamClient>(err[0]);
    }

    EmulatorProcess(const EmulatorProcess&) = delete;
    EmulatorProcess& operator=(const EmulatorProcess&) = delete;

    ~EmulatorProcess() {
        if (m_child > 0) {
            Signal(SIGKILL);
            ::waitpid(m_child, nullptr, 0);
        }
    }

    // The port that the child says it listens on.
    std::uint16_t Port() {
        if (m_port == 0) {
            const std::string line = m_output->ReadLine();
            const std::string lead = "listening on 127.0.0.1:";
            if (!line.starts_with(lead)) {
                throw std::runtime_error("unexpected output: " + line);
            }
            m_port = static_cast<std::uint16_t>(std::stoul(line.substr(lead.size())));
        }
        return m_port;
    }

    StreamClient Connect() { return StreamClient::Connect(Port()); }

    void Signal(int number) const { ::kill(m_child, number); }

    // The exit code, or 128 and more for a death by signal.
    int Wait() {
        int status = 0;
        ::waitpid(std::exchange(m_child, -1), &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }

    // The next line that the child prints, which names the address of one service.
    std::string PrintedLine() { return m_output->ReadLine(); }

    // What is left to read there, up to the end of the child.
    std::string Output() { return m_output->ReadToEnd(); }
    std::string Errors() { return m_errors->ReadToEnd(); }

    pid_t Id() const { return m_child; }

private:
    [[noreturn]] static void Become(char** words, int out, int err, rlim_t descriptors) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        ::dup2(out, STDOUT_FILENO);
        ::dup2(err, STDERR_FILENO);
        // Whatever the caller of the test left open would count against the limit below.
        ::close_range(STDERR_FILENO + 1, ~0U, 0);
        if (descriptors != 0) {
            const rlimit limit{descriptors, descriptors};
            ::setrlimit(RLIMIT_NOFILE, &limit);
        }
        ::execv(words[0], words);
        ::_exit(127);
    }

    std::string m_program = UXVISA_EMULATOR;
    pid_t m_child = -1;
    std::unique_ptr<StreamClient> m_output;
    std::unique_ptr<StreamClient> m_errors;
    std::uint16_t m_port = 0;
};
