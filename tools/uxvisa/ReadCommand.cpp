#include "tools/uxvisa/ReadCommand.h"

#include "tools/uxvisa/CommandLine.h"
#include "tools/uxvisa/Reception.h"
#include "tools/uxvisa/Session.h"

namespace uxvisa::tool {

namespace {

void RunRead(const Options& options, Report& report) {
    report.AddField("resource", options.resource);
    Session session(options);
    Reception reception(options, report);
    reception.StartClock();
    reception.Receive(session);
}

} // namespace

void AddReadCommand(CLI::App& program, Options& options) {
    CLI::App& app = AddCommand(program, options, "read",
                               "Print what the instrument sends of its own accord", RunRead);
    AddResource(app, options);
    AddSessionOptions(app, options);
    CLI::Option* block = AddAnswerOptions(app, options);
    AddCount(app, options)->excludes(block);
    app.footer(
        "A line is read, unless --count or --block says otherwise. With --count, a line feed\n"
        "still ends the read and is printed as it is; give --termchar off for data in which\n"
        "it has no meaning.\n\n"
        "Examples:\n"
        "  uxvisa read TCPIP::logger::5025::SOCKET --timeout 60000\n"
        "  uxvisa read TCPIP::adc::4000::SOCKET --count 65536 --termchar off -o adc.bin\n");
}

} // namespace uxvisa::tool
