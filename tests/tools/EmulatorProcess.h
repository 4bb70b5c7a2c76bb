// The emulator as a user starts it, on a port of its own.
#pragma once

#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

class Emulator {
public:
    explicit Emulator(std::vector<std::string> options) {
        std::vector<char*> words;
        options.insert(options.begin(), {"uxvisa-emulator", "--port", "0"});
        for (std::string& option : options) {
            words.push_back(option.data());
        }
        words.push_back(nullptr);
        int ends[2] = {};
        if (::pipe2(ends, O_CLOEXEC) != 0) {
            throw std::runtime_error("no pipe");
        }
        Start(words.data(), ends[1]);
        ::close(ends[1]);
        m_output = ::fdopen(ends[0], "r");
        int port = 0;
        if (std::fscanf(m_output, "listening on 127.0.0.1:%d", &port) != 1) {
            throw std::runtime_error("the emulator did not start");
        }
        m_resource = "TCPIP::127.0.0.1::" + std::to_string(port) + "::SOCKET";
    }
    ~Emulator() {
        if (m_child > 0) {
            ::kill(m_child, SIGTERM);
            ::waitpid(m_child, nullptr, 0);
        }
        std::fclose(m_output);
    }
    Emulator(const Emulator&) = delete;
    Emulator& operator=(const Emulator&) = delete;

    const std::string& Resource() const { return m_resource; }

private:
    void Start(char** words, int output) {
        posix_spawn_file_actions_t actions{};
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
        posix_spawn(&m_child, UXVISA_EMULATOR, &actions, nullptr, words, environ);
        posix_spawn_file_actions_destroy(&actions);
    }

    pid_t m_child = -1;
    std::FILE* m_output = nullptr;
    std::string m_resource;
};
