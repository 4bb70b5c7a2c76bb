// An open file that knows its name for messages. Does not close it.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace uxvisa::tool {

class Descriptor {
public:
    Descriptor(int number, std::string name) : m_number(number), m_name(std::move(name)) {}

    int Number() const { return m_number; }
    // Writes all of it; a Failure says why not.
    void Write(std::string_view data) const;
    // The Failure that stands for an error number.
    [[noreturn]] void Fail(int error) const;

private:
    int m_number;
    std::string m_name;
};

Descriptor StandardOutput();
// A complaint that nobody can read is no reason to fail.
void WriteDiagnostic(std::string_view text);

// Puts something behind each standard descriptor that is closed, so that no file or connection of
// this program takes its place. Writing to a standard output put there fails.
void ReserveStandardDescriptors();

} // namespace uxvisa::tool
