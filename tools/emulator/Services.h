#pragma once

#include "tools/emulator/BrixInstrument.h"
#include "tools/emulator/DatagramServer.h"
#include "tools/emulator/Instrument.h"
#include "tools/emulator/Options.h"
#include "tools/emulator/Server.h"
#include "tools/emulator/SocketFile.h"
#include "tools/emulator/Terminal.h"

#include <asio.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace emulator {

// Every listening socket that the options ask for, all of one instrument, which must outlive the
// context.
class Services {
public:
    // Throws std::runtime_error.
    Services(asio::io_context& context, Instrument& instrument, const Options& options);

    // One line for each: TCP, local socket, terminal, core channel, portmapper.
    const std::vector<std::string>& Addresses() const { return m_addresses; }

private:
    void AnswerSearches(asio::io_context& context, std::uint16_t port);
    void ServeTerminal(asio::io_context& context, Instrument& instrument);
    void ServeCoreChannel(asio::io_context& context, Instrument& instrument);
    std::uint16_t ListenOnTcp(Server& server, std::uint16_t port, const std::string& what);
    void ListenOnPath(Server& server);
    void ListenAsPortmapper(asio::io_context& context, std::uint16_t core_port);

    Server::Serve Stream(Instrument& instrument);

    const Options m_options;
    std::optional<BrixInstrument> m_brix;
    std::vector<std::string> m_addresses;
    Server m_stream;
    std::optional<DatagramServer> m_discovery;
    std::optional<Server> m_local;
    std::optional<SocketFile> m_file;
    std::optional<Terminal> m_terminal;
    std::optional<Link> m_link;
    std::optional<Server> m_vxi11;
    std::optional<Server> m_portmapper;
    std::optional<DatagramServer> m_udp_portmapper;
};

} // namespace emulator
