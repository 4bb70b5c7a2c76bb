// A small protocol for tests and fuzz targets, behind the functions of a protocol library.
#pragma once

#include <cstddef>
#include <cstring>

#include "brix/Protocol.h"

namespace uxvisa::test {

struct NamedNumber {
    int number;
    const char* name;
};

struct NamedParameter {
    int id;
    const char* name;
    int size;
    int fract;
};

constexpr NamedNumber SmallCommands[] = {{1, "RESET"}, {2, "IDENT"}, {6, "BLOCK"}, {3, "ODD"}};

constexpr NamedParameter SmallParameters[] = {
    {0x0101, "FREQ", 4, 2},  {0x0102, "BYTE", 1, 0},     {0x0103, "WORD", 2, 1},
    {0x0104, "RAW", 0, 0},   {0x0105, "FRACTION", 0, 2}, {0x0106, "LONG", 8, 0},
    {0x0107, "WIDE", 15, 0}, {0x0108, "WRAPPED", 16, 0}, {10, "TEXT", 1, 0},
};

// As libraries have them: the name, a "=", and an explanation.
constexpr NamedNumber SmallErrors[] = {{0, "OK"},
                                       {-32768, "REQUEST"},
                                       {-32765, "BAD_VALUES=the values do not match"},
                                       {-32763, "TOO_SHORT=the body is too short"},
                                       {-1, "=nameless"}};

template <std::size_t Count>
const char* SmallName(const NamedNumber (&rows)[Count], int number) {
    for (const NamedNumber& row : rows) {
        if (row.number == number) {
            return row.name;
        }
    }
    return "";
}

inline const NamedParameter* SmallParameter(int id) {
    for (const NamedParameter& row : SmallParameters) {
        if (row.id == id) {
            return &row;
        }
    }
    return nullptr;
}

inline int SmallCommandID(int, const char* name) {
    for (const NamedNumber& row : SmallCommands) {
        if (std::strcmp(row.name, name) == 0) {
            return row.number;
        }
    }
    return -1;
}

inline int SmallParameterID(int, const char* name) {
    for (const NamedParameter& row : SmallParameters) {
        if (std::strcmp(row.name, name) == 0) {
            return row.id;
        }
    }
    return -1;
}

inline const char* SmallErrorName(int, int code) {
    return SmallName(SmallErrors, code);
}

inline const char* SmallCommandName(int, int command) {
    return SmallName(SmallCommands, command);
}

inline const char* SmallParameterName(int, int parameter) {
    const NamedParameter* row = SmallParameter(parameter);
    return row == nullptr ? "" : row->name;
}

inline char SmallParameterSize(int, int parameter, int) {
    const NamedParameter* row = SmallParameter(parameter);
    return static_cast<char>(row == nullptr ? 0 : row->size);
}

inline char SmallParameterFract(int, int parameter, int) {
    const NamedParameter* row = SmallParameter(parameter);
    return static_cast<char>(row == nullptr ? 0 : row->fract);
}

inline brix::ProtocolFunctions SmallProtocol() {
    brix::ProtocolFunctions functions;
    functions.GetErrorName = SmallErrorName;
    functions.GetCommandName = SmallCommandName;
    functions.GetParameterName = SmallParameterName;
    functions.GetCommandID = SmallCommandID;
    functions.GetParameterFract = SmallParameterFract;
    functions.GetParameterSize = SmallParameterSize;
    functions.GetParameterID = SmallParameterID;
    return functions;
}

} // namespace uxvisa::test
