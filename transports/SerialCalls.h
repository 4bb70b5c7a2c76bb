// The one thin seam between the serial transport and the system's terminals, so that tests can put
// another machine here. Every function returns what the system call returns and leaves errno as it
// does; a signal ends none of them.
#pragma once

#include <sys/types.h>
#include <termios.h>

#include <cstddef>

namespace uxvisa::sys {

// For reading and writing, without waiting for a carrier or data, close-on-exec, and never as the
// program's controlling terminal. Never one of the standard descriptors, which a program may have
// closed: 0 stands for a closed session, and what the program prints must not go to an instrument.
int OpenTerminal(const char* path);
int GetTerminalSettings(int fd, termios& settings);
// `when` is TCSANOW or TCSAFLUSH.
int SetTerminalSettings(int fd, int when, const termios& settings);
int CountWaitingBytes(int fd, int& count);
ssize_t ReadTerminal(int fd, void* data, std::size_t size);
ssize_t WriteTerminal(int fd, const void* data, std::size_t size);
int DrainTerminal(int fd);
// 0 is a port that the driver knows nothing about.
int GetSerialPortType(int fd, int& type);

} // namespace uxvisa::sys
