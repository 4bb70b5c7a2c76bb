#include "tools/emulator/Services.h"

#include "companions/protodesc/ProtocolFile.h"
#include "companions/protodesc/ProtocolXml.h"
#include "tools/emulator/Connection.h"
#include "tools/emulator/Discovery.h"
#include "tools/emulator/PacketAssembler.h"
#include "tools/emulator/Portmapper.h"
#include "tools/emulator/RecordConnection.h"
#include "tools/emulator/RpcCall.h"
#include "tools/emulator/RpcConnection.h"
#include "tools/emulator/Vxi11Link.h"

#include <chrono>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <utility>
#include <variant>

namespace emulator {

namespace {

using Socket = Server::Protocol::socket;

asio::ip::tcp::endpoint Endpoint(const std::string& bind, std::uint16_t port) {
    std::error_code error;
    const auto address = asio::ip::make_address(bind, error);
    if (error) {
        throw std::runtime_error("'" + bind + "' is not an IP address");
    }
    return {address, port};
}

template <class Action>
void Try(const std::string& where, const Action& action) {
    const std::string lead = "cannot listen on " + where + ": ";
    try {
        action();
    } catch (const std::system_error& error) {
        throw std::runtime_error(lead + error.code().message());
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(lead + error.what());
    }
}

Server::Serve Vxi11Channel(Instrument& instrument, const Pacing& pacing) {
    return [&instrument, pacing, last = std::uint32_t{0}](Socket socket) mutable {
        const LinkWords words{++last, MaxWriteData};
        const auto link = std::make_shared<Vxi11Link>(instrument, pacing, words);
        std::make_shared<RpcConnection>(
            std::move(socket),
            [link](std::string_view record) {
                return link->Answer(record, std::chrono::steady_clock::now());
            },
            pacing.idle_drop)
            ->Start();
    };
}

Server::Serve Portmapper(std::uint16_t core_port, const Pacing& pacing) {
    return [core_port, pacing](Socket socket) {
        std::make_shared<RpcConnection>(
            std::move(socket),
            [core_port](std::string_view record) {
                return RpcReply{MarkedRecord(AnswerPortmapper(record, core_port)), {}};
            },
            pacing.idle_drop)
            ->Start();
    };
}

// Requests that came in where nothing is served are not answered.
DatagramServer::Answer WhereServed(const asio::ip::address_v4& bind,
                                   DatagramServer::Answer answer) {
    return [bind, answer = std::move(answer)](std::string_view request,
                                              const asio::ip::address_v4& local) {
        const bool served = bind.is_unspecified() || bind == local;
        return served ? answer(request, local) : std::string();
    };
}

protodesc::ProtocolDescription LoadProtocol(const std::string& path) {
    const auto text = protodesc::ReadProtocolFile(path.c_str());
    if (!text) {
        throw std::runtime_error("cannot read " + path);
    }
    auto result = protodesc::ParseProtocol(text->data(), text->size());
    if (const auto* fault = std::get_if<protodesc::Fault>(&result)) {
        throw std::runtime_error(path + ":" + std::to_string(fault->line) + ": " + fault->message);
    }
    return std::get<protodesc::ProtocolDescription>(std::move(result));
}

} // namespace

Services::Services(asio::io_context& context, Instrument& instrument, const Options& options)
    : m_options(options), m_stream(context, Stream(instrument)) {
    const std::uint16_t port = ListenOnTcp(m_stream, options.port, "listening");
    if (options.discoverable) {
        AnswerSearches(context, port);
    }
    if (!options.usock.empty()) {
        ListenOnPath(m_local.emplace(context, instrument, options.pacing));
    }
    if (!options.pty.empty()) {
        ServeTerminal(context, instrument);
    }
    if (options.vxi11) {
        ServeCoreChannel(context, instrument);
    }
}

void Services::AnswerSearches(asio::io_context& context, std::uint16_t port) {
    const asio::ip::address bind = Endpoint(m_options.bind, port).address();
    if (!bind.is_v4()) {
        throw std::runtime_error("searches are for IPv4 only, and '" + m_options.bind +
                                 "' is no such address");
    }
    auto& server = m_discovery.emplace(
        context, WhereServed(bind.to_v4(), [port, identity = m_options.instrument.identity](
                                               auto request, const auto& local) {
            return AnswerDiscovery(request, local.to_string(), port, identity);
        }));
    Try("UDP port " + std::to_string(DiscoveryPort), [&] { server.Listen(DiscoveryPort); });
}

// A terminal has nothing to close, neither on silence nor after some responses.
void Services::ServeTerminal(asio::io_context& context, Instrument& instrument) {
    using Stream = asio::posix::stream_descriptor;
    Pacing pacing = m_options.pacing;
    pacing.idle_drop = {};
    pacing.close_after = 0;
    Try(m_options.pty, [&] {
        Terminal& terminal = m_terminal.emplace();
        m_link.emplace(m_options.pty, terminal.Device());
        Stream stream(context, terminal.TakeInstrumentEnd());
        std::make_shared<Connection<Stream>>(std::move(stream), instrument, pacing)->Start();
    });
    m_addresses.push_back("pty on " + m_terminal->Device());
}

void Services::ServeCoreChannel(asio::io_context& context, Instrument& instrument) {
    const Pacing& pacing = m_options.pacing;
    const std::uint16_t port = ListenOnTcp(
        m_vxi11.emplace(context, Vxi11Channel(instrument, pacing)), *m_options.vxi11, "vxi11");
    if (m_options.portmapper) {
        ListenAsPortmapper(context, port);
    }
}

Server::Serve Services::Stream(Instrument& instrument) {
    const Pacing& pacing = m_options.pacing;
    if (m_options.protocol.empty()) {
        return Server::ServeText(instrument, pacing);
    }
    m_brix.emplace(LoadProtocol(m_options.protocol), m_options.instrument.curve_length);
    return [&brix = *m_brix, pacing](Socket socket) {
        std::make_shared<RecordConnection<PacketAssembler>>(
            std::move(socket),
            [&brix, pacing](std::string_view packet) {
                return RecordReply{brix.Answer(packet), pacing.delay};
            },
            pacing.idle_drop, Pieces{pacing.chunk, pacing.chunk_interval})
            ->Start();
    };
}

// Searches ask by broadcast, which is for IPv4 only.
void Services::ListenAsPortmapper(asio::io_context& context, std::uint16_t core_port) {
    const std::uint16_t port =
        ListenOnTcp(m_portmapper.emplace(context, Portmapper(core_port, m_options.pacing)),
                    *m_options.portmapper, "portmapper");
    const asio::ip::address bind = Endpoint(m_options.bind, port).address();
    if (bind.is_v4()) {
        auto& server = m_udp_portmapper.emplace(
            context, WhereServed(bind.to_v4(), [core_port](auto call, const auto&) {
                return AnswerPortmapper(call, core_port);
            }));
        Try("UDP port " + std::to_string(port), [&] { server.Listen(port); });
    }
}

std::uint16_t Services::ListenOnTcp(Server& server, std::uint16_t port, const std::string& what) {
    const asio::ip::tcp::endpoint endpoint = Endpoint(m_options.bind, port);
    Try(m_options.bind + " port " + std::to_string(port), [&] { server.Listen(endpoint); });
    const asio::ip::tcp::endpoint local = TcpEndpoint(server.LocalEndpoint());
    std::ostringstream line;
    line << what << " on " << local;
    m_addresses.push_back(line.str());
    return local.port();
}

void Services::ListenOnPath(Server& server) {
    const std::string& path = m_options.usock;
    Try(path, [&] {
        RemoveStaleSocket(path);
        server.Listen(asio::local::stream_protocol::endpoint(path));
    });
    m_file.emplace(path);
    m_addresses.push_back("listening on " + path);
}

} // namespace emulator
