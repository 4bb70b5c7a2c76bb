#include "brix/Encoder.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string>

#include "brix/Packet.h"
#include "brix/TextNumbers.h"
#include "brix/ValueCodec.h"
#include "uxvisa/visatype.h"

namespace uxvisa::brix {

namespace {

// Letters are those of ASCII, whatever the process's locale.
bool IsLetter(char c) {
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'z';
}

bool IsWordCharacter(char c) {
    return IsLetter(c) || (c >= '0' && c <= '9') || c == '_';
}

bool IsBlank(char c) {
    return c == ' ' || c == '\t';
}

template <char From, char To>
std::string WithCase(std::string_view word) {
    std::string result(word);
    for (char& c : result) {
        c = c >= From && c <= To ? static_cast<char>(c ^ 0x20) : c;
    }
    return result;
}

constexpr auto UpperCase = WithCase<'a', 'z'>;
constexpr auto LowerCase = WithCase<'A', 'Z'>;

class LineCursor {
public:
    explicit LineCursor(std::string_view line) : m_rest(line.substr(0, line.find('\0'))) {}

    // NUL at the end.
    char Next() const { return m_rest.empty() ? '\0' : m_rest.front(); }
    std::string_view Rest() const { return m_rest; }
    void Skip(std::size_t count) { m_rest.remove_prefix(count); }

    bool SkipOne(char c) {
        const bool here = !m_rest.empty() && m_rest.front() == c;
        Skip(here ? 1 : 0);
        return here;
    }

    template <typename Belongs>
    std::string_view TakeWhile(Belongs&& belongs) {
        const auto end = std::find_if_not(m_rest.begin(), m_rest.end(), belongs);
        const auto taken = m_rest.substr(0, static_cast<std::size_t>(end - m_rest.begin()));
        Skip(taken.size());
        return taken;
    }

    void SkipBlanks() { TakeWhile(IsBlank); }

private:
    std::string_view m_rest;
};

enum Key {
    SignatureKey,
    StatusKey,
    FlagAKey,
    FlagBKey,
    BodyLenKey,
    IdKey,
    DummyKey,
    A,
    B,
    KeyCount
};

constexpr std::string_view KeyNames[KeyCount] = {"signature", "status", "flaga", "flagb", "bodylen",
                                                 "id",        "dummy",  "a",     "b"};

// What a line says about the header. A field that was not given counts as 0.
class HeaderFields {
public:
    HeaderFields() {
        Set(SignatureKey, Signature);
        Set(StatusKey, static_cast<std::uint16_t>(UnansweredStatus));
    }

    bool Given(Key key) const { return m_given[key]; }
    int operator[](Key key) const { return m_values[key]; }

    void Set(Key key, int value) {
        m_values[key] = value;
        m_given[key] = true;
    }
    // Other names are accepted and mean nothing.
    void SetByName(const std::string& name, int value) {
        const auto found = std::find(std::begin(KeyNames), std::end(KeyNames), name);
        if (found != std::end(KeyNames)) {
            Set(static_cast<Key>(found - std::begin(KeyNames)), value);
        }
    }
    // The short names win over the long ones.
    void ApplyAliases() {
        Apply(A, FlagAKey);
        Apply(B, FlagBKey);
    }

private:
    void Apply(Key alias, Key key) {
        if (Given(alias)) {
            Set(key, m_values[alias]);
        }
    }

    int m_values[KeyCount] = {};
    bool m_given[KeyCount] = {};
};

class LineEncoder {
public:
    LineEncoder(std::string_view line, char terminator, const ProtocolNames& names)
        : m_line(line), m_terminator(terminator), m_names(names) {}

    bool Encode(std::vector<unsigned char>& packet) {
        m_line.SkipBlanks();
        m_name = UpperCase(m_line.TakeWhile(IsWordCharacter));
        m_line.SkipBlanks();
        if (!TakeOverrides() || !(TakeParameterSign() ? TakeParameter() : FindCommand())) {
            return false;
        }
        packet = Packet();
        return true;
    }

private:
    bool TakeOverrides() {
        if (m_line.SkipOne('(')) {
            while (!m_line.SkipOne(')')) {
                if (!TakeOverride()) {
                    return false;
                }
            }
            m_line.SkipBlanks();
        }
        m_fields.ApplyAliases();
        return true;
    }

    // A key without a value counts as not given, on purpose: generated lines leave fields out so.
    // "()" is fine and "( )" is not, on purpose: behind a blank there must be a key.
    bool TakeOverride() {
        m_line.SkipBlanks();
        const std::string key = LowerCase(m_line.TakeWhile(IsLetter));
        m_line.SkipBlanks();
        if (key.empty() || !m_line.SkipOne('=')) {
            return false;
        }
        m_line.SkipBlanks();
        const std::string_view value = m_line.TakeWhile(IsWordCharacter);
        if (!value.empty()) {
            m_fields.SetByName(key, ReadInteger(value, true).value);
        }
        m_line.SkipBlanks();
        return true;
    }

    bool TakeParameterSign() {
        switch (m_line.Next()) {
        case '=':
            m_command = SetParameter;
            break;
        case '?':
            m_command = QueryParameter;
            break;
        case '!':
            m_command = ActOnParameter;
            break;
        default:
            return false;
        }
        m_line.Skip(1);
        return true;
    }

    // What follows the name of a command is not looked at, on purpose: instruments' manuals put
    // remarks there.
    bool FindCommand() {
        m_command = m_names.CommandID(m_name.c_str());
        return m_command >= 0;
    }

    bool TakeParameter() {
        m_parameter = m_names.ParameterID(m_name.c_str());
        if (m_parameter < 0 || !TakeValues()) {
            return false;
        }
        m_withParameter = true;
        return CompleteFields();
    }

    // Only blanks are looked for between values and none is needed, on purpose: "1-2" carries two
    // values, while the comma of "1,2" is no number.
    bool TakeValues() {
        for (;;) {
            m_line.TakeWhile([this](char c) {
                return IsBlank(c) || ((c == '\r' || c == '\n') && c != m_terminator);
            });
            if (m_line.Next() == '\0' || m_line.Next() == m_terminator) {
                return true;
            }
            const auto number = ReadReal(m_line.Rest());
            if (number.consumed == 0) {
                return false;
            }
            m_values.push_back(number.value);
            m_line.Skip(number.consumed);
        }
    }

    bool CompleteFields() {
        const int count = static_cast<int>(m_values.size());
        if (!m_fields.Given(FlagAKey)) {
            m_fields.Set(FlagAKey, count);
        }
        if (!m_fields.Given(FlagBKey) && !CompleteFlagB(static_cast<unsigned int>(count))) {
            return false;
        }
        if (!m_fields.Given(BodyLenKey)) {
            const std::int64_t bytes = std::int64_t{m_fields[FlagBKey] >> 4} * count;
            m_fields.Set(BodyLenKey, static_cast<int>((bytes + 3) & ~std::int64_t{1}));
        }
        return true;
    }

    // Of an unknown size the length that was given is shared out. The share is the whole FlagB and
    // not its upper half, on purpose: instruments that take such packets expect it there. Without a
    // length the values are counted and not sent.
    bool CompleteFlagB(unsigned int count) {
        const int size = m_names.ParameterSize(m_parameter);
        const auto known = static_cast<std::uint8_t>(
            size == 0 ? 0 : size * 16 + m_names.ParameterFract(m_parameter));
        int flagB = known;
        if (known == 0 && count > 0 && m_fields.Given(BodyLenKey)) {
            flagB =
                static_cast<int>((static_cast<unsigned int>(m_fields[BodyLenKey]) - 2U) / count);
            if (flagB <= 0) {
                return false;
            }
        }
        m_fields.Set(FlagBKey, flagB);
        return true;
    }

    // A length given too short for what the packet holds cuts it off; one given too long is filled
    // up with zeros.
    std::vector<unsigned char> Packet() const {
        constexpr std::size_t LongestValue = 15;
        const auto bodyLen = static_cast<std::uint16_t>(m_fields[BodyLenKey]);
        const std::size_t size = HeaderSize + bodyLen;
        std::vector<unsigned char> packet(std::max(size, IdOffset + IdSize) + LongestValue);
        StoreWord(&packet[SignatureOffset], static_cast<std::uint16_t>(m_fields[SignatureKey]));
        StoreWord(&packet[CommandOffset], static_cast<std::uint16_t>(m_command));
        StoreWord(&packet[StatusOffset], static_cast<std::uint16_t>(m_fields[StatusKey]));
        StoreWord(&packet[BodyLenOffset], bodyLen);
        packet[FlagsOffset] = static_cast<unsigned char>(m_fields[FlagAKey]);
        packet[FlagsOffset + 1] = static_cast<unsigned char>(m_fields[FlagBKey]);
        StoreWord(&packet[DummyOffset], static_cast<std::uint16_t>(m_fields[DummyKey]));
        StoreWord(&packet[IdOffset], std::int64_t{m_fields[IdKey]});
        if (m_withParameter) {
            StoreBody(packet, size);
        }
        packet.resize(size);
        return packet;
    }

    void StoreBody(std::vector<unsigned char>& packet, std::size_t end) const {
        StoreWord(&packet[ParameterOffset], static_cast<std::uint16_t>(m_parameter));
        const unsigned int size = packet[FlagsOffset + 1] >> 4;
        const unsigned int frac = packet[FlagsOffset + 1] & 15;
        for (std::size_t i = 0; i < m_values.size() && ValuesOffset + i * size < end; ++i) {
            WriteValue(&packet[ValuesOffset], size, frac, m_values[i], static_cast<int>(i));
        }
    }

    LineCursor m_line;
    char m_terminator;
    const ProtocolNames& m_names;
    std::string m_name;
    HeaderFields m_fields;
    int m_command = 0;
    int m_parameter = 0;
    bool m_withParameter = false;
    std::vector<double> m_values;
};

} // namespace

long EncodeLine(std::string_view line, char terminator, const ProtocolNames& names,
                std::vector<unsigned char>& packet) {
    return LineEncoder(line, terminator, names).Encode(packet) ? VI_SUCCESS
                                                               : VI_ERROR_INP_PROT_VIOL;
}

} // namespace uxvisa::brix
