#include "transports/Vxi11Identity.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <utility>

#include "Library/Thread.h"
#include "api/DynamicVisa.h"
#include "core/CommonLib.h"
#include "core/Guard.h"
#include "transports/DiscoveryReply.h"
#include "transports/RpcRecord.h"
#include "uxvisa/visatype.h"

namespace uxvisa {

namespace {

using rpc::CoreHeader;
using rpc::CoreProcedure;
using rpc::Mark;
using rpc::Word;
using rpc::WordAt;
using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds LongestSearch(600);
// Each takes a thread for as long as its instrument takes to answer.
constexpr std::size_t MostAsked = 64;
constexpr char Question[] = "*IDN?\n";
constexpr std::uint32_t QuestionSize = 6;
constexpr char Device[] = "inst0";
constexpr std::uint32_t DeviceSize = 5;
constexpr std::uint32_t MostAnswered = 1024;
constexpr std::size_t ReplyHeader = 24;
// As the sessions have them.
constexpr std::uint32_t LockTimeoutMs = 2000;
constexpr std::uint32_t TransferTimeoutMs = 3000;

// A raw connection of the driver library that goes on only while every step succeeds within the
// time.
class Link {
public:
    explicit Link(Clock::time_point end) : m_end(end) { Visa.uxOpenDefaultRM(&m_manager); }
    ~Link() {
        Disconnect();
        Visa.uxClose(m_manager);
    }
    Link(const Link&) = delete;
    Link& operator=(const Link&) = delete;

    bool Connect(const std::string& host, std::uint32_t port) {
        Disconnect();
        std::string resource = "TCPIP::" + host + "::" + std::to_string(port) + "::SOCKET";
        m_open = LeftMs() > 0 && Visa.uxOpen(m_manager, resource.data(), VI_EXCLUSIVE_LOCK,
                                             LeftMs(), &m_session) >= 0;
        return m_open;
    }

    // The reply to a call; empty when there is none.
    std::string Call(const std::string& body) {
        const std::string record = Mark(body.size()) + body;
        ViUInt32 written = 0;
        if (LeftMs() == 0 || Visa.uxSetAttribute(m_session, VI_ATTR_TMO_VALUE, LeftMs()) < 0 ||
            Visa.uxWrite(m_session, reinterpret_cast<ViConstBuf>(record.data()), record.size(),
                         &written) < 0) {
            return {};
        }
        const std::string mark = Receive(rpc::MarkSize);
        return mark.empty() ? mark
                            : Receive(rpc::MarkedLength(
                                  reinterpret_cast<const unsigned char*>(mark.data())));
    }

private:
    void Disconnect() {
        if (m_open) {
            Visa.uxClose(m_session);
            m_open = false;
        }
    }

    ViUInt32 LeftMs() const {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(m_end - Clock::now()).count();
        return static_cast<ViUInt32>(std::max<decltype(left)>(left, 0));
    }

    // Empty when it is not all there in time.
    std::string Receive(std::size_t size) {
        std::string bytes(size, '\0');
        ViUInt32 received = 0;
        const bool whole =
            LeftMs() > 0 && Visa.uxSetAttribute(m_session, VI_ATTR_TMO_VALUE, LeftMs()) >= 0 &&
            Visa.uxRead(m_session, reinterpret_cast<ViPByte>(bytes.data()), size, &received) >= 0;
        return whole ? bytes : std::string();
    }

    const Clock::time_point m_end;
    ViSession m_manager = 0;
    ViSession m_session = 0;
    bool m_open = false;
};

std::uint32_t ReplyWord(const std::string& reply, std::size_t offset) {
    return reply.size() < offset + 4
               ? 0
               : WordAt(reinterpret_cast<const unsigned char*>(reply.data()) + offset);
}

std::uint32_t CorePort(Link& link, const std::string& host) {
    constexpr std::uint32_t portmapper = 111;
    constexpr std::uint32_t transaction = 1000;
    if (!link.Connect(host, portmapper)) {
        return 0;
    }
    const std::string reply = link.Call(rpc::GetPortCall(transaction));
    return PortOfReply(reply.data(), reply.size());
}

// The words that stand for the link in the other calls; empty when there is no link to be had.
std::string CreateLink(Link& link) {
    constexpr std::size_t wordsAt = ReplyHeader + 8;
    constexpr std::size_t wordsSize = 8;
    const std::string reply = link.Call(CoreHeader(1, CoreProcedure::CreateLink) + Word(0) +
                                        Word(0) + Word(LockTimeoutMs) + Word(DeviceSize) + Device +
                                        std::string(rpc::Padding(DeviceSize), '\0'));
    const bool linked = reply.size() >= wordsAt + wordsSize && ReplyWord(reply, ReplyHeader) == 0 &&
                        ReplyWord(reply, ReplyHeader + 4) == 0;
    return linked ? reply.substr(wordsAt, wordsSize) : std::string();
}

bool WriteQuestion(Link& link, const std::string& words) {
    constexpr std::uint32_t end = 8;
    const std::string reply = link.Call(CoreHeader(2, CoreProcedure::DeviceWrite) + words +
                                        Word(TransferTimeoutMs) + Word(end) + Word(QuestionSize) +
                                        Question + std::string(rpc::Padding(QuestionSize), '\0'));
    return reply.size() >= ReplyHeader + 4 && ReplyWord(reply, ReplyHeader) == 0;
}

// Three slots of eight bytes, then the data, as the sessions take a reply.
std::string ReadAnswer(Link& link, const std::string& words) {
    constexpr std::size_t dataAt = ReplyHeader + 24;
    const std::string reply =
        link.Call(CoreHeader(3, CoreProcedure::DeviceRead) + words + Word(MostAnswered) + Word(0) +
                  Word(TransferTimeoutMs) + Word(0));
    if (reply.size() < dataAt || ReplyWord(reply, ReplyHeader) != 0) {
        return {};
    }
    return reply.substr(dataAt, ReplyWord(reply, ReplyHeader + 16));
}

std::string AskIdentity(const std::string& host, Clock::time_point end) {
    Link link(end);
    const std::uint32_t port = CorePort(link, host);
    if (port == 0 || !link.Connect(host, port)) {
        return {};
    }
    const std::string words = CreateLink(link);
    if (words.empty() || !WriteQuestion(link, words)) {
        return {};
    }
    std::string answer = ReadAnswer(link, words);
    link.Call(CoreHeader(4, CoreProcedure::DestroyLink) + words.substr(0, 4));
    return answer;
}

class Asking : public CThreadObject {
public:
    Asking(std::string record, Clock::time_point end)
        : CThreadObject(0), m_record(std::move(record)), m_end(end) {
        ThreadStart();
    }
    ~Asking() override { ThreadStop(0); }

    void ThreadCycle() override {
        Guarded([&] {
            const std::string identity = AskIdentity(Field(m_record.c_str(), 5, '\n'), m_end);
            if (!identity.empty()) {
                m_record = WithIdentity(m_record, identity);
            }
            return VI_SUCCESS;
        });
    }

    const std::string& Await() {
        ThreadStop(0);
        return m_record;
    }

private:
    std::string m_record;
    const Clock::time_point m_end;
};

std::vector<std::string> Asked(const std::vector<std::string>& records) {
    const Clock::time_point end = Clock::now() + LongestSearch;
    std::vector<std::unique_ptr<Asking>> askings;
    for (std::size_t i = 0; i < std::min(records.size(), MostAsked); ++i) {
        askings.push_back(std::make_unique<Asking>(records[i], end));
    }
    std::vector<std::string> asked = records;
    for (std::size_t i = 0; i < askings.size(); ++i) {
        asked[i] = askings[i]->Await();
    }
    return asked;
}

// From the manufacturer to the firmware.
std::string IdentityOf(const std::string& record) {
    const std::size_t resource = record.find('\n');
    return record.substr(resource, record.rfind('\n') - resource);
}

} // namespace

std::vector<std::string> WithIdentities(const std::vector<std::string>& records) {
    if (!Visa.Initialized()) {
        return records;
    }
    std::vector<std::string> once;
    for (const std::string& record : Asked(records)) {
        const bool known = HasSerialNumber(record) &&
                           std::any_of(once.begin(), once.end(), [&](const std::string& other) {
                               return IdentityOf(other) == IdentityOf(record);
                           });
        if (!known) {
            once.push_back(record);
        }
    }
    return once;
}

} // namespace uxvisa
