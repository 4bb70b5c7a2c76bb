#include "tools/uxvisa/CommandLine.h"

#include <CLI/Config.hpp>

#include <algorithm>
#include <charconv>
#include <limits>
#include <memory>
#include <span>
#include <string_view>

#include "tools/uxvisa/BrixCommand.h"
#include "tools/uxvisa/Failure.h"
#include "tools/uxvisa/FindCommand.h"
#include "tools/uxvisa/HelpFormatter.h"
#include "tools/uxvisa/InfoCommand.h"
#include "tools/uxvisa/MonitorCommand.h"
#include "tools/uxvisa/QueryCommand.h"
#include "tools/uxvisa/ReadCommand.h"
#include "tools/uxvisa/StatusCommand.h"
#include "tools/uxvisa/WriteCommand.h"

namespace uxvisa::tool {

namespace {

constexpr char Footer[] =
    "Examples:\n"
    "  uxvisa query TCPIP::192.168.1.20::5025::SOCKET '*IDN?'\n"
    "  uxvisa query TCPIP::scope::5025::SOCKET 'CURV?' --block -o curve.bin --time\n"
    "  uxvisa write TCPIP::psu::5025::SOCKET 'VOLT 3.3'\n"
    "  uxvisa read TCPIP::logger::5025::SOCKET --timeout 60000\n"
    "  uxvisa query --driver libuxdriver_lan.so TCPIP::192.168.1.21::INSTR '*IDN?'\n"
    "  uxvisa query ttyUSB0::INSTR '*IDN?' --baud 9600\n"
    "  uxvisa query TCPIP::192.168.1.22::5025::SOCKET::BRIX 'FREQ?'\n"
    "  uxvisa brix encode 'FREQ=1.5'\n"
    "  uxvisa monitor TCPIP::192.168.1.20::5025::SOCKET\n"
    "  uxvisa find\n"
    "  uxvisa info TCPIP::192.168.1.20::5025::SOCKET\n"
    "  uxvisa status 0xBFFF0015\n\n"
    "Data go to standard output, diagnostics to standard error. Give -- before a command\n"
    "that begins with '-'.\n\n"
    "Exit status: 0 done, 1 an error of the instrument, the connection or the output,\n"
    "2 a command line that cannot be understood, 3 a time-out (what arrived is printed).\n";

std::uint64_t ParseNumber(const std::string& name, const std::string& text, std::uint64_t least,
                          std::uint64_t most) {
    std::uint64_t number = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end || number < least || number > most) {
        throw CLI::ValidationError(name, "'" + text + "' is not a whole number from " +
                                             std::to_string(least) + " to " + std::to_string(most));
    }
    return number;
}

void AddNumber(CLI::App& app, const std::string& name, const char* type, const char* description,
               std::uint64_t least, std::optional<ViUInt32>& number) {
    const auto take = [name, least, &number](const std::string& text) {
        number = ParseNumber(name, text, least, std::numeric_limits<std::uint32_t>::max());
    };
    app.add_option_function<std::string>(name, take, description)->type_name(type);
}

void AddTimeout(CLI::App& app, Options& options) {
    const auto take = [&options](const std::string& text) {
        options.timeoutMs =
            ParseNumber("--timeout", text, 0, std::numeric_limits<std::uint32_t>::max());
    };
    app.add_option_function<std::string>("--timeout", take,
                                         "Wait so many milliseconds for an answer (5000);\n"
                                         "for a block or a count: so long without a byte")
        ->type_name("MS")
        ->group(CommonOptions);
}

void AddTermChar(CLI::App& app, Options& options) {
    const auto take = [&options](const std::string& text) { options.termChar = text == "on"; };
    app.add_option_function<std::string>("--termchar", take,
                                         "A line feed ends the answer: on (the default) or off")
        ->transform(CLI::IsMember({"on", "off"}, CLI::ignore_case).description(""))
        ->type_name("on|off")
        ->group(CommonOptions);
}

void AddEol(CLI::App& app, Options& options) {
    const auto take = [&options](const std::string& text) {
        options.eol = text == "none" ? "" : text == "crlf" ? "\r\n" : "\n";
    };
    app.add_option_function<std::string>("--eol", take,
                                         "Line end sent after a command: lf unless given")
        ->transform(CLI::IsMember({"lf", "crlf", "none"}, CLI::ignore_case).description(""))
        ->type_name("lf|crlf|none")
        ->group(CommonOptions);
}

void AddCommonOptions(CLI::App& app, Options& options) {
    app.set_version_flag("--version", "uxvisa " UXVISA_VERSION, "Print the version");
    AddTimeout(app, options);
    AddTermChar(app, options);
    AddEol(app, options);
    app.add_option("--driver", options.driver,
                   "Driver library for VXI-11 resources, as libuxdriver_lan.so")
        ->type_name("PATH")
        ->group(CommonOptions);
    app.add_flag("--json", options.json, "Print one JSON object, also for an error")
        ->group(CommonOptions);
    app.add_flag("--time", options.time, "Print how long it took, and the rate, on standard error")
        ->group(CommonOptions);
}

void DescribeProgram(CLI::App& app, Options& options) {
    app.formatter(std::make_shared<HelpFormatter>());
    app.require_subcommand(0, 1);
    app.footer(Footer);
    AddCommonOptions(app, options);
    AddQueryCommand(app, options);
    AddWriteCommand(app, options);
    AddReadCommand(app, options);
    AddMonitorCommand(app, options);
    AddBrixCommand(app, options);
    AddFindCommand(app, options);
    AddInfoCommand(app, options);
    AddStatusCommand(app, options);
}

std::string HelpHint(const CLI::App& app) {
    std::string words = "uxvisa";
    for (const CLI::App* command = &app; !command->get_subcommands().empty();) {
        command = command->get_subcommands().front();
        words += ' ' + command->get_name();
    }
    return "see '" + words + " --help'";
}

// Whatever else is wrong, a word that has no place is the likely reason. The first of them, because
// they are not kept in order.
Failure Complaint(const CLI::App& app, const std::string& otherwise,
                  std::span<const char* const> words) {
    const std::vector<std::string> unexpected = app.remaining(true);
    const auto found = std::ranges::find_if(words, [&unexpected](const char* word) {
        return std::ranges::find(unexpected, word) != unexpected.end();
    });
    if (found == words.end()) {
        return {ExitUsage, "", otherwise, HelpHint(app)};
    }
    return {ExitUsage, "", std::string("unexpected argument '") + *found + "'",
            "a command with blanks needs quotes, one that begins with '-' needs -- before it; " +
                HelpHint(app)};
}

} // namespace

Invocation ParseCommandLine(int argc, const char* const* argv) {
    const std::span words(argv, static_cast<std::size_t>(argc));
    Invocation invocation;
    CLI::App app("Talks to instruments.", "uxvisa");
    DescribeProgram(app, invocation.options);
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        invocation.information = app.help();
    } catch (const CLI::CallForVersion& version) {
        invocation.information = std::string(version.what()) + '\n';
    } catch (const CLI::ParseError& error) {
        throw Complaint(app, error.what(), words);
    }
    if (invocation.information.empty() && !invocation.options.run) {
        throw Failure(ExitUsage, "", "a command is missing", HelpHint(app));
    }
    return invocation;
}

bool AsksForJson(int argc, const char* const* argv) {
    const std::span words(argv, static_cast<std::size_t>(argc));
    const auto end = std::ranges::find(words, std::string_view("--"));
    return std::find(words.begin(), end, std::string_view("--json")) != end;
}

CLI::App& AddCommand(CLI::App& program, Options& options, const std::string& name,
                     const std::string& description, const Command& run) {
    CLI::App& app = *program.add_subcommand(name, description);
    app.fallthrough();
    app.group("Commands");
    app.callback([&options, run] { options.run = run; });
    return app;
}

void AddResource(CLI::App& app, Options& options) {
    app.add_option("RSRC", options.resource, "Resource, as TCPIP::HOST::PORT::SOCKET")
        ->required()
        ->type_name("");
}

void AddCommandText(CLI::App& app, Options& options) {
    app.add_option("CMD", options.command, "What to send, without its line end")
        ->required()
        ->type_name("");
}

void AddSessionOptions(CLI::App& app, Options& options) {
    app.add_flag("--hook", options.hook, "Let 'uxvisa monitor' see what is sent and received");
    AddNumber(app, "--baud", "N", "Speed of a serial port (115200)", 1, options.baud);
    app.add_flag("--full-header", options.fullHeader,
                 "BRIX: show every field of the answer's header");
    AddNumber(app, "--decode-mode", "N",
              "BRIX: 1 shows bodies as numbers, 2 has the body of\ncommand 6 follow as a block", 0,
              options.decodeMode);
    app.add_flag("--raw", options.raw,
                 "BRIX: send and receive bytes as they are; all that arrives\nis the answer");
}

CLI::Option* AddCount(CLI::App& app, Options& options) {
    const auto take = [&options](const std::string& text) {
        options.count = ParseNumber("--count", text, 1, std::numeric_limits<std::int64_t>::max());
    };
    return app.add_option_function<std::string>("--count", take, "Read at most so many bytes")
        ->type_name("N");
}

CLI::Option* AddAnswerOptions(CLI::App& app, Options& options) {
    app.add_option("-o,--output", options.outputFile, "Write the bytes of the answer to a file")
        ->type_name("FILE");
    return app.add_flag("--block", options.block,
                        "Read an IEEE 488.2 block and write its data without the header");
}

} // namespace uxvisa::tool
