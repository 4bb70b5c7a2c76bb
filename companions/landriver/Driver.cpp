// The functions that sessions look up: raw TCP sockets, "TCPIP::host::port::SOCKET", which is all
// that a VXI-11 session needs of its driver library.
#include <cstring>
#include <string>
#include <vector>

#include "companions/landriver/Connections.h"
#include "uxvisa/visatype.h"

#define EXPORTED __attribute__((visibility("default")))

namespace {

using landriver::Connection;
using landriver::Connections;

// Shared by all users; closing it closes nothing.
constexpr ViSession Manager = 1;

std::vector<std::string> Fields(const std::string& text) {
    std::vector<std::string> fields;
    std::size_t start = 0;
    for (std::size_t end; (end = text.find("::", start)) != std::string::npos; start = end + 2) {
        fields.push_back(text.substr(start, end - start));
    }
    fields.push_back(text.substr(start));
    return fields;
}

// No exception may pass into a program in another language.
template <typename Body>
ViStatus Ended(Body&& body) {
    try {
        return body();
    } catch (const std::exception&) {
        return VI_ERROR_SYSTEM_ERROR;
    }
}

template <typename Operation>
ViStatus With(ViSession vi, Operation&& operation) {
    return Ended([&]() -> ViStatus {
        const std::shared_ptr<Connection> connection = Connections::All().Find(vi);
        return connection == nullptr ? VI_ERROR_INV_OBJECT : operation(*connection);
    });
}

void Store(ViPUInt32 target, ViUInt32 value) {
    if (target != nullptr) {
        *target = value;
    }
}

} // namespace

extern "C" {

EXPORTED ViStatus uxOpenDefaultRM(ViPSession vi) {
    *vi = Manager;
    return VI_SUCCESS;
}

EXPORTED ViStatus uxOpen(ViSession, ViRsrc name, ViAccessMode, ViUInt32 timeoutMs, ViPSession vi) {
    return Ended([&]() -> ViStatus {
        const std::vector<std::string> fields = Fields(name == nullptr ? "" : name);
        if (fields.size() != 4 || fields[3] != "SOCKET") {
            return VI_ERROR_INV_RSRC_NAME;
        }
        ViStatus status = VI_SUCCESS;
        auto connection = Connection::Open(fields[1], fields[2], timeoutMs, status);
        if (connection != nullptr) {
            *vi = Connections::All().Add(std::move(connection));
        }
        return status;
    });
}

EXPORTED ViStatus uxClose(ViObject vi) {
    return Ended([&]() -> ViStatus {
        return vi == Manager || Connections::All().Remove(vi) ? VI_SUCCESS : VI_ERROR_INV_OBJECT;
    });
}

EXPORTED ViStatus uxRead(ViSession vi, ViPByte buffer, ViUInt32 count, ViPUInt32 readCount) {
    return With(vi, [&](const Connection& connection) {
        ViUInt32 done = 0;
        const ViStatus status = connection.Read(buffer, count, done);
        Store(readCount, done);
        return status;
    });
}

EXPORTED ViStatus uxWrite(ViSession vi, ViConstBuf buffer, ViUInt32 count, ViPUInt32 writtenCount) {
    return With(vi, [&](const Connection& connection) {
        ViUInt32 done = 0;
        const ViStatus status = connection.Write(buffer, count, done);
        Store(writtenCount, done);
        return status;
    });
}

EXPORTED ViStatus uxClear(ViSession vi) {
    return With(vi, [](const Connection& connection) -> ViStatus {
        connection.Discard();
        return VI_SUCCESS;
    });
}

EXPORTED ViStatus uxSetAttribute(ViObject vi, ViAttr attribute, ViAttrState value) {
    return With(vi, [&](Connection& connection) -> ViStatus {
        if (attribute != VI_ATTR_TMO_VALUE) {
            return VI_ERROR_NSUP_ATTR;
        }
        connection.SetTimeout(value);
        return VI_SUCCESS;
    });
}

EXPORTED ViStatus uxGetAttribute(ViObject vi, ViAttr attribute, void* value) {
    return With(vi, [&](const Connection& connection) -> ViStatus {
        if (attribute != VI_ATTR_TMO_VALUE) {
            return VI_ERROR_NSUP_ATTR;
        }
        const ViUInt32 timeout = connection.Timeout();
        std::memcpy(value, &timeout, sizeof timeout);
        return VI_SUCCESS;
    });
}

} // extern "C"
