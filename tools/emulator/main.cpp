#include "tools/emulator/Instrument.h"
#include "tools/emulator/Options.h"
#include "tools/emulator/Services.h"

#include <asio.hpp>

#include <csignal>
#include <exception>
#include <iostream>
#include <string>
#include <system_error>

namespace {

void Run(const emulator::Options& options) {
    emulator::Instrument instrument(options.instrument);
    asio::io_context context(1);
    asio::signal_set signals(context, SIGINT, SIGTERM);
    signals.async_wait([&context](std::error_code, int) { context.stop(); });
    const emulator::Services services(context, instrument, options);
    if (!options.quiet) {
        for (const std::string& address : services.Addresses()) {
            std::cout << address << '\n';
        }
        std::cout << std::flush;
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
