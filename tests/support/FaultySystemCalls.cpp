#include "support/FaultySystemCalls.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <stdexcept>

#include <dlfcn.h>
#include <netdb.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "transports/SystemCalls.h"

using namespace std::chrono_literals;

namespace uxvisa::test {

namespace {

// More than any test means to make: a loop that would not end fails instead.
constexpr std::size_t MostCalls = 200000;
constexpr std::chrono::nanoseconds FrozenStart = std::chrono::seconds(1700000000);

const char* NameOf(Call call) {
    constexpr const char* Names[] = {
        "Socket",         "Connect",         "Send",  "Receive", "SetOption", "PendingError",
        "SetNonBlocking", "ShutdownSending", "Close", "Wait",    "Pause",     "Resolve"};
    return Names[static_cast<std::size_t>(call)];
}

} // namespace

// What the seam's functions may do to the one in use.
struct FaultySeam {
    static FaultySystemCalls* current;

    static bool IsFrozen() { return current != nullptr && current->m_frozen; }

    template <typename Real>
    static long Answer(const CallRecord& record, Real real) {
        if (current == nullptr) {
            return real();
        }
        current->Record(record);
        return Decide(record.call, real);
    }

    template <typename Real>
    static long Decide(Call call, Real real) {
        const FaultySystemCalls::Outcome* outcome = current->Decide(call);
        if (outcome == nullptr) {
            return real();
        }
        errno = outcome->error;
        return outcome->result;
    }

    static int Socket(long answer) {
        const bool pretended = current != nullptr && current->m_pretending && answer >= 0;
        return static_cast<int>(pretended ? current->m_nextSocket++ : answer);
    }

    static void KeepSent(const void* data, std::size_t size) {
        if (current->m_sent.size() + size < MostCalls) {
            current->m_sent.append(static_cast<const char*>(data), size);
        }
    }

    template <typename Real>
    static ssize_t Receive(const CallRecord& record, void* data, Real real) {
        if (current == nullptr) {
            return real();
        }
        current->Record(record);
        return current->m_incoming.empty() ? Decide(record.call, real) : TakeIncoming(record, data);
    }

    static ssize_t TakeIncoming(const CallRecord& record, void* data) {
        std::string& incoming = current->m_incoming;
        const std::size_t size =
            std::min(incoming.size(), static_cast<std::size_t>(record.argument));
        std::memcpy(data, incoming.data(), size);
        if ((record.first & MSG_PEEK) == 0) {
            incoming.erase(0, size);
        }
        return static_cast<ssize_t>(size);
    }

    static int FrozenWait(const CallRecord& record) {
        current->Record(record);
        const auto limit = std::chrono::milliseconds(record.argument);
        const FaultySystemCalls::Outcome* outcome = current->Decide(record.call);
        if (outcome == nullptr) {
            return RealFrozenWait(record, limit);
        }
        if (outcome->result == 0) {
            current->Pass(limit);
        }
        errno = outcome->error;
        return static_cast<int>(outcome->result);
    }

    static int RealFrozenWait(const CallRecord& record, std::chrono::milliseconds limit) {
        pollfd waited{record.fd, static_cast<short>(record.first), 0};
        for (auto passed = 0ms; passed < limit && ::poll(&waited, 1, 0) == 0; passed += 1ms) {
            current->Pass(1ms);
        }
        return ::poll(&waited, 1, 0);
    }

    static void FrozenPause(const CallRecord& record) {
        current->Record(record);
        current->Pass(std::chrono::microseconds(record.argument));
    }

    static timespec Time() {
        const auto time = std::chrono::nanoseconds(FrozenStart) + current->m_passed;
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
        return {seconds.count(), (time - seconds).count()};
    }
};

FaultySystemCalls* FaultySeam::current = nullptr;

FaultySystemCalls::FaultySystemCalls() {
    FaultySeam::current = this;
}

FaultySystemCalls::~FaultySystemCalls() {
    FaultySeam::current = nullptr;
}

void FaultySystemCalls::PretendSockets(int first) {
    m_pretending = true;
    m_nextSocket = first;
    for (const Call call : {Call::Socket, Call::SetOption, Call::SetNonBlocking,
                            Call::ShutdownSending, Call::Close, Call::PendingError}) {
        Always(call, 0);
    }
    Always(Call::Connect, -1, EINPROGRESS);
    Always(Call::Wait, 1);
    Always(Call::Send, All);
    Always(Call::Receive, -1, EAGAIN);
}

FaultySystemCalls& FaultySystemCalls::Next(Call call, long result, int error) {
    m_next[call].push_back({result, error});
    return *this;
}

FaultySystemCalls& FaultySystemCalls::Always(Call call, long result, int error) {
    m_always[call] = {result, error};
    return *this;
}

FaultySystemCalls& FaultySystemCalls::Incoming(const std::string& bytes) {
    m_incoming += bytes;
    return *this;
}

void FaultySystemCalls::OnEach(Call call, std::function<void()> action) {
    m_actions[call] = std::move(action);
}

void FaultySystemCalls::FreezeTime() {
    m_frozen = true;
}

void FaultySystemCalls::Advance(std::chrono::microseconds time) {
    m_passed += time;
}

std::chrono::milliseconds FaultySystemCalls::Elapsed() const {
    return std::chrono::duration_cast<std::chrono::milliseconds>(m_passed);
}

std::vector<CallRecord> FaultySystemCalls::RecordsOf(Call call) const {
    std::vector<CallRecord> found;
    std::copy_if(m_records.begin(), m_records.end(), std::back_inserter(found),
                 [call](const CallRecord& record) { return record.call == call; });
    return found;
}

std::string FaultySystemCalls::Order() const {
    std::string order;
    for (const CallRecord& record : m_records) {
        order += (order.empty() ? "" : " ") + std::string(NameOf(record.call));
    }
    return order;
}

void FaultySystemCalls::Pass(std::chrono::microseconds time) {
    const auto end = m_passed + time;
    while (m_passed < end) {
        const auto next = std::chrono::floor<std::chrono::milliseconds>(m_passed) + 1ms;
        m_passed = std::min<std::chrono::microseconds>(next, end);
        if (m_passed == next && m_onTick) {
            m_onTick();
        }
    }
}

void FaultySystemCalls::Record(const CallRecord& record) {
    m_records.push_back(record);
    if (m_records.size() % MostCalls == 0) {
        throw std::runtime_error("the library goes on calling the system without end");
    }
    if (const auto action = m_actions.find(record.call); action != m_actions.end()) {
        action->second();
    }
}

const FaultySystemCalls::Outcome* FaultySystemCalls::Decide(Call call) {
    std::deque<Outcome>& next = m_next[call];
    if (!next.empty()) {
        m_current = next.front();
        next.pop_front();
        return &m_current;
    }
    const auto always = m_always.find(call);
    return always == m_always.end() ? nullptr : &always->second;
}

} // namespace uxvisa::test

namespace uxvisa::sys {

using test::Call;
using test::CallRecord;
using test::FaultySeam;

namespace {

CallRecord RecordOf(Call call, int fd, long argument = 0, int first = 0, int second = 0) {
    CallRecord record;
    record.call = call;
    record.fd = fd;
    record.argument = argument;
    record.first = first;
    record.second = second;
    return record;
}

} // namespace

int Socket(int domain, int type, int protocol) {
    return FaultySeam::Socket(FaultySeam::Answer(RecordOf(Call::Socket, -1, 0, domain, type), [=] {
        return ::socket(domain, type | SOCK_CLOEXEC, protocol);
    }));
}

int Connect(int fd, const sockaddr* address, socklen_t length) {
    CallRecord record = RecordOf(Call::Connect, fd);
    std::memcpy(&record.address, address, std::min<std::size_t>(length, sizeof record.address));
    return static_cast<int>(
        FaultySeam::Answer(record, [=] { return ::connect(fd, address, length); }));
}

ssize_t Send(int fd, const void* data, std::size_t size) {
    bool real = false;
    const auto asked = static_cast<long>(size);
    const long answer = FaultySeam::Answer(RecordOf(Call::Send, fd, asked), [&] {
        real = true;
        return ::send(fd, data, size, MSG_NOSIGNAL);
    });
    if (real || answer < 0) {
        return answer;
    }
    const long sent = std::min(answer, asked);
    FaultySeam::KeepSent(data, static_cast<std::size_t>(sent));
    return sent;
}

ssize_t Receive(int fd, void* data, std::size_t size, int flags) {
    const CallRecord record = RecordOf(Call::Receive, fd, static_cast<long>(size), flags);
    return FaultySeam::Receive(record, data, [=] { return ::recv(fd, data, size, flags); });
}

int SetOption(int fd, int level, int name, int value) {
    return static_cast<int>(
        FaultySeam::Answer(RecordOf(Call::SetOption, fd, value, level, name),
                           [=] { return ::setsockopt(fd, level, name, &value, sizeof value); }));
}

int PendingError(int fd) {
    return static_cast<int>(FaultySeam::Answer(RecordOf(Call::PendingError, fd), [fd] {
        int error = 0;
        socklen_t size = sizeof error;
        ::getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size);
        return error;
    }));
}

bool TakePendingError(int fd, int& error) {
    error = PendingError(fd);
    return true;
}

int SetNonBlocking(int fd) {
    return static_cast<int>(FaultySeam::Answer(RecordOf(Call::SetNonBlocking, fd), [fd] {
        int on = 1;
        return ::ioctl(fd, FIONBIO, &on);
    }));
}

int ShutdownSending(int fd) {
    return static_cast<int>(FaultySeam::Answer(RecordOf(Call::ShutdownSending, fd),
                                               [fd] { return ::shutdown(fd, SHUT_WR); }));
}

int Close(int fd) {
    return static_cast<int>(
        FaultySeam::Answer(RecordOf(Call::Close, fd), [fd] { return ::close(fd); }));
}

int Wait(int fd, short events, int timeoutMs) {
    const CallRecord record = RecordOf(Call::Wait, fd, timeoutMs, events);
    if (FaultySeam::IsFrozen()) {
        return FaultySeam::FrozenWait(record);
    }
    return static_cast<int>(FaultySeam::Answer(record, [=] {
        pollfd waited{fd, events, 0};
        return ::poll(&waited, 1, timeoutMs);
    }));
}

void Pause(long microseconds) {
    const CallRecord record = RecordOf(Call::Pause, -1, microseconds);
    if (FaultySeam::IsFrozen()) {
        FaultySeam::FrozenPause(record);
        return;
    }
    FaultySeam::Answer(record, [=] {
        timespec left{microseconds / 1000000, microseconds % 1000000 * 1000};
        while (::clock_nanosleep(CLOCK_MONOTONIC, 0, &left, &left) == EINTR) {
        }
        return 0;
    });
}

} // namespace uxvisa::sys

// These two take the place of the C library's in the program's own objects, the library under test
// among them; shared libraries keep the real ones.

extern "C" __attribute__((visibility("hidden"))) int clock_gettime(clockid_t clock,
                                                                   timespec* time) noexcept {
    using uxvisa::test::FaultySeam;
    if (!FaultySeam::IsFrozen()) {
        return static_cast<int>(::syscall(SYS_clock_gettime, clock, time));
    }
    *time = FaultySeam::Time();
    return 0;
}

extern "C" __attribute__((visibility("hidden"))) int gethostbyname_r(const char* name,
                                                                     hostent* entry, char* buffer,
                                                                     size_t size, hostent** result,
                                                                     int* reason) {
    using namespace uxvisa::test;
    CallRecord record;
    record.call = Call::Resolve;
    record.argument = static_cast<long>(size);
    *result = nullptr;
    return static_cast<int>(FaultySeam::Answer(record, [=] {
        using Function = int (*)(const char*, hostent*, char*, size_t, hostent**, int*);
        const auto real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "gethostbyname_r"));
        return real(name, entry, buffer, size, result, reason);
    }));
}
