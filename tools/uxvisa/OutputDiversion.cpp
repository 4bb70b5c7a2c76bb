#include "tools/uxvisa/OutputDiversion.h"

#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <unistd.h>

#include "tools/uxvisa/Descriptor.h"

namespace uxvisa::tool {

namespace {

int Checked(int descriptor) {
    if (descriptor == -1) {
        StandardOutput().Fail(errno);
    }
    return descriptor;
}

void PointOutputAt(int descriptor) {
    // What is still buffered belongs to where the output has gone until now. dup2 changes the
    // meaning of the number at once for every thread, so that nothing is written in between.
    std::fflush(stdout);
    ::dup2(descriptor, STDOUT_FILENO);
}

} // namespace

OutputDiversion::OutputDiversion(Target target)
    : m_output(Checked(::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1))) {
    if (target == Target::StandardError) {
        PointOutputAt(STDERR_FILENO);
        return;
    }
    const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nowhere == -1) {
        const int error = errno;
        ::close(m_output);
        StandardOutput().Fail(error);
    }
    PointOutputAt(nowhere);
    ::close(nowhere);
}

OutputDiversion::~OutputDiversion() {
    PointOutputAt(m_output);
    ::close(m_output);
}

} // namespace uxvisa::tool
