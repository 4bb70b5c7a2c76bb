// A protocol-description library that knows the small protocol. Built once whole and once without
// each of its functions: the build then gives that one another name.
#include "tests/drivers/ScriptedProtocol.h"

#include "tests/support/SmallProtocol.h"

#define EXPORTED __attribute__((visibility("default")))

namespace {

uxvisa::test::ProtocolScript script;

const char* Scripted(const char* name) {
    return script.namesAreNull ? nullptr : name;
}

} // namespace

extern "C" {

EXPORTED uxvisa::test::ProtocolScript* ScriptedProtocolScript() {
    return &script;
}

EXPORTED int OpenSession(int* handle) {
    *handle = script.nextHandle++;
    script.log.push_back("open " + std::to_string(*handle));
    return script.openResult;
}

EXPORTED int ProtLoadFromFile(int handle, const char* file) {
    script.log.push_back("load " + std::to_string(handle) + " " + file);
    return script.loadResult;
}

EXPORTED const char* GetErrorName(int handle, int code) {
    return Scripted(uxvisa::test::SmallErrorName(handle, code));
}

EXPORTED const char* GetCommandName(int handle, int command) {
    return Scripted(uxvisa::test::SmallCommandName(handle, command));
}

EXPORTED const char* GetParameterName(int handle, int parameter) {
    return Scripted(uxvisa::test::SmallParameterName(handle, parameter));
}

EXPORTED int GetCommandID(int handle, const char* name) {
    return uxvisa::test::SmallCommandID(handle, name);
}

EXPORTED char GetParameterFract(int handle, int parameter, int reserved) {
    return uxvisa::test::SmallParameterFract(handle, parameter, reserved);
}

EXPORTED char GetParameterSize(int handle, int parameter, int reserved) {
    return uxvisa::test::SmallParameterSize(handle, parameter, reserved);
}

EXPORTED int GetParameterID(int handle, const char* name) {
    return uxvisa::test::SmallParameterID(handle, name);
}

EXPORTED void CloseSession(int handle) {
    script.log.push_back("close " + std::to_string(handle));
}
}
