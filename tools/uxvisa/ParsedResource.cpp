#include "tools/uxvisa/ParsedResource.h"

#include <algorithm>

#include "core/CommonLib.h"
#include "core/resourcemanager.h"
#include "tools/uxvisa/Advice.h"
#include "tools/uxvisa/Failure.h"
#include "tools/uxvisa/StatusTable.h"

namespace uxvisa::tool {

namespace {

struct NamedInterface {
    unsigned short type;
    const char* name;
};

constexpr NamedInterface Interfaces[] = {
    {VI_INTF_GPIB, "GPIB"}, {VI_INTF_VXI, "VXI"},     {VI_INTF_GPIB_VXI, "GPIB-VXI"},
    {VI_INTF_ASRL, "ASRL"}, {VI_INTF_PXI, "PXI"},     {VI_INTF_TCPIP, "TCPIP"},
    {VI_INTF_USB, "USB"},   {VI_INTF_USOCK, "USOCK"},
};

} // namespace

// The exported functions for this parse nothing for programs, on purpose; the class behind them
// does.
ParsedResource ParseResource(const std::string& text) {
    ParsedResource parsed;
    std::string mutableText = text;
    std::string classWord(text.size() + 1, '\0');
    CResourceManager manager(nullptr);
    const ViStatus status = manager.ParseRsrcEx(mutableText.data(), &parsed.interfaceType,
                                                &parsed.board, classWord.data(), nullptr, nullptr);
    if (status != VI_SUCCESS) {
        throw InstrumentFailure(text, status, StatusText(status),
                                Advice(status, {Stage::Open, text, "", 0, 0, false}));
    }
    parsed.text = text;
    parsed.classWord = classWord.c_str();
    parsed.fields = ParseAddress(text);
    return parsed;
}

std::string InterfaceName(unsigned short interfaceType) {
    const auto* found = std::ranges::find(Interfaces, interfaceType, &NamedInterface::type);
    return found == std::end(Interfaces) ? std::to_string(interfaceType) : found->name;
}

} // namespace uxvisa::tool
