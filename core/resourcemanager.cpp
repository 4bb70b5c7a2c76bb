#include "core/resourcemanager.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>

#include "core/CommonLib.h"
#include "core/Guard.h"
#include "core/SessionClasses.h"
#include "core/SessionFindList.h"
#include "uxvisa/visatype.h"

namespace {

constexpr unsigned int LargestId = std::numeric_limits<unsigned int>::max();

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

struct ParsedResource {
    unsigned short interfaceType = 0;
    std::string classWord;
};

// 0 for a name that is no interface. Serial ports go by their device name, so a "TTY" anywhere in
// it is enough ("ttyUSB0", and on purpose also "pretty").
unsigned short InterfaceType(const std::string& name) {
    if (name == "TCPIP") {
        return VI_INTF_TCPIP;
    }
    if (name == "USB") {
        return VI_INTF_USB;
    }
    if (name.find("TTY") != std::string::npos) {
        return VI_INTF_ASRL;
    }
    if (name == "GPIB") {
        return VI_INTF_GPIB;
    }
    return name == "USOCK" ? VI_INTF_USOCK : 0;
}

// The name before the board number; false when something else than digits follows it.
bool SplitInterface(const std::string& field, std::string& name) {
    const auto digits = std::find_if(field.begin(), field.end(), IsDigit);
    name = uxvisa::UpperCased(std::string(field.begin(), digits).c_str());
    return std::all_of(digits, field.end(), IsDigit);
}

// What is behind the number is not looked at, and only its low 32 bits count: "5025x" and -1 name
// ports, 4294967296 does not.
bool NamesPort(const std::string& field) {
    return static_cast<unsigned int>(std::strtol(field.c_str(), nullptr, 10)) != 0;
}

bool Parse(const char* resource, ParsedResource& parsed) {
    if (resource == nullptr) {
        return false;
    }
    const std::vector<std::string> fields = uxvisa::SplitAddress(resource);
    std::string name;
    if (fields.size() < 2 || !SplitInterface(fields.front(), name)) {
        return false;
    }
    parsed.interfaceType = InterfaceType(name);
    parsed.classWord = uxvisa::UpperCased(fields.back().c_str());
    if (parsed.interfaceType == VI_INTF_TCPIP && parsed.classWord == "SOCKET") {
        return fields.size() > 2 && NamesPort(fields[2]);
    }
    return parsed.interfaceType != 0;
}

void CopyText(char* target, const char* text) {
    if (target != nullptr) {
        std::strcpy(target, text);
    }
}

void Store(unsigned short* target, unsigned short value) {
    if (target != nullptr) {
        *target = value;
    }
}

} // namespace

CResourceManager::CResourceManager(void* context) : m_context(context) {
    CBaseSession::SetID(uxvisa::RandomUpTo(LargestId));
}

CResourceManager::~CResourceManager() {
    while (!m_sessions.empty()) {
        CResourceManager::Close(m_sessions.back()->GetID());
    }
}

ISession* CResourceManager::FindSession(unsigned long id) {
    for (ISession* session : m_sessions) {
        if (session->GetID() == id) {
            return session;
        }
    }
    return nullptr;
}

// The newest entry goes, although FindSession finds the oldest: identifiers are drawn at random and
// not compared, and of two equal ones the older stays reachable.
long CResourceManager::Close(unsigned long id) {
    return uxvisa::Guarded([&]() -> long {
        const auto found = std::find_if(m_sessions.rbegin(), m_sessions.rend(),
                                        [id](ISession* session) { return session->GetID() == id; });
        if (found == m_sessions.rend()) {
            return VI_ERROR_INV_OBJECT;
        }
        // Out of the registry first: a session's destructor may close sessions it opened.
        const std::unique_ptr<ISession> closing(*found);
        m_sessions.erase(std::next(found).base());
        return VI_SUCCESS;
    });
}

// The board number is checked but never converted: every resource is on board 0.
long CResourceManager::ParseRsrcEx(char* resource, unsigned short* interfaceType,
                                   unsigned short* interfaceNumber, char* resourceClass,
                                   char* expandedName, char* alias) {
    return uxvisa::Guarded([&]() -> long {
        ParsedResource parsed;
        if (!Parse(resource, parsed)) {
            return VI_ERROR_INV_RSRC_NAME;
        }
        Store(interfaceType, parsed.interfaceType);
        Store(interfaceNumber, 0);
        CopyText(resourceClass, parsed.classWord.c_str());
        CopyText(expandedName, resource);
        CopyText(alias, "");
        return VI_SUCCESS;
    });
}

long CResourceManager::Open(char* resource, unsigned long accessMode, unsigned long timeoutMs,
                            ISession** session) {
    return uxvisa::Guarded(
        [&] { return OpenRegistered(resource, accessMode, timeoutMs, session); });
}

long CResourceManager::OpenRegistered(char* resource, unsigned long accessMode,
                                      unsigned long timeoutMs, ISession** session) {
    unsigned short interfaceType = 0;
    unsigned short interfaceNumber = 0;
    std::string classWord(resource == nullptr ? 0 : std::strlen(resource) + 1, '\0');
    const long parsed =
        ParseRsrcEx(resource, &interfaceType, &interfaceNumber, classWord.data(), nullptr, nullptr);
    if (parsed != VI_SUCCESS) {
        return parsed;
    }
    uxvisa::SessionChoice choice = uxvisa::MakeSession(classWord.c_str(), interfaceType, this);
    if (choice.session == nullptr) {
        return choice.status;
    }
    // Room first, so that a session once connected is registered without fail.
    m_sessions.reserve(m_sessions.size() + 1);
    const long opened = choice.session->OpenConnection(resource, accessMode, timeoutMs);
    if (opened != VI_SUCCESS) {
        return opened;
    }
    m_sessions.push_back(choice.session.get());
    ISession* registered = choice.session.release();
    registered->SetID(uxvisa::RandomUpTo(LargestId));
    if (session != nullptr) {
        *session = registered;
    }
    return VI_SUCCESS;
}

long CResourceManager::FindRsrc(char* expression, ISession** list, unsigned long* count,
                                char* description) {
    if (count != nullptr) {
        *count = 0;
    }
    return uxvisa::Guarded([&]() -> long {
        auto found = std::make_unique<CSessionFindList>();
        const long status = found->FindRsrc(expression, nullptr, count, description);
        if (status != VI_SUCCESS || list == nullptr) {
            return status;
        }
        found->SetID(uxvisa::RandomUpTo(LargestId));
        m_sessions.push_back(found.get());
        *list = found.release();
        return VI_SUCCESS;
    });
}

bool isHislipSession(std::vector<std::string>& fields) {
    return std::any_of(fields.begin(), fields.end(), [](const std::string& field) {
        return uxvisa::UpperCased(field.c_str()).find("HISLIP") != std::string::npos;
    });
}
