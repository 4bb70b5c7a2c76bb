// Stands in for transports/SystemCalls.cpp: a test says what the system answers, and sees what it
// was asked. A program takes FaultySystemCalls.cpp together with the library's objects and without
// the real seam.
#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <netinet/in.h>

namespace uxvisa::test {

enum class Call {
    Socket,
    Connect,
    Send,
    Receive,
    SetOption,
    PendingError,
    SetNonBlocking,
    ShutdownSending,
    Close,
    Wait,
    Pause,
    // Not of the seam: the C library's gethostbyname_r.
    Resolve
};

struct CallRecord {
    Call call;
    int fd = -1;
    // Send, Receive: the size. SetOption: the value. Wait: milliseconds. Pause: microseconds.
    long argument = 0;
    // Socket: domain, type. SetOption: level, name. Receive, Wait: flags or events, nothing.
    int first = 0;
    int second = 0;
    // Of Connect.
    sockaddr_in address = {};
};

// While one exists, it is what the library's system calls go through: first to what Incoming() and
// Next() have put in line, then to what Always() says, then to the system itself. A call that was
// answered here does not reach the system. For a single thread.
class FaultySystemCalls {
public:
    // As the result of a Send: all that was to be sent.
    static constexpr long All = 0x7FFFFFFFFFFFFFFF;

    FaultySystemCalls();
    ~FaultySystemCalls();
    FaultySystemCalls(const FaultySystemCalls&) = delete;
    FaultySystemCalls& operator=(const FaultySystemCalls&) = delete;

    // Every call is answered here: sockets, numbered from `first` on, connect after a moment, send
    // everything and stay silent.
    void PretendSockets(int first = 1000);

    // The results of one further call and of all further ones. `error` goes to errno; for
    // PendingError it makes no difference, its result is the error.
    FaultySystemCalls& Next(Call call, long result, int error = 0);
    FaultySystemCalls& Always(Call call, long result, int error = 0);
    // Bytes that arrive, ahead of all other results of Receive.
    FaultySystemCalls& Incoming(const std::string& bytes);
    // Runs at the start of every such call.
    void OnEach(Call call, std::function<void()> action);

    // From here on the clocks that the library reads stand still, but for Advance(): pauses and
    // waits that time out advance them by their length instead of taking it.
    void FreezeTime();
    void Advance(std::chrono::microseconds time);
    // Runs at each millisecond that a wait or a pause passes through in frozen time. What it makes
    // happen ends a wait there and then.
    void OnTick(std::function<void()> action) { m_onTick = std::move(action); }
    std::chrono::milliseconds Elapsed() const;

    const std::vector<CallRecord>& Records() const { return m_records; }
    std::vector<CallRecord> RecordsOf(Call call) const;
    std::size_t Count(Call call) const { return RecordsOf(call).size(); }
    // The names of all calls since the last ForgetCalls(), separated by blanks.
    std::string Order() const;
    void ForgetCalls() { m_records.clear(); }
    // Everything that pretended sockets have sent.
    const std::string& Sent() const { return m_sent; }
    // What is left of the bytes of Incoming().
    const std::string& Unread() const { return m_incoming; }

private:
    friend struct FaultySeam;

    struct Outcome {
        long result;
        int error;
    };

    void Record(const CallRecord& record);
    void Pass(std::chrono::microseconds time);
    // Null: the system's own answer is wanted.
    const Outcome* Decide(Call call);

    bool m_frozen = false;
    std::chrono::microseconds m_passed{0};
    std::map<Call, std::deque<Outcome>> m_next;
    std::map<Call, Outcome> m_always;
    std::map<Call, std::function<void()>> m_actions;
    std::function<void()> m_onTick;
    Outcome m_current{};
    std::vector<CallRecord> m_records;
    std::string m_incoming;
    std::string m_sent;
    bool m_pretending = false;
    int m_nextSocket = 0;
};

} // namespace uxvisa::test
