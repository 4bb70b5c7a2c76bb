#include "tools/uxvisa/Descriptor.h"

#include <cerrno>
#include <cstdlib>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include "tools/uxvisa/Failure.h"

namespace uxvisa::tool {

namespace {

// 0 or the error number. A descriptor that someone else made non-blocking is waited for.
int WriteAll(int descriptor, std::string_view data) {
    while (!data.empty()) {
        const ssize_t written = ::write(descriptor, data.data(), data.size());
        if (written >= 0) {
            data.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno == EAGAIN) {
            pollfd writable{descriptor, POLLOUT, 0};
            ::poll(&writable, 1, -1);
        } else if (errno != EINTR) {
            return errno;
        }
    }
    return 0;
}

} // namespace

void Descriptor::Write(std::string_view data) const {
    const int error = WriteAll(m_number, data);
    if (error != 0) {
        Fail(error);
    }
}

void Descriptor::Fail(int error) const {
    throw Failure(ExitFailed, m_name, std::generic_category().message(error));
}

Descriptor StandardOutput() {
    return {STDOUT_FILENO, "standard output"};
}

void WriteDiagnostic(std::string_view text) {
    WriteAll(STDERR_FILENO, text);
}

void ReserveStandardDescriptors() {
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
        // Not close-on-exec and read-only, on purpose: what is written to it is reported as lost.
        if (::fcntl(descriptor, F_GETFD) == -1 && ::open("/dev/null", O_RDONLY) != descriptor) {
            std::_Exit(ExitFailed);
        }
    }
}

} // namespace uxvisa::tool
