#include "companions/protodesc/ProtocolXml.h"

#include <algorithm>
#include <charconv>
#include <exception>
#include <initializer_list>
#include <memory>
#include <new>
#include <optional>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <utility>

#include <expat.h>

namespace protodesc {

namespace {

struct SchemaFault {
    std::string message;
};

struct Range {
    int least;
    int most;
};

constexpr Range Identifiers{0, 0xFFFF};
// Statuses are signed 16-bit numbers and are written unsigned in hexadecimal.
constexpr Range ErrorCodes{-0x8000, 0xFFFF};
// Half a byte of the packet's header.
constexpr Range ByteCounts{0, 15};
constexpr Range Versions{1, 1};

// Decimal or 0x with nothing around it; a sign only where the range goes below 0.
std::optional<int> Number(std::string_view text, Range range) {
    const bool hexadecimal = text.starts_with("0x");
    if (hexadecimal) {
        text.remove_prefix(2);
    }
    if (text.starts_with('-') && (hexadecimal || range.least >= 0)) {
        return std::nullopt;
    }
    int value = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value, hexadecimal ? 16 : 10);
    if (error != std::errc() || stop != end || value < range.least || value > range.most) {
        return std::nullopt;
    }
    return value;
}

bool IsNameLetter(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_';
}

bool IsBlank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

class Attributes {
public:
    // `pairs` are names and values in turn up to a null.
    Attributes(std::string_view element, const char** pairs,
               std::initializer_list<std::string_view> known)
        : m_element(element), m_pairs(pairs) {
        for (const char** pair = pairs; *pair != nullptr; pair += 2) {
            if (std::find(known.begin(), known.end(), *pair) == known.end()) {
                throw SchemaFault{"unknown attribute '" + std::string(*pair) + In()};
            }
        }
    }

    std::optional<std::string_view> Find(std::string_view name) const {
        for (const char** pair = m_pairs; *pair != nullptr; pair += 2) {
            if (name == *pair) {
                return pair[1];
            }
        }
        return std::nullopt;
    }

    std::string_view Get(std::string_view name) const {
        const auto value = Find(name);
        if (!value.has_value()) {
            throw SchemaFault{"no attribute '" + std::string(name) + In()};
        }
        return *value;
    }

    int GetNumber(std::string_view name, Range range) const {
        const auto number = Number(Get(name), range);
        if (!number.has_value()) {
            throw SchemaFault{"attribute '" + std::string(name) + In() + " is not a number from " +
                              std::to_string(range.least) + " to " + std::to_string(range.most)};
        }
        return *number;
    }

    char GetByteCount(std::string_view name) const {
        return static_cast<char>(GetNumber(name, ByteCounts));
    }

    std::string GetName() const {
        const std::string_view name = Get("name");
        if (name.empty() || !std::all_of(name.begin(), name.end(), IsNameLetter)) {
            throw SchemaFault{"attribute 'name" + In() + " is not letters, digits and '_'"};
        }
        return std::string(name);
    }

private:
    std::string In() const { return "' of <" + std::string(m_element) + ">"; }

    std::string_view m_element;
    const char** m_pairs;
};

template <typename Entry>
void AddUnique(Table<Entry>& table, int number, Entry entry) {
    if (table.Find(number) != nullptr) {
        throw SchemaFault{"the number of '" + entry.name + "' is taken"};
    }
    if (table.Find(std::string_view(entry.name)) != nullptr) {
        throw SchemaFault{"there is another '" + entry.name + "'"};
    }
    table.Add(number, std::move(entry));
}

// Puts the elements into a description, in the order the document has them.
class Elements {
public:
    void Start(std::string_view element, const char** attributes) {
        switch (m_depth++) {
        case 0:
            return StartRoot(element, attributes);
        case 1:
            return StartEntry(element, attributes);
        default:
            throw SchemaFault{"<" + std::string(element) + "> inside another entry"};
        }
    }

    void End() { --m_depth; }

    ProtocolDescription& Description() { return m_description; }

private:
    static void StartRoot(std::string_view element, const char** attributes) {
        if (element != "protocol") {
            throw SchemaFault{"the root is <" + std::string(element) + ">, not <protocol>"};
        }
        Attributes(element, attributes, {"version"}).GetNumber("version", Versions);
    }

    void StartEntry(std::string_view element, const char** attributes) {
        if (element == "command") {
            return AddCommand(Attributes(element, attributes, {"id", "name"}));
        }
        if (element == "parameter") {
            return AddParameter(Attributes(element, attributes, {"id", "name", "size", "fract"}));
        }
        if (element == "error") {
            return AddError(Attributes(element, attributes, {"code", "name", "text"}));
        }
        throw SchemaFault{"unknown element <" + std::string(element) + ">"};
    }

    void AddCommand(const Attributes& attributes) {
        const int id = attributes.GetNumber("id", Identifiers);
        AddUnique(m_description.commands, id, Command{id, attributes.GetName()});
    }

    void AddParameter(const Attributes& attributes) {
        const int id = attributes.GetNumber("id", Identifiers);
        Parameter parameter{id, attributes.GetName(), attributes.GetByteCount("size"), 0};
        if (attributes.Find("fract").has_value()) {
            parameter.fract = attributes.GetByteCount("fract");
        }
        AddUnique(m_description.parameters, id, std::move(parameter));
    }

    void AddError(const Attributes& attributes) {
        const int code = attributes.GetNumber("code", ErrorCodes) & 0xFFFF;
        Error error{code, attributes.GetName(), {}};
        const std::string_view text = attributes.Find("text").value_or("");
        error.label = text.empty() ? error.name : error.name + "=" + std::string(text);
        AddUnique(m_description.errors, code, std::move(error));
    }

    ProtocolDescription m_description;
    int m_depth = 0;
};

// Stands between the parser, which is C and must see no exception, and the elements.
class Document {
public:
    Document() : m_parser(XML_ParserCreate(nullptr)) {
        if (m_parser == nullptr) {
            throw std::bad_alloc();
        }
        XML_SetUserData(m_parser.get(), this);
        XML_SetElementHandler(m_parser.get(), OnStart, OnEnd);
        XML_SetCharacterDataHandler(m_parser.get(), OnText);
        XML_SetStartDoctypeDeclHandler(m_parser.get(), OnDoctype);
    }

    std::variant<ProtocolDescription, Fault> Parse(const char* data, int size) {
        const XML_Status status = XML_Parse(m_parser.get(), data, size, XML_TRUE);
        if (m_outOfMemory || XML_GetErrorCode(m_parser.get()) == XML_ERROR_NO_MEMORY) {
            throw std::bad_alloc();
        }
        if (m_fault.has_value()) {
            return std::move(*m_fault);
        }
        if (status != XML_STATUS_OK) {
            return Fault{Fault::Kind::NotWellFormed, XML_GetCurrentLineNumber(m_parser.get()),
                         XML_ErrorString(XML_GetErrorCode(m_parser.get()))};
        }
        return std::move(m_elements.Description());
    }

private:
    struct ParserDeleter {
        void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
    };

    static void OnStart(void* user, const char* element, const char** attributes) {
        Guarded(user, [&](Elements& elements) { elements.Start(element, attributes); });
    }

    static void OnEnd(void* user, const char*) {
        Guarded(user, [](Elements& elements) { elements.End(); });
    }

    static void OnText(void* user, const char* text, int length) {
        Guarded(user, [&](Elements&) {
            if (!std::all_of(text, text + length, IsBlank)) {
                throw SchemaFault{"text between the elements"};
            }
        });
    }

    // With no document type there are no entities of its own, which could grow without bounds or
    // name other files.
    static void OnDoctype(void* user, const char*, const char*, const char*, int) {
        Guarded(user, [](Elements&) { throw SchemaFault{"a document type is not allowed"}; });
    }

    // The parser may call on after it was stopped.
    template <typename Handler>
    static void Guarded(void* user, Handler&& handler) {
        auto& document = *static_cast<Document*>(user);
        if (document.m_stopped) {
            return;
        }
        try {
            document.Handle(handler);
        } catch (const std::exception&) {
            document.m_outOfMemory = true;
            document.Stop();
        }
    }

    template <typename Handler>
    void Handle(Handler&& handler) {
        try {
            handler(m_elements);
        } catch (SchemaFault& fault) {
            Stop();
            m_fault = Fault{Fault::Kind::AgainstSchema, XML_GetCurrentLineNumber(m_parser.get()),
                            std::move(fault.message)};
        }
    }

    void Stop() {
        m_stopped = true;
        XML_StopParser(m_parser.get(), XML_FALSE);
    }

    std::unique_ptr<std::remove_pointer_t<XML_Parser>, ParserDeleter> m_parser;
    Elements m_elements;
    std::optional<Fault> m_fault;
    bool m_stopped = false;
    bool m_outOfMemory = false;
};

} // namespace

std::variant<ProtocolDescription, Fault> ParseProtocol(const char* data, std::size_t size) {
    if (size > MaxDocumentSize) {
        return Fault{Fault::Kind::AgainstSchema, 1, "the document is larger than 32 MiB"};
    }
    return Document().Parse(data, static_cast<int>(size));
}

} // namespace protodesc
