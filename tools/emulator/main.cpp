#include "tools/emulator/Instrument.h"
#include "tools/emulator/Options.h"
#include "tools/emulator/Server.h"

#include <asio.hpp>

#include <csignal>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>
#include <system_error>

namespace {

asio::ip::tcp::endpoint Endpoint(const emulator::Options& options) {
    std::error_code error;
    const auto address = asio::ip::make_address(options.bind, error);
    if (error) {
        throw std::runtime_error("'" + options.bind + "' is not an IP address");
    }
    return {address, options.port};
}

void Listen(emulator::Server& server, const emulator::Options& options) {
    const asio::ip::tcp::endpoint endpoint = Endpoint(options);
    try {
        server.Listen(endpoint);
    } catch (const std::system_error& error) {
        throw std::runtime_error("cannot listen on " + options.bind + " port " +
                                 std::to_string(options.port) + ": " + error.code().message());
    }
}

void Run(const emulator::Options& options) {
    emulator::Instrument instrument(options.instrument);
    asio::io_context context(1);
    emulator::Server server(context, instrument, options.pacing);
    asio::signal_set signals(context, SIGINT, SIGTERM);
    signals.async_wait([&context](std::error_code, int) { context.stop(); });
    Listen(server, options);
    if (!options.quiet) {
        std::cout << "listening on " << emulator::TcpEndpoint(server.LocalEndpoint()) << std::endl;
    }
    context.run();
}

} // namespace

int main(int argc, char** argv) {
    std::signal(SIGPIPE, SIG_IGN);
    try {
        int exit_code = 0;
        const auto options = emulator::ParseOptions(argc, argv, exit_code);
        if (options) {
            Run(*options);
        }
        return exit_code;
    } catch (const std::exception& error) {
        std::cerr << "uxvisa-emulator: " << error.what() << '\n';
        return 1;
    }
}
