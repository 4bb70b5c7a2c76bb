// What a Protocol.xml says: numbers and names of an instrument's commands, parameters and errors.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace protodesc {

struct Command {
    int id;
    std::string name;
};

struct Parameter {
    int id;
    std::string name;
    char size;  // bytes of a value; 0: not known
    char fract; // how many of them are fraction
};

struct Error {
    int code; // 0 to 65535
    std::string name;
    std::string label; // "name=text", or the name alone when there is no text
};

// Letters of other languages are left alone, whatever the process's locale.
std::string UpperCased(std::string_view name);

// Entries by their number and by their name, whose case does not matter.
template <typename Entry>
class Table {
public:
    // For entries whose number and name are not in the table.
    void Add(int number, Entry entry) {
        m_byNumber.emplace(number, m_entries.size());
        m_byName.emplace(UpperCased(entry.name), m_entries.size());
        m_entries.push_back(std::move(entry));
    }

    // Null when there is none.
    const Entry* Find(int number) const { return At(m_byNumber, number); }
    const Entry* Find(std::string_view name) const { return At(m_byName, UpperCased(name)); }

    // In the order of the file.
    const std::vector<Entry>& Entries() const { return m_entries; }

private:
    template <typename Index, typename Key>
    const Entry* At(const Index& index, const Key& key) const {
        const auto found = index.find(key);
        return found == index.end() ? nullptr : &m_entries[found->second];
    }

    std::vector<Entry> m_entries;
    std::map<int, std::size_t> m_byNumber;
    std::map<std::string, std::size_t, std::less<>> m_byName;
};

struct ProtocolDescription {
    Table<Command> commands;
    Table<Parameter> parameters;
    Table<Error> errors;

    // Only the low 16 bits count: a status is -32763 to some and 0x8005 to others.
    const Error* FindError(int code) const { return errors.Find(code & 0xFFFF); }
};

} // namespace protodesc
