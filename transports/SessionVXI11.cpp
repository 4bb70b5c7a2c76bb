#include "transports/SessionVXI11.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "api/DynamicVisa.h"
#include "core/CommonLib.h"
#include "core/Guard.h"
#include "transports/DiscoveryReply.h"
#include "transports/RpcRecord.h"
#include "transports/SearchExpression.h"
#include "transports/Vxi11Identity.h"
#include "uxvisa/visatype.h"

namespace {

using uxvisa::rpc::CoreHeader;
using uxvisa::rpc::CoreProcedure;
using uxvisa::rpc::Mark;
using uxvisa::rpc::MarkSize;
using uxvisa::rpc::Word;
using uxvisa::rpc::WordAt;

// Fixed on purpose: one call is under way at a time, and no reply is matched against its number.
constexpr std::uint32_t CreateLinkId = 1001;
constexpr std::uint32_t DeviceWriteId = 1002;
constexpr std::uint32_t DeviceReadId = 1003;
constexpr std::uint32_t DestroyLinkId = 1006;
constexpr std::uint64_t FirstPortmapperId = 1000;

constexpr std::uint32_t CreateLockTimeoutMs = 2000;
constexpr std::uint32_t TransferTimeoutMs = 3000;
constexpr std::uint32_t EndFlag = 8;
constexpr unsigned long LargestWrite = 65475;
constexpr std::size_t LargestBody = 65535;
constexpr unsigned long LinkTimeoutMs = 5000;
constexpr unsigned long PortmapperOpenMs = 3000;
constexpr unsigned long PortmapperTimeoutMs = 2000;
constexpr std::size_t PortmapperReplySize = 28;
constexpr ViAccessMode AccessMode = 1;
constexpr int DiscoveryLocalPort = 9757;
constexpr int DiscoveryPort = 111;

// Error codes and reason bits of device_read.
constexpr std::uint32_t DeviceTimeout = 15;
constexpr std::uint32_t DeviceIoError = 17;
constexpr std::uint32_t TerminationReasons = 6;

// Raw bytes over one SOCKET session of the driver library.
class Channel {
public:
    explicit Channel(unsigned long session) : m_session(session) {}

    long Write(const std::string& bytes) const { return Write(bytes.data(), bytes.size()); }
    long Write(const void* bytes, std::size_t size) const {
        ViUInt32 written = 0;
        return Visa.uxWrite(m_session, static_cast<ViConstBuf>(bytes), size, &written);
    }
    long Read(unsigned char* bytes, unsigned long size) const {
        ViUInt32 read = 0;
        return Visa.uxRead(m_session, bytes, size, &read);
    }
    std::size_t ReadMark() const {
        unsigned char mark[MarkSize] = {};
        Read(mark, MarkSize);
        return uxvisa::rpc::MarkedLength(mark);
    }

private:
    unsigned long m_session;
};

bool Succeeded(long status) {
    return status >= 0;
}

long Keep(ISession*, const char* record, void* records) {
    static_cast<std::vector<std::string>*>(records)->emplace_back(record);
    return VI_SUCCESS;
}

} // namespace

CSessionVXI11::CSessionVXI11()
    : m_link(0), m_manager(0), m_link_words(), m_transaction(FirstPortmapperId) {}

CSessionVXI11::~CSessionVXI11() {
    CSessionVXI11::CloseConnection();
}

long CSessionVXI11::OpenConnection(char* resource, unsigned long accessMode,
                                   unsigned long timeoutMs) {
    return OpenConnectionEx(resource, accessMode, timeoutMs, 0);
}

long CSessionVXI11::OpenConnectionEx(char* resource, unsigned long, unsigned long timeoutMs,
                                     int port) {
    return uxvisa::Guarded([&]() -> long {
        if (!Visa.Initialized()) {
            return VI_ERROR_LIBRARY_NFOUND;
        }
        return OpenLink(resource == nullptr ? "" : resource, timeoutMs, port);
    });
}

long CSessionVXI11::OpenLink(const char* resource, unsigned long timeoutMs, int port) {
    const std::vector<std::string> fields = uxvisa::SplitAddress(resource);
    if (fields.size() < 2) {
        return VI_ERROR_INV_RSRC_NAME;
    }
    Visa.uxOpenDefaultRM(&m_manager);
    if (port == 0) {
        // A failed look-up goes on with port 0: the driver's own status tells what is wrong.
        port = GetPort(fields[1].c_str());
    }
    ConnectLink(fields[0] + "::" + fields[1] + "::" + std::to_string(port) + "::SOCKET", timeoutMs);
    return CreateLink(fields.size() >= 4 ? fields[2] : "inst0");
}

// A failed open carries on: the steps behind it fail in the driver, and their status is what the
// caller gets.
void CSessionVXI11::ConnectLink(const std::string& resource, unsigned long timeoutMs) {
    std::string name = resource;
    if (!Succeeded(Visa.uxOpen(m_manager, name.data(), AccessMode, timeoutMs, &m_link))) {
        Visa.uxClose(m_manager);
        m_manager = 0;
    }
    Visa.uxSetAttribute(m_link, VI_ATTR_TMO_VALUE, LinkTimeoutMs);
}

long CSessionVXI11::CreateLink(const std::string& device) {
    const std::size_t padding = uxvisa::rpc::Padding(device.size());
    const std::string fixed = CoreHeader(CreateLinkId, CoreProcedure::CreateLink) + Word(0) +
                              Word(0) + Word(CreateLockTimeoutMs) +
                              Word(static_cast<std::uint32_t>(device.size()));
    const Channel channel(m_link);
    channel.Write(Mark(fixed.size() + device.size() + padding));
    channel.Write(fixed);
    channel.Write(device);
    if (padding > 0) {
        channel.Write(std::string(padding, '\0'));
    }
    std::vector<unsigned char> reply(LargestBody + 1);
    const long status = channel.Read(reply.data(), channel.ReadMark());
    // The error word and the link identifier: an identifier other than zero counts as a link that
    // somebody else holds. The instruments this serves have one link only.
    const auto errorAndLink = reply.begin() + 24;
    if (std::any_of(errorAndLink, errorAndLink + 8, [](unsigned char c) { return c != 0; })) {
        Visa.uxClose(m_link);
        Visa.uxClose(m_manager);
        m_link = 0;
        m_manager = 0;
        return VI_ERROR_RSRC_BUSY;
    }
    // These two words, and not the identifier, are what the later calls carry: the instruments take
    // them for link and time-out.
    std::memcpy(m_link_words, reply.data() + 32, sizeof m_link_words);
    return status;
}

int CSessionVXI11::GetPort(const char* host) {
    ViSession manager = 0;
    ViSession session = 0;
    std::string resource = "TCPIP::" + std::string(host) + "::111::SOCKET";
    Visa.uxOpenDefaultRM(&manager);
    if (!Succeeded(Visa.uxOpen(manager, resource.data(), AccessMode, PortmapperOpenMs, &session))) {
        Visa.uxClose(manager);
        return 0;
    }
    Visa.uxSetAttribute(session, VI_ATTR_TMO_VALUE, PortmapperTimeoutMs);
    char call[64];
    const int size = FillRequest(call, sizeof call);
    unsigned char mark[MarkSize] = {};
    unsigned char reply[PortmapperReplySize] = {};
    const Channel channel(session);
    const bool answered = Succeeded(channel.Write(Mark(static_cast<std::size_t>(size)))) &&
                          Succeeded(channel.Write(call, static_cast<std::size_t>(size))) &&
                          Succeeded(channel.Read(mark, sizeof mark)) &&
                          Succeeded(channel.Read(reply, sizeof reply));
    Visa.uxClose(session);
    Visa.uxClose(manager);
    return answered ? static_cast<int>(WordAt(reply + 24)) : 0;
}

int CSessionVXI11::FillRequest(char* buffer, int size) {
    const std::string call = uxvisa::rpc::GetPortCall(static_cast<std::uint32_t>(m_transaction));
    m_transaction = (m_transaction + 1) % FirstPortmapperId + FirstPortmapperId;
    std::memcpy(buffer, call.data(), std::min(call.size(), static_cast<std::size_t>(size)));
    return static_cast<int>(call.size());
}

std::string CSessionVXI11::LinkWords() const {
    return {reinterpret_cast<const char*>(m_link_words), sizeof m_link_words};
}

long CSessionVXI11::Write(unsigned char* buffer, unsigned long count, unsigned long* writtenCount) {
    return uxvisa::Guarded([&] {
        // Larger writes are split by the caller, who sees the smaller count; it is stored whatever
        // happens, since the driver's status is what tells.
        const unsigned long size = std::min(count, LargestWrite);
        if (writtenCount != nullptr) {
            *writtenCount = size;
        }
        return DeviceWrite(buffer, size);
    });
}

long CSessionVXI11::DeviceWrite(const unsigned char* data, std::size_t size) {
    const std::size_t padding = uxvisa::rpc::Padding(size);
    const std::string fixed = CoreHeader(DeviceWriteId, CoreProcedure::DeviceWrite) + LinkWords() +
                              Word(TransferTimeoutMs) + Word(EndFlag) +
                              Word(static_cast<std::uint32_t>(size));
    const Channel channel(m_link);
    channel.Write(Mark(fixed.size() + size + padding));
    channel.Write(fixed);
    channel.Write(data, size);
    if (padding > 0) {
        channel.Write(std::string(padding, '\0'));
    }
    std::vector<unsigned char> reply(LargestBody);
    return channel.Read(reply.data(), channel.ReadMark());
}

long CSessionVXI11::Read(unsigned char* buffer, unsigned long count, unsigned long* readCount) {
    return uxvisa::Guarded([&] {
        unsigned long ignored = 0;
        return DeviceRead(buffer, count, readCount == nullptr ? &ignored : readCount);
    });
}

// The mark announces 64 bytes and 88 follow it: a reader of records takes the surplus zeros as six
// empty fragments. The reply is read as three slots of eight bytes. Both are what the instruments'
// own servers speak.
long CSessionVXI11::DeviceRead(unsigned char* buffer, unsigned long count,
                               unsigned long* readCount) {
    constexpr std::size_t announced = 64;
    constexpr std::size_t surplus = 24;
    constexpr std::size_t headerSize = 24;
    constexpr std::size_t slotsSize = 24;
    *readCount = 0;
    const Channel channel(m_link);
    channel.Write(Mark(announced) + CoreHeader(DeviceReadId, CoreProcedure::DeviceRead));
    channel.Write(LinkWords() + Word(static_cast<std::uint32_t>(count)) + Word(0) +
                  Word(TransferTimeoutMs) + Word(0) + std::string(surplus, '\0'));
    const std::size_t length = channel.ReadMark();
    unsigned char header[headerSize] = {};
    unsigned char slots[slotsSize] = {};
    channel.Read(header, sizeof header);
    channel.Read(slots, sizeof slots);
    const std::uint32_t error = WordAt(slots);
    const std::uint32_t reason = WordAt(slots + 8);
    // What the instrument says is longer than the caller's buffer is read with the rest.
    const unsigned long size = std::min<unsigned long>(WordAt(slots + 16), count);
    long status = Visa.uxRead(m_link, buffer, size, readCount);
    if (length >= headerSize + slotsSize + size) {
        std::vector<unsigned char> rest(LargestBody);
        status = channel.Read(rest.data(), length - headerSize - slotsSize - size);
    }
    if (error == DeviceTimeout) {
        return VI_ERROR_TMO;
    }
    if (error == DeviceIoError) {
        return VI_ERROR_IO;
    }
    if ((reason & TerminationReasons) != 0) {
        return VI_SUCCESS_TERM_CHAR;
    }
    return *readCount == count ? VI_SUCCESS_MAX_CNT : status;
}

long CSessionVXI11::CloseConnection() {
    return uxvisa::Guarded([&]() -> long {
        if (!Visa.Initialized()) {
            return VI_ERROR_LIBRARY_NFOUND;
        }
        if (m_link != 0) {
            DestroyLink();
            Visa.uxClose(m_link);
        }
        if (m_manager != 0) {
            // Not cleared, on purpose: a session closed twice closes it twice, as drivers that
            // count their users expect.
            Visa.uxClose(m_manager);
        }
        m_link = 0;
        return VI_SUCCESS;
    });
}

void CSessionVXI11::DestroyLink() {
    constexpr std::size_t body = 44;
    const Channel channel(m_link);
    channel.Write(Mark(body) + CoreHeader(DestroyLinkId, CoreProcedure::DestroyLink) +
                  LinkWords().substr(0, 4));
    std::vector<unsigned char> reply(LargestBody);
    channel.Read(reply.data(), channel.ReadMark());
}

// Answered true also when closed, on purpose: formatted input asks before it reads, and a VXI-11
// reply always ends with END.
long CSessionVXI11::GetAttribute(unsigned long attribute, void* value) {
    return uxvisa::Guarded([&]() -> long {
        if (attribute != VI_ATTR_TERMCHAR_EN) {
            return Visa.uxGetAttribute(m_link, attribute, value);
        }
        if (value == nullptr) {
            return VI_ERROR_NSUP_ATTR_STATE;
        }
        const std::uint32_t enabled = 1;
        std::memcpy(value, &enabled, sizeof enabled);
        return VI_SUCCESS;
    });
}

// The identity is asked when all replies are in, so that a slow instrument delays none of them; the
// expression may be about the identity, and so is looked at afterwards.
long CSessionVXI11::FindResources(char* expression, FindCallback callback, void* context) {
    return uxvisa::Guarded([&]() -> long {
        const std::string wanted = expression;
        std::vector<std::string> records;
        char everything[] = "";
        const long status = CBcastUDP::FindResources(this, everything, Keep, &records,
                                                     DiscoveryLocalPort, DiscoveryPort);
        for (const std::string& record : uxvisa::WithIdentities(records)) {
            if (uxvisa::MatchesExpression(wanted, record)) {
                callback(this, record.c_str(), context);
            }
        }
        return status;
    });
}

std::string CSessionVXI11::ParseResponse(const char* reply, int length, int socketIndex,
                                         const char* senderAddress) {
    return uxvisa::Vxi11Record(reply, static_cast<std::size_t>(length), socketIndex, senderAddress);
}
