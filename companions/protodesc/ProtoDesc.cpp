// The functions that BRIX sessions look up by name. Texts they return belong to the library and
// stay until the session loads again or is closed.
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>

#include "companions/protodesc/ProtocolFile.h"
#include "companions/protodesc/ProtocolXml.h"
#include "companions/protodesc/Sessions.h"

#define EXPORTED __attribute__((visibility("default")))

namespace {

using protodesc::Fault;
using protodesc::Parameter;
using protodesc::ProtocolDescription;
using protodesc::Sessions;

enum Result : int {
    Done = 0,
    BadHandle = -1,
    UnreadableFile = -2,
    NotWellFormed = -3,
    AgainstSchema = -4,
    OutOfMemory = -5,
};

constexpr int UnknownName = -1;

// No exception may pass into a program in another language.
template <typename Value, typename Body>
Value Ended(Value failed, Body&& body) {
    try {
        return body();
    } catch (const std::exception&) {
        return failed;
    }
}

// `unknown` for an unknown handle as well as for what `lookUp` does not find.
template <typename Value, typename LookUp>
Value With(int handle, Value unknown, LookUp&& lookUp) {
    return Ended(unknown, [&]() -> Value {
        const auto description = Sessions::All().Find(handle);
        return description == nullptr ? unknown : lookUp(*description);
    });
}

template <typename Entry>
const char* NameOf(const Entry* entry) {
    return entry == nullptr ? "" : entry->name.c_str();
}

template <typename Entry>
int IdOf(const protodesc::Table<Entry>& table, const char* name) {
    const Entry* const entry = name == nullptr ? nullptr : table.Find(std::string_view(name));
    return entry == nullptr ? UnknownName : entry->id;
}

int Load(int handle, const char* path) {
    if (Sessions::All().Find(handle) == nullptr) {
        return BadHandle;
    }
    const std::optional<std::string> text =
        path == nullptr ? std::nullopt : protodesc::ReadProtocolFile(path);
    if (!text.has_value()) {
        return UnreadableFile;
    }
    auto parsed = protodesc::ParseProtocol(text->data(), text->size());
    if (const auto* fault = std::get_if<Fault>(&parsed)) {
        return fault->kind == Fault::Kind::NotWellFormed ? NotWellFormed : AgainstSchema;
    }
    auto description = std::make_shared<const ProtocolDescription>(
        std::move(std::get<ProtocolDescription>(parsed)));
    return Sessions::All().Replace(handle, std::move(description)) ? Done : BadHandle;
}

} // namespace

extern "C" {

EXPORTED int OpenSession(int* handle) {
    if (handle == nullptr) {
        return BadHandle;
    }
    *handle = 0;
    return Ended<int>(OutOfMemory, [&]() -> int {
        *handle = Sessions::All().Open();
        return Done;
    });
}

EXPORTED int ProtLoadFromFile(int handle, const char* file) {
    return Ended<int>(OutOfMemory, [&] { return Load(handle, file); });
}

EXPORTED const char* GetErrorName(int handle, int code) {
    return With(handle, "", [&](const ProtocolDescription& description) {
        const auto* const error = description.FindError(code);
        return error == nullptr ? "" : error->label.c_str();
    });
}

EXPORTED const char* GetCommandName(int handle, int command) {
    return With(handle, "", [&](const ProtocolDescription& description) {
        return NameOf(description.commands.Find(command));
    });
}

EXPORTED const char* GetParameterName(int handle, int parameter) {
    return With(handle, "", [&](const ProtocolDescription& description) {
        return NameOf(description.parameters.Find(parameter));
    });
}

EXPORTED int GetCommandID(int handle, const char* name) {
    return With(handle, UnknownName, [&](const ProtocolDescription& description) {
        return IdOf(description.commands, name);
    });
}

EXPORTED char GetParameterFract(int handle, int parameter, int) {
    return With(handle, '\0', [&](const ProtocolDescription& description) {
        const Parameter* const found = description.parameters.Find(parameter);
        return found == nullptr ? '\0' : found->fract;
    });
}

EXPORTED char GetParameterSize(int handle, int parameter, int) {
    return With(handle, '\0', [&](const ProtocolDescription& description) {
        const Parameter* const found = description.parameters.Find(parameter);
        return found == nullptr ? '\0' : found->size;
    });
}

EXPORTED int GetParameterID(int handle, const char* name) {
    return With(handle, UnknownName, [&](const ProtocolDescription& description) {
        return IdOf(description.parameters, name);
    });
}

EXPORTED void CloseSession(int handle) {
    Ended(Done, [&] {
        Sessions::All().Close(handle);
        return Done;
    });
}

} // extern "C"
