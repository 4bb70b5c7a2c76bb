#include "tools/uxvisa/SessionKind.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "uxvisa/visatype.h"

namespace uxvisa::tool {

namespace {

struct DriverWord {
    std::string_view word;
    const char* library;
};

// The four without a library are reserved.
constexpr DriverWord DriverWords[] = {
    {"ECAL", "ecalbridge.dll"},
    {"TRM", "trmbridge.dll"},
    {"QUILL", "quillbridge.dll"},
    {"VNA", ""},
    {"SA", ""},
    {"NFA", ""},
    {"GEN", ""},
    {"NFM", "libbridge_nfm.so"},
    {"GNM", "libbridge_gnm.so"},
    {"SAPROC", "libbridge_saproc.so"},
};

const DriverWord* FindDriverWord(std::string_view classWord) {
    const auto* found = std::ranges::find(DriverWords, classWord, &DriverWord::word);
    return found == std::end(DriverWords) ? nullptr : found;
}

// Empty when there is no such field in front of the class word.
std::string AddressField(const ParsedResource& resource, std::size_t index) {
    return index + 1 < resource.fields.size() ? resource.fields[index] : "";
}

std::string DescribedSocket(const ParsedResource& resource) {
    if (resource.fields.size() != 4 || resource.classWord != "SOCKET") {
        return "raw TCP socket, which has the form TCPIP::HOST::PORT::SOCKET";
    }
    return "raw TCP socket: port " + AddressField(resource, 2) + " of " + AddressField(resource, 1);
}

std::string DescribedVxi11(const ParsedResource& resource, const std::string& boundDriver) {
    const std::string device = AddressField(resource, 2);
    const std::string where =
        ": " + (device.empty() ? "inst0" : device) + " of " + AddressField(resource, 1);
    return boundDriver.empty()
               ? "VXI-11 over a driver library, and none is bound (see --driver)" + where
               : "VXI-11 over the driver library " + boundDriver + where;
}

std::string DescribedDriver(const ParsedResource& resource) {
    const std::string library = DriverLibraryOf(resource.classWord);
    return library.empty() ? "a driver library, but there is none for " + resource.classWord
                           : "driver library " + library;
}

// The word stands behind the resource that carries the packets.
std::string DescribedProtocol(const ParsedResource& resource) {
    return "binary command protocol over " + resource.text.substr(0, resource.text.rfind("::"));
}

} // namespace

SessionKind KindOfSession(const std::string& classWord, unsigned short interfaceType) {
    if (classWord == "BRIX") {
        return SessionKind::BinaryProtocol;
    }
    if (FindDriverWord(classWord) != nullptr) {
        return SessionKind::DriverLibrary;
    }
    switch (interfaceType) {
    case VI_INTF_TCPIP:
        return classWord == "INSTR" ? SessionKind::Vxi11 : SessionKind::TcpSocket;
    case VI_INTF_USOCK:
        return SessionKind::LocalSocket;
    case VI_INTF_ASRL:
        return SessionKind::SerialPort;
    default:
        return SessionKind::None;
    }
}

std::string KindWord(SessionKind kind) {
    switch (kind) {
    case SessionKind::TcpSocket:
        return "tcp-socket";
    case SessionKind::Vxi11:
        return "vxi-11";
    case SessionKind::LocalSocket:
        return "local-socket";
    case SessionKind::SerialPort:
        return "serial-port";
    case SessionKind::DriverLibrary:
        return "driver-library";
    case SessionKind::BinaryProtocol:
        return "binary-protocol";
    case SessionKind::None:
        break;
    }
    return "none";
}

std::string DriverLibraryOf(const std::string& classWord) {
    const DriverWord* found = FindDriverWord(classWord);
    return found == nullptr ? "" : found->library;
}

std::string DescribedSession(const ParsedResource& resource, const std::string& boundDriver) {
    switch (KindOfSession(resource.classWord, resource.interfaceType)) {
    case SessionKind::TcpSocket:
        return DescribedSocket(resource);
    case SessionKind::Vxi11:
        return DescribedVxi11(resource, boundDriver);
    case SessionKind::LocalSocket:
        return "local socket: " + resource.fields[1];
    case SessionKind::SerialPort:
        return "serial port: /dev/" + resource.fields[0];
    case SessionKind::DriverLibrary:
        return DescribedDriver(resource);
    case SessionKind::BinaryProtocol:
        return DescribedProtocol(resource);
    case SessionKind::None:
        break;
    }
    return resource.interfaceType == VI_INTF_USB
               ? "nothing: USB instruments are found by searches and cannot be opened"
               : "nothing opens resources of this interface";
}

} // namespace uxvisa::tool
