#include "tools/uxvisa/ResourceSearch.h"

#include <array>

#include "tools/uxvisa/ActivityLine.h"
#include "tools/uxvisa/Failure.h"
#include "tools/uxvisa/OutputDiversion.h"
#include "tools/uxvisa/StatusTable.h"
#include "uxvisa/visa.h"

namespace uxvisa::tool {

namespace {

// This library's own: the further identity of a resource.
constexpr ViAttr AttributeIdentity = 0x3FFF024A;

using Description = std::array<ViChar, VI_FIND_BUFLEN>;

class FoundList {
public:
    explicit FoundList(ViFindList handle) : m_handle(handle) {}
    ~FoundList() { viClose(m_handle); }
    FoundList(const FoundList&) = delete;
    FoundList& operator=(const FoundList&) = delete;

    bool GoToNext(Description& description) const {
        return viFindNext(m_handle, description.data()) == VI_SUCCESS;
    }

    FoundResource Current(const Description& description) const {
        return {description.data(),
                Attribute(VI_ATTR_MANF_NAME),
                Attribute(VI_ATTR_MODEL_NAME),
                Attribute(VI_ATTR_USB_SERIAL_NUM),
                Attribute(AttributeIdentity),
                Attribute(VI_ATTR_TCPIP_ADDR)};
    }

private:
    std::string Attribute(ViAttr attribute) const {
        std::array<ViChar, VI_FIND_BUFLEN> text{};
        viGetAttribute(m_handle, attribute, text.data());
        return text.data();
    }

    ViFindList m_handle;
};

std::vector<FoundResource> Search(const std::string& expression) {
    ViSession manager = VI_NULL;
    ViFindList handle = VI_NULL;
    Description description{};
    ViStatus status = viOpenDefaultRM(&manager);
    if (status >= VI_SUCCESS) {
        status = viFindRsrc(manager, expression.c_str(), &handle, nullptr, description.data());
    }
    if (status == VI_ERROR_RSRC_NFOUND) {
        return {};
    }
    if (status < VI_SUCCESS) {
        throw InstrumentFailure(expression, status, StatusText(status), "");
    }
    const FoundList list(handle);
    std::vector<FoundResource> resources;
    do {
        resources.push_back(list.Current(description));
    } while (list.GoToNext(description));
    return resources;
}

} // namespace

std::vector<FoundResource> SearchResources(const std::string& expression) {
    const OutputDiversion diversion(OutputDiversion::Target::Nowhere);
    const ActivityLine line("searching");
    return Search(expression);
}

} // namespace uxvisa::tool
