#include "tools/uxvisa/ProtocolDocument.h"

#include "companions/protodesc/ProtocolFile.h"
#include "companions/protodesc/ProtocolXml.h"
#include "tools/uxvisa/Failure.h"

namespace uxvisa::tool {

namespace {

// The functions of a table have no place for it.
const protodesc::ProtocolDescription* named = nullptr;

const char* ErrorName(int, int code) {
    const protodesc::Error* found = named->FindError(code);
    return found == nullptr ? "" : found->label.c_str();
}

const char* CommandName(int, int command) {
    const protodesc::Command* found = named->commands.Find(command);
    return found == nullptr ? "" : found->name.c_str();
}

const char* ParameterName(int, int parameter) {
    const protodesc::Parameter* found = named->parameters.Find(parameter);
    return found == nullptr ? "" : found->name.c_str();
}

int CommandID(int, const char* name) {
    const protodesc::Command* found = named->commands.Find(std::string_view(name));
    return found == nullptr ? -1 : found->id;
}

int ParameterID(int, const char* name) {
    const protodesc::Parameter* found = named->parameters.Find(std::string_view(name));
    return found == nullptr ? -1 : found->id;
}

char ParameterSize(int, int parameter, int) {
    const protodesc::Parameter* found = named->parameters.Find(parameter);
    return found == nullptr ? '\0' : found->size;
}

char ParameterFract(int, int parameter, int) {
    const protodesc::Parameter* found = named->parameters.Find(parameter);
    return found == nullptr ? '\0' : found->fract;
}

} // namespace

protodesc::ProtocolDescription LoadProtocolDocument(const std::string& path) {
    const std::optional<std::string> text = protodesc::ReadProtocolFile(path.c_str());
    if (!text) {
        throw Failure(ExitFailed, path, "the protocol description cannot be read",
                      "it is Protocol.xml in this directory unless --protocol says otherwise; see "
                      "docs/protocol-xml.md");
    }
    auto parsed = protodesc::ParseProtocol(text->data(), text->size());
    if (const auto* fault = std::get_if<protodesc::Fault>(&parsed)) {
        throw Failure(ExitFailed, path,
                      "line " + std::to_string(fault->line) + ": " + fault->message,
                      "docs/protocol-xml.md says what belongs into the file");
    }
    return std::get<protodesc::ProtocolDescription>(std::move(parsed));
}

brix::ProtocolFunctions FunctionsOf(const protodesc::ProtocolDescription& description) {
    named = &description;
    brix::ProtocolFunctions functions;
    functions.GetErrorName = ErrorName;
    functions.GetCommandName = CommandName;
    functions.GetParameterName = ParameterName;
    functions.GetCommandID = CommandID;
    functions.GetParameterFract = ParameterFract;
    functions.GetParameterSize = ParameterSize;
    functions.GetParameterID = ParameterID;
    return functions;
}

} // namespace uxvisa::tool
