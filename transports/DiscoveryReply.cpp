#include "transports/DiscoveryReply.h"

#include <algorithm>
#include <string_view>

#include "core/CommonLib.h"
#include "transports/RpcRecord.h"

namespace uxvisa {

namespace {

constexpr std::size_t PortmapperReplySize = 28;
constexpr std::uint32_t Reply = 1;
constexpr std::uint32_t LargestPort = 65535;

// Up to the first NUL, trimmed; a line feed that is left inside would break the record in two.
std::string Text(const char* bytes, std::size_t length) {
    const std::string_view all(bytes, length);
    const std::string text = Trimmed(std::string(all.substr(0, all.find('\0'))).c_str());
    return text.substr(0, text.find('\n'));
}

std::string TakeField(std::string& rest) {
    const std::size_t tab = rest.find('\t');
    std::string field = rest.substr(0, tab);
    rest.erase(0, tab == std::string::npos ? rest.size() : tab + 1);
    return field;
}

// Model and serial number; without a blank all of it is the model.
std::string ModelAndSerial(const std::string& text) {
    const std::size_t blank = text.rfind(' ');
    return blank == std::string::npos ? text + "\n"
                                      : text.substr(0, blank) + "\n" + text.substr(blank + 1);
}

std::string Resource(int socketIndex, const std::string& rest) {
    return "TCPIP" + std::to_string(socketIndex) + "::" + rest;
}

} // namespace

// The manufacturer is fixed, on purpose: only instruments of this make know the request.
std::string SocketRecord(const char* reply, std::size_t length, int socketIndex,
                         const std::string& sender) {
    std::string rest = Text(reply, length);
    const std::string host = TakeField(rest);
    const std::string port = TakeField(rest);
    const std::string name = TakeField(rest);
    if (host.empty() || port.empty()) {
        return {};
    }
    return Resource(socketIndex, host + "::" + port + "::SOCKET") + "\nOrvane\n" +
           ModelAndSerial(rest) + "\n" + name + "\n" + sender;
}

std::uint32_t PortOfReply(const char* reply, std::size_t length) {
    if (length < PortmapperReplySize) {
        return 0;
    }
    const auto* bytes = reinterpret_cast<const unsigned char*>(reply);
    const bool accepted = rpc::WordAt(bytes + 4) == Reply && rpc::WordAt(bytes + 8) == 0 &&
                          rpc::WordAt(bytes + 20) == 0;
    const std::uint32_t port = rpc::WordAt(bytes + 24);
    return accepted && port <= LargestPort ? port : 0;
}

std::string Vxi11Record(const char* reply, std::size_t length, int socketIndex,
                        const std::string& sender) {
    if (PortOfReply(reply, length) == 0) {
        return {};
    }
    return Resource(socketIndex, sender + "::inst0::INSTR") + "\n\n\n\n\n" + sender;
}

std::string WithIdentity(const std::string& record, const std::string& identity) {
    const std::string text = Text(identity.data(), identity.size());
    std::string fields;
    for (int i = 0; i < 4; ++i) {
        fields += Trimmed(Field(text.c_str(), i, ',').c_str()) + "\n";
    }
    return record.substr(0, record.find('\n') + 1) + fields + Field(record.c_str(), 5, '\n');
}

bool HasSerialNumber(const std::string& record) {
    return !Field(record.c_str(), 3, '\n').empty();
}

} // namespace uxvisa
