#include "tools/emulator/Command.h"

#include <algorithm>
#include <cstddef>

namespace emulator {

namespace {

constexpr auto End = std::string_view::npos;

// Every control character, NUL too, separates like a blank; a line feed never gets this far.
bool IsBlank(char c) {
    return static_cast<unsigned char>(c) <= 0x20;
}

bool IsUpper(char c) {
    return c >= 'A' && c <= 'Z';
}

bool IsLower(char c) {
    return c >= 'a' && c <= 'z';
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

char ToUpper(char c) {
    return IsLower(c) ? static_cast<char>(c - 'a' + 'A') : c;
}

bool IsHeaderCharacter(char c) {
    return IsUpper(c) || IsLower(c) || IsDigit(c) || c == '_' || c == ':' || c == '*';
}

std::string_view Trim(std::string_view text) {
    while (!text.empty() && IsBlank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && IsBlank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

// Returns the position of the first separator outside quotes, or End. A doubled quote inside a
// quoted text needs no care: it closes the text and opens it again.
std::size_t FindOutsideQuotes(std::string_view text, char separator) {
    char quote = '\0';
    for (std::size_t at = 0; at < text.size(); ++at) {
        const char c = text[at];
        if (quote != '\0') {
            quote = c == quote ? '\0' : quote;
        } else if (c == '"' || c == '\'') {
            quote = c;
        } else if (c == separator) {
            return at;
        }
    }
    return End;
}

std::string_view TakeUpTo(std::string_view& text, std::size_t end) {
    const std::string_view front = text.substr(0, end);
    text.remove_prefix(end == End ? text.size() : end + 1);
    return front;
}

bool IsOpenString(std::string_view parameter) {
    const char quote = parameter.front();
    if (quote != '"' && quote != '\'') {
        return false;
    }
    return std::count(parameter.begin(), parameter.end(), quote) % 2 != 0;
}

ErrorCode ParseParameters(std::string_view text, std::vector<std::string_view>& parameters) {
    bool more = !text.empty();
    while (more) {
        const std::size_t comma = FindOutsideQuotes(text, ',');
        more = comma != End;
        const std::string_view parameter = Trim(TakeUpTo(text, comma));
        if (parameter.empty()) {
            return ErrorCode::SyntaxError;
        }
        if (IsOpenString(parameter)) {
            return ErrorCode::InvalidStringData;
        }
        parameters.push_back(parameter);
    }
    return ErrorCode::NoError;
}

struct Node {
    std::string_view mnemonic;
    bool optional = false;
};

Node TakeNode(std::string_view& pattern) {
    const bool optional = pattern.front() == '[';
    pattern.remove_prefix(optional ? 1 : 0);
    pattern.remove_prefix(pattern.front() == ':' ? 1 : 0);
    const std::size_t end = std::min(pattern.find_first_of(":[]"), pattern.size());
    const Node node{pattern.substr(0, end), optional};
    pattern.remove_prefix(optional ? end + 1 : end);
    return node;
}

} // namespace

bool TakeUnit(std::string_view& message, std::string_view& unit) {
    while (!message.empty()) {
        unit = Trim(TakeUpTo(message, FindOutsideQuotes(message, ';')));
        if (!unit.empty()) {
            return true;
        }
    }
    return false;
}

ErrorCode ParseCommand(std::string_view unit, Command& command) {
    unit = Trim(unit);
    const auto is_header_end = [](char c) { return !IsHeaderCharacter(c); };
    const auto end = std::find_if(unit.begin(), unit.end(), is_header_end);
    command.header = unit.substr(0, static_cast<std::size_t>(end - unit.begin()));
    command.parameters.clear();
    unit.remove_prefix(command.header.size());
    command.query = unit.starts_with('?');
    if (command.header.empty()) {
        return command.query ? ErrorCode::SyntaxError : ErrorCode::InvalidCharacter;
    }
    unit.remove_prefix(command.query ? 1 : 0);
    if (!unit.empty() && !IsBlank(unit.front())) {
        return command.query ? ErrorCode::HeaderSeparatorError : ErrorCode::InvalidCharacter;
    }
    return ParseParameters(Trim(unit), command.parameters);
}

bool MatchesMnemonic(std::string_view mnemonic, std::string_view word) {
    const auto long_tail = std::find_if(mnemonic.begin(), mnemonic.end(), IsLower);
    const auto short_size = static_cast<std::size_t>(long_tail - mnemonic.begin());
    if (word.size() != short_size && word.size() != mnemonic.size()) {
        return false;
    }
    return std::equal(word.begin(), word.end(), mnemonic.begin(),
                      [](char a, char b) { return ToUpper(a) == ToUpper(b); });
}

bool MatchesHeader(std::string_view pattern, std::string_view header) {
    bool more = true;
    while (!pattern.empty()) {
        const Node node = TakeNode(pattern);
        const std::size_t colon = header.find(':');
        if (more && MatchesMnemonic(node.mnemonic, header.substr(0, colon))) {
            more = colon != End;
            TakeUpTo(header, colon);
        } else if (!node.optional) {
            return false;
        }
    }
    return !more;
}

} // namespace emulator
