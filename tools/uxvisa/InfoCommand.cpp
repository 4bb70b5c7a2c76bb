#include "tools/uxvisa/InfoCommand.h"

#include <algorithm>
#include <optional>

#include "tools/uxvisa/CommandLine.h"
#include "tools/uxvisa/OutputDiversion.h"
#include "tools/uxvisa/ParsedResource.h"
#include "tools/uxvisa/Report.h"
#include "tools/uxvisa/Session.h"
#include "tools/uxvisa/SessionAttribute.h"
#include "tools/uxvisa/SessionKind.h"
#include "tools/uxvisa/StatusTable.h"
#include "tools/uxvisa/Table.h"

namespace uxvisa::tool {

namespace {

using Json = nlohmann::ordered_json;

// What the library says while it opens and closes is for people.
constexpr auto Aside = OutputDiversion::Target::StandardError;

std::string Joined(const std::vector<std::string>& fields) {
    std::string text;
    for (const std::string& field : fields) {
        text += (text.empty() ? "" : ", ") + Cell(field);
    }
    return text;
}

bool NamesAnotherBoard(const ParsedResource& parsed) {
    const std::string& field = parsed.fields[0];
    const std::string digits =
        field.substr(std::min(field.find_first_of("0123456789"), field.size()));
    return digits.find_first_not_of('0') != std::string::npos;
}

void ReportParsed(const ParsedResource& parsed, SessionKind kind, const std::string& session,
                  Report& report) {
    report.AddField("resource", parsed.text);
    report.AddField("interface", InterfaceName(parsed.interfaceType));
    report.AddField("interface_type", parsed.interfaceType);
    report.AddField("board", parsed.board);
    report.AddField("class", parsed.classWord);
    report.AddField("fields", parsed.fields);
    report.AddField("kind", KindWord(kind));
    report.AddField("served_by", session);
}

void PrintParsed(const ParsedResource& parsed, const std::string& session, const Report& report) {
    const std::string board = std::to_string(parsed.board);
    const bool isIgnored = parsed.interfaceType != VI_INTF_ASRL && NamesAnotherBoard(parsed);
    for (const std::string& line : AlignedLines({
             {"Resource", Cell(parsed.text)},
             {"Interface", InterfaceName(parsed.interfaceType) + " (" +
                               std::to_string(parsed.interfaceType) + ")"},
             {"Board", isIgnored ? board + " (the number in the string is not looked at)" : board},
             {"Class", Cell(parsed.classWord)},
             {"Fields", Joined(parsed.fields)},
             {"Served by", Cell(session)},
         })) {
        report.Print(line);
    }
}

std::vector<AttributeReading> ReadAttributes(Session& session) {
    std::vector<AttributeReading> readings;
    for (const SessionAttribute& attribute : SessionAttributes()) {
        readings.push_back(
            ReadAttribute([&](void* value) { return session.GetAttribute(attribute.id, value); }));
    }
    return readings;
}

Json Value(const SessionAttribute& attribute, const AttributeReading& reading) {
    if (reading.stored.empty()) {
        return {};
    }
    return attribute.meaning == SessionAttribute::Meaning::Text ? Json(TextOf(reading))
                                                                : Json(NumberOf(reading));
}

void ReportAttributes(const std::vector<AttributeReading>& readings, bool isSerial,
                      Report& report) {
    Json attributes = Json::object();
    std::vector<TableRow> rows;
    for (std::size_t i = 0; i < readings.size(); ++i) {
        const SessionAttribute& attribute = SessionAttributes()[i];
        const std::string name(attribute.name);
        attributes[name] = {{"code", StatusNumber(readings[i].status)},
                            {"value", Value(attribute, readings[i])}};
        rows.push_back({name, DescribedReading(attribute, readings[i], isSerial)});
    }
    report.AddField("attributes", attributes);
    report.Print("");
    for (const std::string& line : AlignedLines(rows)) {
        report.Print(line);
    }
    if (isSerial) {
        report.Print("A serial session answers every attribute with success, stored or not.");
    }
}

// The session is closed at the very end: some wait for their peer to close too.
void ReportOpenSession(const Options& options, bool isSerial, Report& report) {
    std::optional<Session> session;
    std::vector<AttributeReading> readings;
    {
        const OutputDiversion diversion(Aside);
        session.emplace(options, Session::Setup::None);
        readings = ReadAttributes(*session);
    }
    ReportAttributes(readings, isSerial, report);
    const OutputDiversion diversion(Aside);
    session.reset();
}

void RunInfo(const Options& options, Report& report) {
    report.AddField("resource", options.resource);
    const ParsedResource parsed = ParseResource(options.resource);
    const SessionKind kind = KindOfSession(parsed.classWord, parsed.interfaceType);
    const std::string session = DescribedSession(parsed, options.driver);
    ReportParsed(parsed, kind, session, report);
    PrintParsed(parsed, session, report);
    if (!options.noOpen) {
        ReportOpenSession(options, kind == SessionKind::SerialPort, report);
    }
}

} // namespace

void AddInfoCommand(CLI::App& program, Options& options) {
    CLI::App& app = AddCommand(program, options, "info",
                               "Tell what a resource means and what its session answers", RunInfo);
    AddResource(app, options);
    app.add_flag("--no-open", options.noOpen, "Only look at the string, connect to nothing");
    app.footer("The attributes are those of a session as it opens, before anything is set.\n\n"
               "Examples:\n"
               "  uxvisa info TCPIP::192.168.1.20::5025::SOCKET\n"
               "  uxvisa info --no-open ttyUSB0::INSTR\n"
               "  uxvisa info --no-open --json TCPIP::scope::hislip0::INSTR | jq -r .kind\n");
}

} // namespace uxvisa::tool
