#include "companions/protodesc/ProtocolFile.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "companions/protodesc/ProtocolXml.h"

namespace protodesc {

namespace {

constexpr std::size_t Enough = MaxDocumentSize + 1;

class Descriptor {
public:
    // Non-blocking, so that a pipe of that name stops nobody.
    explicit Descriptor(const char* path)
        : m_fd(open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY)) {}
    ~Descriptor() {
        if (m_fd != -1) {
            close(m_fd);
        }
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    // Null when it is not an open regular file.
    std::optional<std::size_t> Size() const {
        struct stat about {};
        if (m_fd == -1 || fstat(m_fd, &about) != 0 || !S_ISREG(about.st_mode)) {
            return std::nullopt;
        }
        return static_cast<std::size_t>(about.st_size);
    }

    ssize_t Read(char* buffer, std::size_t size) const {
        for (;;) {
            const ssize_t count = read(m_fd, buffer, size);
            if (count != -1 || errno != EINTR) {
                return count;
            }
        }
    }

private:
    int m_fd;
};

} // namespace

std::optional<std::string> ReadProtocolFile(const char* path) {
    const Descriptor file(path);
    const std::optional<std::size_t> size = file.Size();
    if (!size.has_value()) {
        return std::nullopt;
    }
    // One byte more than expected shows the end, and goes on when the file has grown meanwhile.
    std::string content(std::min(*size + 1, Enough), '\0');
    std::size_t done = 0;
    while (done < Enough) {
        if (done == content.size()) {
            content.resize(std::min(content.size() * 2, Enough));
        }
        const ssize_t count = file.Read(content.data() + done, content.size() - done);
        if (count == -1) {
            return std::nullopt;
        }
        if (count == 0) {
            break;
        }
        done += static_cast<std::size_t>(count);
    }
    content.resize(done);
    return content;
}

} // namespace protodesc
