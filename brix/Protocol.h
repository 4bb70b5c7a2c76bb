// The names and sizes of one protocol, as a protocol-description library tells them.
#pragma once

namespace uxvisa::brix {

// The functions of the library, by the names they have there. `handle` is what OpenSession() gave.
struct ProtocolFunctions {
    int (*OpenSession)(int* handle) = nullptr;
    int (*ProtLoadFromFile)(int handle, const char* file) = nullptr;
    const char* (*GetErrorName)(int handle, int code) = nullptr;
    const char* (*GetCommandName)(int handle, int command) = nullptr;
    const char* (*GetParameterName)(int handle, int parameter) = nullptr;
    int (*GetCommandID)(int handle, const char* name) = nullptr;
    char (*GetParameterFract)(int handle, int parameter, int reserved) = nullptr;
    char (*GetParameterSize)(int handle, int parameter, int reserved) = nullptr;
    int (*GetParameterID)(int handle, const char* name) = nullptr;
    void (*CloseSession)(int handle) = nullptr;
};

// Look-ups in a protocol that is loaded. One whose function is not bound answers like one that
// finds nothing.
class ProtocolNames {
public:
    ProtocolNames(const ProtocolFunctions& functions, int handle)
        : m_functions(functions), m_handle(handle) {}

    // Never null; empty when unknown. Good until the library is asked for the next name.
    const char* ErrorName(int code) const { return Name(m_functions.GetErrorName, code); }
    const char* CommandName(int command) const { return Name(m_functions.GetCommandName, command); }
    const char* ParameterName(int parameter) const {
        return Name(m_functions.GetParameterName, parameter);
    }

    // Negative when unknown.
    int CommandID(const char* name) const { return Id(m_functions.GetCommandID, name); }
    int ParameterID(const char* name) const { return Id(m_functions.GetParameterID, name); }

    // Bytes per value, 0 when unknown, and how many of them lie behind the point.
    int ParameterSize(int parameter) const {
        return Count(m_functions.GetParameterSize, parameter);
    }
    int ParameterFract(int parameter) const {
        return Count(m_functions.GetParameterFract, parameter);
    }

private:
    const char* Name(const char* (*lookUp)(int, int), int number) const {
        const char* name = lookUp == nullptr ? nullptr : lookUp(m_handle, number);
        return name == nullptr ? "" : name;
    }
    int Id(int (*lookUp)(int, const char*), const char* name) const {
        return lookUp == nullptr ? -1 : lookUp(m_handle, name);
    }
    int Count(char (*lookUp)(int, int, int), int parameter) const {
        return lookUp == nullptr ? 0 : lookUp(m_handle, parameter, 0);
    }

    const ProtocolFunctions& m_functions;
    int m_handle;
};

} // namespace uxvisa::brix
