// A terminal for a program to write to.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <thread>

#include <pty.h>
#include <termios.h>
#include <unistd.h>

// A terminal whose user reads along.
class Terminal {
public:
    Terminal() {
        termios raw{};
        ::cfmakeraw(&raw);
        EXPECT_EQ(::openpty(&m_master, &m_slave, nullptr, &raw, nullptr), 0);
        m_reader = std::thread([this] { ReadAlong(); });
    }
    ~Terminal() {
        Text();
        ::close(m_master);
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    int Slave() const { return m_slave; }
    // All that was shown; ends the terminal.
    const std::string& Text() {
        if (m_reader.joinable()) {
            ::close(m_slave);
            m_reader.join();
        }
        return m_text;
    }

private:
    void ReadAlong() {
        std::array<char, 4096> piece{};
        for (ssize_t size = 1; size > 0;) {
            size = ::read(m_master, piece.data(), piece.size());
            m_text.append(piece.data(), size > 0 ? static_cast<std::size_t>(size) : 0);
        }
    }

    int m_master = -1;
    int m_slave = -1;
    std::string m_text;
    std::thread m_reader;
};
