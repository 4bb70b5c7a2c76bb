// Protocol.xml: every input is a description or a fault with its line, and what a description holds
// keeps to the limits and is found by number and by name.
#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <variant>

#include "companions/protodesc/ProtocolXml.h"

namespace {

using namespace protodesc;

void Require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

template <typename Entry>
void CheckEntry(const Table<Entry>& table, int number, const Entry& entry) {
    Require(number >= 0 && number <= 0xFFFF && !entry.name.empty());
    Require(std::all_of(entry.name.begin(), entry.name.end(), [](char c) {
        return c == '_' || std::isalnum(static_cast<unsigned char>(c)) != 0;
    }));
    Require(table.Find(number) == &entry && table.Find(UpperCased(entry.name)) == &entry);
}

void Check(const ProtocolDescription& description) {
    for (const Command& command : description.commands.Entries()) {
        CheckEntry(description.commands, command.id, command);
    }
    for (const Parameter& parameter : description.parameters.Entries()) {
        CheckEntry(description.parameters, parameter.id, parameter);
        Require(parameter.size >= 0 && parameter.size <= 15);
        Require(parameter.fract >= 0 && parameter.fract <= 15);
    }
    for (const Error& error : description.errors.Entries()) {
        CheckEntry(description.errors, error.code, error);
        Require(description.FindError(error.code - 0x10000) == &error);
        Require(error.label.substr(0, error.label.find('=')) == error.name);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto result = ParseProtocol(reinterpret_cast<const char*>(data), size);
    if (const auto* fault = std::get_if<Fault>(&result)) {
        Require(!fault->message.empty() && fault->line >= 1);
        Require(fault->line <= 1 + static_cast<unsigned long>(size));
        return 0;
    }
    Check(std::get<ProtocolDescription>(result));
    return 0;
}
