#include "monitor/SharedObject.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>
#include <new>

#include "monitor/MonitorBlock.h"

namespace {

constexpr mode_t OwnerOnly = 0600;

// The name as the system takes it: one leading slash and no other, so that resources with a path in
// them have a block too. Without an allocation, since closing must not fail.
struct SystemName {
    explicit SystemName(const std::string& name) {
        if (name.size() >= sizeof text - 1) {
            text[0] = '\0';
            return;
        }
        text[0] = '/';
        std::memcpy(text + 1, name.c_str(), name.size() + 1);
        for (char* c = text + 1; *c != '\0'; ++c) {
            *c = *c == '/' ? '_' : *c;
        }
    }
    bool Fits() const { return text[0] != '\0'; }

    char text[NAME_MAX + 2];
};

// Never 0: the object takes that for none.
int AwayFromZero(int fd) {
    if (fd != 0) {
        return fd;
    }
    const int moved = fcntl(0, F_DUPFD_CLOEXEC, 1);
    close(0);
    return moved;
}

// The page is taken at once: on a full file system its first use would end the process.
int Resize(int fd) {
    if (ftruncate(fd, uxvisa::MonitorBlockSize) != 0) {
        return errno;
    }
    return posix_fallocate(fd, 0, uxvisa::MonitorBlockSize);
}

void LockDescriptor(int fd, int operation) {
    while (fd != 0 && flock(fd, operation) != 0 && errno == EINTR) {
    }
}

// Presence is a record lock on the first byte. It belongs to the open file, not to the process, and
// has nothing to do with the lock that flock() takes.
struct flock PresenceLock(short type) {
    struct flock lock {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = 0;
    lock.l_len = 1;
    return lock;
}

} // namespace

CSharedObject::CSharedObject()
    : m_region(nullptr), m_reserved(0), m_mutex(PTHREAD_MUTEX_INITIALIZER),
      m_condition(PTHREAD_COND_INITIALIZER), m_fd(0) {}

CSharedObject::~CSharedObject() {
    CloseSObj();
    pthread_cond_destroy(&m_condition);
    pthread_mutex_destroy(&m_mutex);
}

// An existing block is not cleared, on purpose: whichever of program and monitor comes first, the
// other one joins in.
int CSharedObject::OpenSObj(const char* baseName) {
    CloseSObj();
    if (baseName == nullptr) {
        return EINVAL;
    }
    try {
        m_name = std::string(baseName) + "_v2" + "_Map";
    } catch (const std::bad_alloc&) {
        return ENOMEM;
    }
    const int error = Map();
    if (error != 0) {
        Release();
        return error;
    }
    pthread_mutex_destroy(&m_mutex);
    pthread_mutex_init(&m_mutex, nullptr);
    pthread_cond_destroy(&m_condition);
    return pthread_cond_init(&m_condition, nullptr);
}

int CSharedObject::Map() {
    const SystemName name(m_name);
    if (!name.Fits()) {
        return ENAMETOOLONG;
    }
    const int fd = AwayFromZero(shm_open(name.text, O_RDWR | O_CREAT, OwnerOnly));
    if (fd == -1) {
        return errno;
    }
    m_fd = fd;
    const int error = Resize(fd);
    if (error != 0) {
        return error;
    }
    void* region =
        mmap(nullptr, uxvisa::MonitorBlockSize, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    if (region == MAP_FAILED) {
        return errno;
    }
    m_region = region;
    return 0;
}

void CSharedObject::Release() {
    if (m_region != nullptr) {
        munmap(m_region, uxvisa::MonitorBlockSize);
    }
    if (m_fd != 0) {
        close(m_fd);
    }
    m_fd = 0;
    m_name.clear();
    m_region = nullptr;
    m_reserved = 0;
}

// Every closer removes the name, on purpose: nobody has to be the last for nothing to stay behind,
// and those who have the block mapped keep it.
int CSharedObject::CloseSObj() {
    const SystemName name(m_name);
    const bool named = !m_name.empty();
    Release();
    return named ? shm_unlink(name.text) : 0;
}

unsigned int* CSharedObject::GetData() {
    return static_cast<unsigned int*>(m_region);
}

unsigned char* CSharedObject::GetBuffer() {
    return m_region == nullptr ? nullptr
                               : static_cast<unsigned char*>(m_region) + uxvisa::MonitorDataOffset;
}

// The mutex keeps out the threads that share this object, the descriptor's lock all others.
int CSharedObject::Lock() {
    const int result = pthread_mutex_lock(&m_mutex);
    LockDescriptor(m_fd, LOCK_EX);
    return result;
}

int CSharedObject::Unlock() {
    LockDescriptor(m_fd, LOCK_UN);
    return pthread_mutex_unlock(&m_mutex);
}

bool CSharedObject::DeclarePresence() {
    struct flock lock = PresenceLock(F_RDLCK);
    return fcntl(m_fd, F_OFD_SETLK, &lock) == 0;
}

bool CSharedObject::IsAnyonePresent() {
    struct flock lock = PresenceLock(F_WRLCK);
    return fcntl(m_fd, F_OFD_GETLK, &lock) != 0 || lock.l_type != F_UNLCK;
}
