#include "tools/uxvisa/MonitorCommand.h"

#include "tools/uxvisa/CommandLine.h"
#include "tools/uxvisa/EndSignals.h"
#include "tools/uxvisa/Monitor.h"
#include "tools/uxvisa/MonitoredMessage.h"
#include "tools/uxvisa/Report.h"

namespace uxvisa::tool {

namespace {

class Display {
public:
    Display(const Options& options, const EndSignals& signals)
        : m_isJson(options.json), m_form(options.hex ? MessageForm::Hex : MessageForm::Text),
          m_signals(signals) {}

    void Show(const MonitoredMessage& message) const {
        m_signals.WriteUntil(StandardOutput(),
                             m_isJson ? JsonOf(message, m_form) : TextOf(message, m_form));
    }

private:
    bool m_isJson;
    MessageForm m_form;
    const EndSignals& m_signals;
};

void RunMonitor(const Options& options, Report& report) {
    report.LeaveOutputToLines();
    const EndSignals signals;
    const Display display(options, signals);
    Monitor monitor(options.resource);
    Report::Note(options.resource, "watching, until Ctrl-C");
    MessageAssembler assembler;
    while (!signals.HaveCome()) {
        for (const MonitoredMessage& message : assembler.Take(monitor.Read())) {
            display.Show(message);
        }
    }
    if (const auto rest = assembler.Rest()) {
        display.Show(*rest);
    }
}

} // namespace

void AddMonitorCommand(CLI::App& program, Options& options) {
    CLI::App& app = AddCommand(program, options, "monitor",
                               "Show what another program says and hears", RunMonitor);
    AddResource(app, options);
    app.add_flag("--hex", options.hex, "Show the bytes as a hexadecimal dump");
    app.footer(
        "Shows each message with the time, its direction (-> to the instrument, <- from it), its\n"
        "length and its bytes. The other program has to take part: 'uxvisa query --hook' does, "
        "and\n"
        "programs with a hook of their own (docs/monitor.md). Write the resource as they do. With\n"
        "--json, each message is a line. Ends with Ctrl-C. Do not stop it with Ctrl-Z: the "
        "programs\n"
        "that are watched wait for it.\n\n"
        "Examples:\n"
        "  uxvisa monitor TCPIP::192.168.1.20::5025::SOCKET\n"
        "  uxvisa query --hook TCPIP::192.168.1.20::5025::SOCKET '*IDN?'    # in another "
        "terminal\n");
}

} // namespace uxvisa::tool
