// The one thin seam between the USB session and the system's files. A signal whose handler returns
// ends none of these calls.
#pragma once

#include <sys/types.h>

#include <cstddef>

namespace uxvisa::sys {

// For reading and writing, close-on-exec; -1 when it cannot be opened. Never one of the standard
// descriptors, which a program may have closed: 0 stands for a closed session, and what the program
// prints must not go to an instrument.
int OpenDevice(const char* path);
ssize_t ReadDevice(int fd, void* data, std::size_t size);
ssize_t WriteDevice(int fd, const void* data, std::size_t size);
// Ends a reply that is under way on a USBTMC device.
int AbortBulkIn(int fd);
int CloseDevice(int fd);

// The first `size` bytes of a file, or as many as there are and can be read; -1 when it cannot be
// opened.
ssize_t ReadFileStart(const char* path, void* data, std::size_t size);

} // namespace uxvisa::sys
