#include "transports/BcastUDP.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "core/CommonLib.h"
#include "core/Guard.h"
#include "transports/BroadcastSocket.h"
#include "transports/GetHostByAddrThread.h"
#include "transports/SearchExpression.h"
#include "transports/SystemCalls.h"
#include "uxvisa/visatype.h"

namespace {

using uxvisa::BroadcastInterface;
using uxvisa::BroadcastSocket;

constexpr unsigned long CollectingMs = 500;
constexpr std::size_t BufferSize = 65536;
constexpr long PauseBetweenRequestsUs = 5000;
constexpr char Everybody[] = "255.255.255.255";
// No LAN has so many instruments; a flood of replies must not fill the memory.
constexpr std::size_t MostRecords = 1024;
// What a socket can have queued at the end is less than this.
constexpr int MostQueued = 4096;

// The sockets count from 0.
using Handler = std::function<void(const std::vector<char>& buffer, int socketIndex,
                                   const BroadcastSocket::Datagram& datagram)>;

// Twice, since many networks pass only one of the two kinds of broadcast on.
void Ask(const BroadcastSocket& socket, const std::string& request, const std::string& broadcast,
         int port) {
    if (socket.Send(request, broadcast, port)) {
        uxvisa::sys::Pause(PauseBetweenRequestsUs);
        socket.Send(request, Everybody, port);
    }
}

// The sockets that are bound; an interface that refuses is passed over.
std::vector<BroadcastSocket> AskEveryInterface(int localPort, int destinationPort,
                                               const std::function<std::string()>& makeRequest) {
    std::vector<BroadcastSocket> sockets;
    for (const BroadcastInterface& interface : uxvisa::BroadcastInterfaces()) {
        if (interface.broadcast.empty()) {
            continue;
        }
        std::optional<BroadcastSocket> socket = BroadcastSocket::Open();
        if (socket && socket->Bind(interface.address, localPort)) {
            Ask(*socket, makeRequest(), interface.broadcast, destinationPort);
            sockets.push_back(std::move(*socket));
        }
    }
    return sockets;
}

// One datagram of each socket; false when there was none.
bool ReceiveOnce(const std::vector<BroadcastSocket>& sockets, std::vector<char>& buffer,
                 const Handler& handle) {
    bool any = false;
    for (std::size_t i = 0; i < sockets.size(); ++i) {
        if (const auto datagram = sockets[i].Receive(buffer)) {
            handle(buffer, static_cast<int>(i), *datagram);
            any = true;
        }
    }
    return any;
}

// What is queued when the time is over still counts.
void Collect(const std::vector<BroadcastSocket>& sockets, const Handler& handle) {
    std::vector<char> buffer(BufferSize);
    const unsigned long start = uxvisa::WallClockMs();
    for (unsigned long passed = 0; passed <= CollectingMs; passed = uxvisa::WallClockMs() - start) {
        if (!ReceiveOnce(sockets, buffer, handle)) {
            uxvisa::AwaitDatagram(sockets, static_cast<int>(CollectingMs + 1 - passed));
        }
    }
    for (int i = 0; i < MostQueued && ReceiveOnce(sockets, buffer, handle); ++i) {
    }
}

bool Knows(const std::vector<std::string>& records, const std::string& record) {
    return std::any_of(records.begin(), records.end(), [&](const std::string& known) {
        return uxvisa::SameInstrument(known, record);
    });
}

} // namespace

CBcastUDP::CBcastUDP() = default;

CBcastUDP::~CBcastUDP() {
    EndLookups();
}

long CBcastUDP::FindResources(ISession* owner, char* expression, FindCallback callback,
                              void* context, int localPort, int destinationPort) {
    return uxvisa::Guarded([&]() -> long {
        const std::string wanted = expression;
        // Only shows whether there are sockets to be had at all.
        const auto probe = BroadcastSocket::Open();
        if (!probe) {
            return VI_ERROR_RSRC_NFOUND;
        }
        std::vector<char> request(BufferSize);
        const auto sockets = AskEveryInterface(localPort, destinationPort, [&] {
            const int length = FillRequest(request.data(), static_cast<int>(request.size()));
            return std::string(request.data(), static_cast<std::size_t>(length));
        });
        std::vector<std::string> records;
        Collect(sockets, [&](const auto& reply, int index, const auto& datagram) {
            const std::string record =
                ParseResponse(reply.data(), datagram.length, index, datagram.sender.c_str());
            if (!record.empty() && uxvisa::MatchesExpression(wanted, record) &&
                records.size() < MostRecords && !Knows(records, record)) {
                LookUp(datagram.sender);
                records.push_back(record);
            }
        });
        EndLookups();
        for (const std::string& record : records) {
            callback(owner, record.c_str(), context);
        }
        return VI_SUCCESS;
    });
}

void CBcastUDP::LookUp(const std::string& address) {
    m_lookups.push(nullptr);
    m_lookups.back() = new CGetHostByAddrThread(address.c_str());
}

void CBcastUDP::EndLookups() {
    for (; !m_lookups.empty(); m_lookups.pop()) {
        delete m_lookups.front();
    }
}
