#include "tools/uxvisa/FileSink.h"

#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tools/uxvisa/Failure.h"

namespace uxvisa::tool {

namespace {

constexpr mode_t FileMode = 0666;

int OpenForWriting(const std::string& path) {
    const int descriptor = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, FileMode);
    if (descriptor == -1) {
        throw Failure(ExitFailed, path,
                      "cannot create the file: " + std::generic_category().message(errno),
                      "nothing was sent; give --output a path that can be written");
    }
    return descriptor;
}

bool IsRegular(int descriptor) {
    struct stat status {};
    return ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

} // namespace

FileSink::FileSink(const std::string& path) : m_file(OpenForWriting(path), path) {}

FileSink::~FileSink() {
    if (m_isOpen) {
        ::close(m_file.Number());
    }
}

void FileSink::Write(std::string_view data) {
    if (!data.empty()) {
        Truncate();
        m_file.Write(data);
    }
}

void FileSink::Truncate() {
    if (!m_isTruncated && IsRegular(m_file.Number()) && ::ftruncate(m_file.Number(), 0) != 0) {
        m_file.Fail(errno);
    }
    m_isTruncated = true;
}

void FileSink::Finish(bool isComplete) {
    if (isComplete) {
        Truncate();
    }
    m_isOpen = false;
    if (::close(m_file.Number()) != 0) {
        m_file.Fail(errno);
    }
}

} // namespace uxvisa::tool
