#include "tools/uxvisa/BrixCommand.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <iterator>
#include <string_view>
#include <vector>

#include <unistd.h>

#include "brix/Encoder.h"
#include "tools/uxvisa/CommandLine.h"
#include "tools/uxvisa/Descriptor.h"
#include "tools/uxvisa/EscapedText.h"
#include "tools/uxvisa/HexInput.h"
#include "tools/uxvisa/HexView.h"
#include "tools/uxvisa/PacketFields.h"
#include "tools/uxvisa/ProtocolDocument.h"
#include "tools/uxvisa/Report.h"
#include "tools/uxvisa/Table.h"

namespace uxvisa::tool {

namespace {

using Json = nlohmann::ordered_json;
using protodesc::ProtocolDescription;

// More than any packet has, with blanks and prefixes.
constexpr std::size_t LongestInput = 1UL << 20;
constexpr std::size_t MostBytesInCell = 16;
constexpr std::string_view FieldColours[] = {"\x1B[36m", "\x1B[33m", "\x1B[32m",
                                             "\x1B[35m", "\x1B[34m", "\x1B[31m"};

std::string DocumentName(const Options& options) {
    return options.protocolFile.value_or(ProtocolDocumentName);
}

// Numbers can be shown without names.
ProtocolDescription DescriptionForDecoding(const Options& options) {
    if (!options.protocolFile && !std::filesystem::exists(ProtocolDocumentName)) {
        Report::Note("", std::string("there is no ") + ProtocolDocumentName +
                             " here: numbers without names (see --protocol)");
        return {};
    }
    return LoadProtocolDocument(DocumentName(options));
}

std::string StandardInputText() {
    std::string text;
    char piece[4096];
    for (ssize_t size = 1; size > 0 && text.size() <= LongestInput;) {
        size = ::read(STDIN_FILENO, piece, sizeof piece);
        if (size < 0) {
            Descriptor(STDIN_FILENO, "standard input").Fail(errno);
        }
        text.append(piece, static_cast<std::size_t>(size));
    }
    if (text.size() > LongestInput) {
        throw Failure(ExitUsage, "standard input", "more than a packet can have");
    }
    return text;
}

std::string BytesCell(std::string_view bytes) {
    return HexBytes(bytes.substr(0, MostBytesInCell)) +
           (bytes.size() > MostBytesInCell ? " ..." : "");
}

std::string_view ColourOf(std::size_t field) {
    return FieldColours[field % std::size(FieldColours)];
}

void PrintHexView(std::string_view packet, const std::vector<PacketField>& fields, bool coloured,
                  const Report& report) {
    std::vector<HexRun> runs;
    for (std::size_t i = 0; coloured && i < fields.size(); ++i) {
        runs.push_back({fields[i].bytes.size(), ColourOf(i)});
    }
    for (const std::string& line : HexLines(packet, runs)) {
        report.Print(line);
    }
}

void PrintFields(const std::vector<PacketField>& fields, bool coloured, const Report& report) {
    std::vector<TableRow> rows{{"Offset", "Bytes", "Field", "Meaning"}};
    for (const PacketField& field : fields) {
        rows.push_back(
            {std::to_string(field.offset), BytesCell(field.bytes), field.name, field.meaning});
    }
    const std::vector<std::string> lines = AlignedLines(rows);
    for (std::size_t i = 0; i < lines.size(); ++i) {
        report.Print(coloured && i > 0
                         ? std::string(ColourOf(i - 1)) + lines[i] + std::string(ColourEnd)
                         : lines[i]);
    }
}

Json Described(const std::vector<PacketField>& fields) {
    Json list = Json::array();
    for (const PacketField& field : fields) {
        list.push_back({{"offset", field.offset},
                        {"length", field.bytes.size()},
                        {"hex", HexBytes(field.bytes, "")},
                        {"name", field.name},
                        {"meaning", field.meaning}});
    }
    return list;
}

void ShowPacket(std::string_view packet, const brix::ProtocolNames& names, Report& report) {
    const std::vector<PacketField> fields = FieldsOf(packet, names);
    const std::string line = LineOf(packet, names);
    const bool coloured = OutputTakesColours();
    report.AddField("length", packet.size());
    report.AddField("hex", HexBytes(packet, ""));
    report.AddField("line", line);
    report.AddField("fields", Described(fields));
    PrintHexView(packet, fields, coloured, report);
    report.Print("");
    PrintFields(fields, coloured, report);
    report.Print("");
    report.Print(Cell(line));
}

bool IsWordCharacter(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_';
}

std::string_view WithoutBlanks(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
    return text;
}

// The encoder says only that it does not understand.
std::string ReasonRefused(std::string_view line, const brix::ProtocolNames& names) {
    line = WithoutBlanks(line);
    const auto end = std::ranges::find_if_not(line, IsWordCharacter);
    const std::string name = protodesc::UpperCased({line.begin(), end});
    if (name.empty()) {
        return "the line does not begin with a name";
    }
    std::string_view rest = WithoutBlanks({end, line.end()});
    if (rest.starts_with('(')) {
        const std::size_t close = rest.find(')');
        if (close == std::string_view::npos) {
            return "the header fields have no ')'";
        }
        rest = WithoutBlanks(rest.substr(close + 1));
    }
    const bool isParameter =
        !rest.empty() && std::string_view("=?!").find(rest[0]) != std::string_view::npos;
    const bool isKnown =
        isParameter ? names.ParameterID(name.c_str()) >= 0 : names.CommandID(name.c_str()) >= 0;
    if (isKnown) {
        return "a value or a header field is not understood";
    }
    return std::string("the protocol has no ") + (isParameter ? "parameter " : "command ") + name;
}

std::string Hint(std::string_view line) {
    return line.find_first_of("=?!") == std::string_view::npos
               ? "a parameter needs a '=', '?' or '!' behind its name, a command has none"
               : "values are numbers with blanks between them, as -1.5e2 or 0x10; header fields "
                 "are (status=0 id=7); see docs/brix.md";
}

std::string Encoded(const std::string& line, const brix::ProtocolNames& names) {
    if (line.find('\n') != std::string::npos) {
        throw Failure(ExitUsage, "", EscapedText(line) + " is more than a line");
    }
    std::vector<unsigned char> packet;
    if (brix::EncodeLine(line, '\n', names, packet) != VI_SUCCESS) {
        throw Failure(ExitFailed, "", EscapedText(line) + ": " + ReasonRefused(line, names),
                      Hint(line));
    }
    return {packet.begin(), packet.end()};
}

void RunEncode(const Options& options, Report& report) {
    const ProtocolDescription description = LoadProtocolDocument(DocumentName(options));
    const brix::ProtocolFunctions functions = FunctionsOf(description);
    const brix::ProtocolNames names(functions, 0);
    const std::string packet = Encoded(options.command, names);
    if (options.raw && !report.IsJson()) {
        StandardOutput().Write(packet);
        return;
    }
    ShowPacket(packet, names, report);
}

// Also what is no whole packet is shown, as far as it goes.
void RunDecode(const Options& options, Report& report) {
    const std::string packet =
        ParseHex(options.packet == "-" ? StandardInputText() : options.packet);
    const ProtocolDescription description = DescriptionForDecoding(options);
    const brix::ProtocolFunctions functions = FunctionsOf(description);
    ShowPacket(packet, brix::ProtocolNames(functions, 0), report);
    if (const auto fault = FaultOf(packet)) {
        throw Failure(ExitFailed, "", *fault);
    }
}

void AddProtocol(CLI::App& app, Options& options) {
    app.add_option("--protocol", options.protocolFile,
                   "The protocol's description (Protocol.xml in this directory)")
        ->type_name("FILE");
}

void AddEncode(CLI::App& brix, Options& options) {
    CLI::App& app = AddCommand(brix, options, "encode", "Show the packet of a line", RunEncode);
    app.add_option("LINE", options.command, "What a program would write, as FREQ=1.5")
        ->required()
        ->type_name("");
    AddProtocol(app, options);
    app.add_flag("--raw-output", options.raw, "Print the bytes of the packet as they are");
    app.footer("Examples:\n"
               "  uxvisa brix encode 'FREQ=1.5'\n"
               "  uxvisa brix encode 'FREQ (status=0 id=7)?' --protocol generator.xml\n");
}

void AddDecode(CLI::App& brix, Options& options) {
    CLI::App& app = AddCommand(brix, options, "decode", "Show what a packet says", RunDecode);
    const auto take = [&options](const std::vector<std::string>& words) {
        options.packet.clear();
        for (const std::string& word : words) {
            options.packet += (options.packet.empty() ? "" : " ") + word;
        }
    };
    app.add_option_function<std::vector<std::string>>(
           "HEX", take, "The bytes of the packet in hexadecimal, or - for standard input")
        ->required()
        ->expected(1, -1)
        ->type_name("");
    AddProtocol(app, options);
    app.footer("Blanks and 0x between the bytes do not matter.\n\n"
               "Examples:\n"
               "  uxvisa brix decode AA5504000000020000000000000000000100\n"
               "  xxd -p packet.bin | uxvisa brix decode -\n");
}

} // namespace

void AddBrixCommand(CLI::App& program, Options& options) {
    CLI::App& app = *program.add_subcommand(
        "brix", "Show packets of the binary command protocol, without an instrument");
    app.fallthrough();
    app.group("Commands");
    app.require_subcommand(0, 1);
    AddEncode(app, options);
    AddDecode(app, options);
    app.footer("Names come from a protocol description (docs/protocol-xml.md).\n");
}

} // namespace uxvisa::tool
