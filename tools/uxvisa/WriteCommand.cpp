#include "tools/uxvisa/WriteCommand.h"

#include "tools/uxvisa/CommandLine.h"
#include "tools/uxvisa/Reception.h"
#include "tools/uxvisa/Session.h"

namespace uxvisa::tool {

namespace {

void RunWrite(const Options& options, Report& report) {
    report.AddField("resource", options.resource);
    report.AddField("command", options.command);
    Session session(options);
    const Stopwatch clock;
    const std::uint64_t bytes = session.Write(options.command, options.eol);
    ReportTransfer(options, report, bytes, clock.Seconds());
}

} // namespace

void AddWriteCommand(CLI::App& program, Options& options) {
    CLI::App& app = AddCommand(program, options, "write", "Send a command", RunWrite);
    AddResource(app, options);
    AddCommandText(app, options);
    AddSessionOptions(app, options);
    app.footer("Examples:\n"
               "  uxvisa write TCPIP::192.168.1.20::5025::SOCKET '*RST'\n"
               "  uxvisa write TCPIP::psu::5025::SOCKET 'VOLT 3.3' --eol crlf\n");
}

} // namespace uxvisa::tool
