// The one thin seam between the stream transports and the system, so that tests can put faults
// here. Every function returns what the system call returns and leaves errno as it does.
#pragma once

#include <sys/socket.h>
#include <sys/types.h>

#include <cstddef>

namespace uxvisa::sys {

// Close-on-exec is always added.
int Socket(int domain, int type, int protocol);
int Connect(int fd, const sockaddr* address, socklen_t length);
// Never raises SIGPIPE; starts again after a signal, as Receive does.
ssize_t Send(int fd, const void* data, std::size_t size);
ssize_t Receive(int fd, void* data, std::size_t size, int flags);
int SetOption(int fd, int level, int name, int value);
// The value of SO_ERROR; 0 when it cannot be had.
int PendingError(int fd);
// The same, but false and `error` as it was when it cannot be had.
bool TakePendingError(int fd, int& error);
int SetNonBlocking(int fd);
int ShutdownSending(int fd);
int Close(int fd);

// Waits until one of `events` (as for poll) or an error is there, `timeoutMs` at the most. The
// result is poll's: 1, 0 for a time-out, -1 (EINTR among others).
int Wait(int fd, short events, int timeoutMs);
// Sleeps the whole time, signals or not.
void Pause(long microseconds);

} // namespace uxvisa::sys
