// Resource strings: parsing never fails but by its status, writes only on success, and agrees with
// itself over the outputs asked for.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "core/CommonLib.h"
#include "core/resourcemanager.h"
#include "uxvisa/visatype.h"

namespace {

void Require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static CResourceManager manager(nullptr);
    std::string resource(reinterpret_cast<const char*>(data), size);
    resource.resize(std::strlen(resource.c_str()));
    std::string classWord(resource.size() + 1, 'x');
    std::string expanded(resource.size() + 1, 'x');
    unsigned short type = 99;
    unsigned short number = 99;
    const long status = manager.ParseRsrcEx(resource.data(), &type, &number, classWord.data(),
                                            expanded.data(), nullptr);
    std::vector<std::string> fields = uxvisa::SplitAddress(resource);
    if (status == VI_SUCCESS) {
        Require(number == 0 && fields.size() >= 2);
        Require(type == VI_INTF_TCPIP || type == VI_INTF_USB || type == VI_INTF_ASRL ||
                type == VI_INTF_GPIB || type == VI_INTF_USOCK);
        Require(resource == expanded.c_str());
        Require(classWord.c_str() == uxvisa::UpperCased(fields.back().c_str()));
    } else {
        Require(status == VI_ERROR_INV_RSRC_NAME && type == 99 && number == 99);
        Require(expanded == std::string(resource.size() + 1, 'x'));
    }
    std::string joined;
    for (std::size_t i = 0; i < fields.size(); ++i) {
        joined += (i == 0 ? "" : "::") + fields[i];
    }
    Require(joined == resource);
    isHislipSession(fields);
    return 0;
}
