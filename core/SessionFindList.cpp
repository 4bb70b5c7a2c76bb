#include "core/SessionFindList.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

#include "Library/Thread.h"
#include "core/CommonLib.h"
#include "core/Guard.h"
#include "core/SessionClasses.h"
#include "uxvisa/visatype.h"

namespace {

constexpr std::size_t DescriptionSize = VI_FIND_BUFLEN;
// This library's own: the further identity text of a record.
constexpr unsigned long AttributeIdentity = 0x3FFF024A;

enum RecordField { Resource, Manufacturer, Model, SerialNumber, Identity, Address };

std::string RecordText(const std::string& record, RecordField field) {
    return uxvisa::Field(record.c_str(), field, '\n');
}

// Returns how many bytes of `room` were taken, the NUL included; a text that does not fit is cut.
std::size_t Store(char* target, std::size_t room, const std::string& text) {
    if (room == 0) {
        return 0;
    }
    const std::size_t size = std::min(text.size(), room - 1);
    std::memcpy(target, text.data(), size);
    target[size] = '\0';
    return size + 1;
}

std::string Summary(const std::string& record) {
    std::string summary;
    summary.append("\t").append(RecordText(record, Identity));
    summary.append("\t").append(RecordText(record, Model));
    summary.append(" ").append(RecordText(record, SerialNumber));
    return summary.append("\t").append(RecordText(record, Address)).append("\t");
}

// Programs that know of the summary read on behind the resource string.
void Describe(const std::string& record, char* description) {
    const std::size_t used = Store(description, DescriptionSize, RecordText(record, Resource));
    Store(description + used, DescriptionSize - used, Summary(record));
}

bool FieldOfAttribute(unsigned long attribute, RecordField& field) {
    switch (attribute) {
    case VI_ATTR_MANF_NAME:
        field = Manufacturer;
        return true;
    case VI_ATTR_MODEL_NAME:
        field = Model;
        return true;
    case VI_ATTR_USB_SERIAL_NUM:
        field = SerialNumber;
        return true;
    case AttributeIdentity:
        field = Identity;
        return true;
    case VI_ATTR_TCPIP_ADDR:
        field = Address;
        return true;
    default:
        return false;
    }
}

// Both ask for every resource. Only these two do: another expression is the transports' business,
// although most of them take it for a filter of their own kind.
bool AsksForEverything(const std::string& expression) {
    return expression == "?*" || expression == "?*[T,E][R,T]";
}

} // namespace

// The search has a thread of its own, so that the transports have a stack of their own.
class CSessionFindList::Search : public CThreadObject {
public:
    explicit Search(CSessionFindList& list) : CThreadObject(0), m_list(list) {}
    ~Search() override { ThreadStop(0); }

    void ThreadCycle() override {
        uxvisa::Guarded([&] {
            m_list.SearchEverywhere();
            return VI_SUCCESS;
        });
    }

    void Run() {
        if (ThreadStart() == 0) {
            ThreadStop(0);
        } else {
            ThreadCycle();
        }
    }

private:
    CSessionFindList& m_list;
};

CSessionFindList::CSessionFindList() = default;

CSessionFindList::~CSessionFindList() = default;

long CSessionFindList::FindRsrc(char* expression, ISession**, unsigned long* count,
                                char* description) {
    return uxvisa::Guarded([&]() -> long {
        if (expression == nullptr) {
            return VI_ERROR_INV_EXPR;
        }
        m_records.clear();
        m_expression = AsksForEverything(expression) ? std::string() : std::string(expression);
        Search(*this).Run();
        if (count != nullptr) {
            *count = m_records.size();
        }
        return FindNext(description);
    });
}

// Statuses are not looked at: one transport that cannot search keeps none of the others from it.
void CSessionFindList::SearchEverywhere() {
    const std::vector<std::unique_ptr<ISession>> sessions = uxvisa::MakeSearchableSessions();
    for (const auto& session : sessions) {
        session->FindResources(m_expression.data(), FnFindHandler, this);
    }
    if (!sessions.empty()) {
        sessions.front()->CloseConnection();
    }
}

long CSessionFindList::FindNext(char* description) {
    return uxvisa::Guarded([&]() -> long {
        if (m_records.empty()) {
            return VI_ERROR_RSRC_NFOUND;
        }
        m_current = m_records.front();
        if (description != nullptr) {
            Describe(m_current, description);
        }
        m_records.pop_front();
        return VI_SUCCESS;
    });
}

long CSessionFindList::OpenConnection(char*, unsigned long, unsigned long) {
    return VI_SUCCESS;
}

long CSessionFindList::CloseConnection() {
    return VI_SUCCESS;
}

long CSessionFindList::SetAttribute(unsigned long, unsigned long) {
    return VI_ERROR_NSUP_ATTR;
}

long CSessionFindList::GetAttribute(unsigned long attribute, void* value) {
    return uxvisa::Guarded([&]() -> long {
        RecordField field = Resource;
        if (!FieldOfAttribute(attribute, field)) {
            return VI_ERROR_NSUP_ATTR;
        }
        if (value == nullptr) {
            return VI_ERROR_NSUP_ATTR_STATE;
        }
        Store(static_cast<char*>(value), DescriptionSize, RecordText(m_current, field));
        return VI_SUCCESS;
    });
}

long CSessionFindList::FindHandler(ISession*, const char* record) {
    return uxvisa::Guarded([&]() -> long {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_records.emplace_back(record);
        return VI_SUCCESS;
    });
}

long FnFindHandler(ISession* source, const char* record, void* context) {
    return static_cast<CSessionFindList*>(context)->FindHandler(source, record);
}
