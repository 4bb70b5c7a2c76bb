#include "tools/uxvisa/QueryCommand.h"

#include "tools/uxvisa/CommandLine.h"
#include "tools/uxvisa/Reception.h"
#include "tools/uxvisa/Session.h"

namespace uxvisa::tool {

namespace {

void RunQuery(const Options& options, Report& report) {
    report.AddField("resource", options.resource);
    report.AddField("command", options.command);
    Session session(options);
    Reception reception(options, report);
    reception.StartClock();
    session.Write(options.command, options.eol);
    reception.Receive(session);
}

} // namespace

void AddQueryCommand(CLI::App& program, Options& options) {
    CLI::App& app =
        AddCommand(program, options, "query", "Send a command and print the answer", RunQuery);
    AddResource(app, options);
    AddCommandText(app, options);
    AddSessionOptions(app, options);
    AddAnswerOptions(app, options);
    app.footer("The answer is printed up to its line feed. With --termchar off it is all that\n"
               "arrives until the instrument has been silent for --timeout.\n\n"
               "Examples:\n"
               "  uxvisa query TCPIP::192.168.1.20::5025::SOCKET '*IDN?'\n"
               "  uxvisa query TCPIP::scope::5025::SOCKET 'CURV?' --block -o curve.bin\n");
}

} // namespace uxvisa::tool
