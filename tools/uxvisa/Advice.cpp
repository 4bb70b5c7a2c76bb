#include "tools/uxvisa/Advice.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <vector>

#include "tools/uxvisa/Failure.h"
#include "tools/uxvisa/ProtocolDocument.h"

namespace uxvisa::tool {

namespace {

constexpr char Forms[] =
    "a resource looks like TCPIP::HOST::PORT::SOCKET, as TCPIP::192.168.1.20::5025::SOCKET";

std::vector<std::string> Fields(const std::string& resource) {
    std::vector<std::string> fields;
    std::size_t start = 0;
    for (std::size_t end = 0; end != std::string::npos; start = end + 2) {
        end = resource.find("::", start);
        fields.push_back(resource.substr(start, end - start));
    }
    return fields;
}

std::string UpperCase(std::string text) {
    std::ranges::transform(text, text.begin(), [](unsigned char character) {
        return static_cast<char>(std::toupper(character));
    });
    return text;
}

bool IsSocket(const std::vector<std::string>& fields) {
    return fields.size() == 4 && UpperCase(fields[0]).starts_with("TCPIP") &&
           UpperCase(fields[3]) == "SOCKET";
}

std::string InvalidName(const std::string& resource) {
    return UpperCase(resource).starts_with("ASRL")
               ? "a serial port goes by the name of its device, as ttyUSB0::INSTR"
               : Forms;
}

// Not the interface alone: a class word of a driver library may stand behind it.
bool IsPlain(const std::vector<std::string>& fields) {
    const std::string word = UpperCase(fields.back());
    return fields.size() > 1 && (word == "INSTR" || word == "SOCKET");
}

std::string NotFound(const std::string& resource) {
    const auto fields = Fields(resource);
    const std::string interface = UpperCase(fields[0]);
    if (IsSocket(fields)) {
        return "is the instrument on, and is " + fields[2] +
               " the port of its command socket? Try: ping " + fields[1];
    }
    if (IsPlain(fields) && interface.find("TTY") != std::string::npos) {
        return "does /dev/" + fields[0] +
               " exist, and may you read and write it? See docs/permissions.md";
    }
    if (IsPlain(fields) && interface.starts_with("USOCK")) {
        return "is the program that listens at " + fields[1] + " running?";
    }
    if (interface.starts_with("USB")) {
        return "USB instruments are found by searches and cannot be opened";
    }
    return std::string("nothing serves resources of this kind; ") + Forms;
}

std::string NoAnswerToConnect(const std::string& resource) {
    const auto fields = Fields(resource);
    const std::string host = IsSocket(fields) ? fields[1] : "HOST";
    return "is the host name right, and is the instrument on and in reach? Try: ping " + host;
}

bool IsSerial(const std::string& resource) {
    return UpperCase(Fields(resource)[0]).find("TTY") != std::string::npos;
}

bool IsBrix(const std::string& resource) {
    return UpperCase(resource).find("::BRIX") != std::string::npos;
}

std::string NoProtocolLibrary() {
    const char* library = "libProtoDesc.so.1.0.0";
    return std::filesystem::exists(library)
               ? std::string("the loader does not take the ") + library + " of this directory"
               : std::string("a BRIX session needs ") + library + " and " + ProtocolDocumentName +
                     " in the directory it is opened in, and this one has no library: "
                     "ln -s LIBDIR/" +
                     library + " . (see docs/protocol-xml.md)";
}

// Sessions open all the same when the document is missing or faulty.
std::string LineRefused(const Situation& situation) {
    if (!IsBrix(situation.resource)) {
        return {};
    }
    try {
        LoadProtocolDocument(ProtocolDocumentName);
    } catch (const Failure& failure) {
        return std::string("names come from the ") + ProtocolDocumentName +
               " of this directory: " + failure.what();
    }
    return "'uxvisa brix encode' says what is wrong with a line";
}

std::string OptionRefused(ViStatus status, const Situation& situation) {
    if (situation.option == "--baud") {
        return status == VI_ERROR_NSUP_ATTR_STATE
                   ? "speeds are 50, 75, 110, 134, 150, 200, 300, 600, 1200, 1800, 2400, 4800, "
                     "9600, 19200, 38400, 57600 and 115200"
                   : "--baud is for serial ports, as ttyUSB0::INSTR";
    }
    return situation.option + " is for resources with ::BRIX behind them";
}

std::string NoDriver(const std::string& resource) {
    if (IsBrix(resource)) {
        return NoProtocolLibrary();
    }
    if (UpperCase(Fields(resource).back()) == "INSTR") {
        return "a VXI-11 resource needs a driver library: --driver libuxdriver_lan.so";
    }
    return "the driver library of this class word is not on the loader's path";
}

std::string RaiseTimeout(ViUInt32 timeoutMs) {
    return "raise --timeout (now " + std::to_string(timeoutMs) + ")";
}

std::string NoAnswer(const Situation& situation) {
    const std::string raise = RaiseTimeout(situation.timeoutMs);
    if (situation.received > 0 && situation.isCounted) {
        return "the instrument has stopped sending: " + raise + " if it pauses for longer";
    }
    if (situation.received > 0) {
        return "the answer has begun but not ended: " + raise +
               ", or give --termchar off if its lines do not end in a line feed";
    }
    if (IsSerial(situation.resource)) {
        return raise + ", or is the speed another one (--baud), or the device unplugged?";
    }
    if (situation.command.empty()) {
        return "has the instrument been asked for something? If it needs longer, " + raise;
    }
    if (situation.command.find('?') == std::string::npos) {
        return "the command has no '?', so it may have no answer: use 'uxvisa write', or " + raise;
    }
    return raise +
           ", try another --eol, or check the command: an instrument is silent when it does "
           "not understand";
}

std::string TimeOut(const Situation& situation) {
    switch (situation.stage) {
    case Stage::Open:
    case Stage::Setup:
        return NoAnswerToConnect(situation.resource);
    case Stage::Write:
        return "the instrument takes no data: is it busy? Else " +
               RaiseTimeout(situation.timeoutMs);
    case Stage::Read:
        return NoAnswer(situation);
    }
    return {};
}

} // namespace

std::string Advice(ViStatus status, const Situation& situation) {
    if (!situation.option.empty()) {
        return OptionRefused(status, situation);
    }
    switch (status) {
    case VI_ERROR_INV_RSRC_NAME:
        return InvalidName(situation.resource);
    case VI_ERROR_RSRC_NFOUND:
        return NotFound(situation.resource);
    case VI_ERROR_TMO:
        return TimeOut(situation);
    case VI_ERROR_CONN_LOST:
        return "the instrument or the network broke the connection: is another program using it? "
               "Try again";
    case VI_ERROR_INP_PROT_VIOL:
        return LineRefused(situation);
    case VI_ERROR_LIBRARY_NFOUND:
        return NoDriver(situation.resource);
    case VI_ERROR_SYSTEM_ERROR:
        return "is there enough free memory?";
    default:
        return {};
    }
}

} // namespace uxvisa::tool
