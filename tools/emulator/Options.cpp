#include "tools/emulator/Options.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iostream>
#include <string>

namespace emulator {

namespace {

constexpr int UsageError = 2;

void AddMilliseconds(CLI::App& app, const std::string& name, std::chrono::milliseconds& target,
                     const std::string& description) {
    constexpr int Longest = 24 * 60 * 60 * 1000;
    const auto assign = [&target](int count) { target = std::chrono::milliseconds(count); };
    app.add_option_function<int>(name, assign, description)
        ->check(CLI::Range(0, Longest))
        ->type_name("MS");
}

void AddNumber(CLI::App& app, const std::string& name, std::size_t& target, std::size_t least,
               std::size_t most, const std::string& description) {
    app.add_option(name, target, description)
        ->check(CLI::Range(least, most))
        ->type_name("N")
        ->capture_default_str();
}

// A check of its own because a range up to the largest value would let -1 wrap around into it.
std::string RefuseNegative(const std::string& text) {
    return text.starts_with('-') ? "must not be negative" : std::string();
}

std::string RefuseEmpty(const std::string& text) {
    return text.empty() ? "must not be empty" : std::string();
}

// The model stands between commas in the identity, and the serial number behind the last blank in
// the answer to a search.
std::string RefuseUnlessModel(const std::string& text) {
    const bool printable = std::all_of(text.begin(), text.end(),
                                       [](char c) { return c >= ' ' && c <= '~' && c != ','; });
    const bool framed = text.starts_with(' ') || text.ends_with(' ');
    return text.empty() || !printable || framed
               ? "must be ASCII text without commas and without blanks around it"
               : std::string();
}

std::string RefuseUnlessSerial(const std::string& text) {
    return text.find(' ') != std::string::npos ? "must not contain blanks"
                                               : RefuseUnlessModel(text);
}

void AddIdentity(CLI::App& app, Identity& identity) {
    app.add_option("--identity-model", identity.model, "The model that the instrument says it is")
        ->check(RefuseUnlessModel)
        ->type_name("TEXT")
        ->capture_default_str();
    app.add_option("--identity-serial", identity.serial, "The serial number that it says it has")
        ->check(RefuseUnlessSerial)
        ->type_name("TEXT")
        ->capture_default_str();
}

void AddOptions(CLI::App& app, Options& options) {
    app.set_version_flag("--version", "uxvisa-emulator " UXVISA_VERSION);
    app.add_option("--port", options.port, "TCP port to listen on; 0 takes a free one")
        ->type_name("N")
        ->capture_default_str();
    app.add_option("--bind", options.bind,
                   "Address to listen on; with --discoverable every one unless given")
        ->type_name("ADDR")
        ->capture_default_str();
    app.add_flag("--discoverable", options.discoverable,
                 "Answer programs that look for instruments on the LAN");
    app.add_option("--usock", options.usock, "Serve clients of a local socket at this path, too")
        ->check(RefuseEmpty)
        ->type_name("PATH");
    CLI::Option* const vxi11 =
        app.add_option("--vxi11", options.vxi11,
                       "Serve the VXI-11 core channel on this TCP port, too; 0 takes a free one")
            ->type_name("N");
    app.add_option("--portmapper", options.portmapper,
                   "Tell the port of the core channel on this port, TCP and UDP; clients ask 111")
        ->needs(vxi11)
        ->type_name("N");
    app.add_option("--pty", options.pty, "Serve a pseudo-terminal, too, and make this a link to it")
        ->check(RefuseEmpty)
        ->type_name("LINK");
    CLI::Option* const brix =
        app.add_flag("--brix", options.brix, "Speak BRIX packets on the TCP port");
    app.add_option("--protocol", options.protocol, "The Protocol.xml that names the parameters")
        ->needs(brix)
        ->check(RefuseEmpty)
        ->type_name("FILE");
    AddMilliseconds(app, "--delay", options.pacing.delay, "Wait so long before each response");
    AddMilliseconds(app, "--idle-drop", options.pacing.idle_drop,
                    "Close a connection that was silent for so long");
    app.add_option("--chunk", options.pacing.chunk, "Write responses in pieces of so many bytes")
        ->check(CLI::Range(std::size_t{0}, InstrumentSettings::MaxCurveLength))
        ->type_name("BYTES");
    AddMilliseconds(app, "--chunk-interval", options.pacing.chunk_interval,
                    "Wait so long between two pieces (10 unless given)");
    app.add_option("--close-after", options.pacing.close_after,
                   "Close a TCP or local-socket connection after so many responses")
        ->check(CLI::Range(std::size_t{0}, std::size_t{1000000000}))
        ->type_name("N");
    app.add_option("--seed", options.instrument.seed, "Seed of the readings")
        ->check(RefuseNegative)
        ->type_name("N")
        ->capture_default_str();
    AddNumber(app, "--curve-length", options.instrument.curve_length, 0,
              InstrumentSettings::MaxCurveLength, "Bytes of a curve");
    AddNumber(app, "--trace-points", options.instrument.trace_points, 1,
              InstrumentSettings::MaxTracePoints, "Values of a trace");
    AddIdentity(app, options.instrument.identity);
    app.add_flag("--quiet", options.quiet, "Do not print the addresses");
}

} // namespace

std::optional<Options> ParseOptions(int argc, const char* const* argv, int& exit_code) {
    Options options;
    CLI::App app(
        "An instrument that answers SCPI commands on TCP, local sockets, VXI-11 and a terminal",
        "uxvisa-emulator");
    AddOptions(app, options);
    try {
        app.parse(argc, argv);
        // Whoever finds an instrument on the LAN wants to reach it.
        if (options.discoverable && app.count("--bind") == 0) {
            options.bind = "0.0.0.0";
        }
        if (options.brix && options.protocol.empty()) {
            throw CLI::RequiredError("--brix requires --protocol");
        }
        return options;
    } catch (const CLI::Success& request) {
        exit_code = app.exit(request, std::cout, std::cerr);
    } catch (const CLI::ParseError& error) {
        std::cerr << "uxvisa-emulator: " << error.what() << '\n';
        exit_code = UsageError;
    }
    return std::nullopt;
}

} // namespace emulator
