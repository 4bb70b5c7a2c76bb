#pragma once

#include <asio.hpp>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

namespace emulator {

// What goes out for a record, and how long it is held back. Nothing for a record that makes no
// sense, which ends the connection.
struct RecordReply {
    std::string bytes;
    std::chrono::milliseconds pause{0};
};

// In what pieces a reply goes out, and the time between them. Size 0 means in one.
struct Pieces {
    std::size_t size = 0;
    std::chrono::milliseconds interval{0};
};

// One client that sends records, which the assembler tells apart, and gets one reply for each, in
// order. Nothing is read while a reply is on its way. The pending operations keep the connection
// alive.
template <class Assembler>
class RecordConnection : public std::enable_shared_from_this<RecordConnection<Assembler>> {
public:
    using Socket = asio::generic::stream_protocol::socket;
    using Answer = std::function<RecordReply(std::string_view record)>;

    // Zero lets a client be silent for ever.
    RecordConnection(Socket socket, Answer answer, std::chrono::milliseconds idle_drop,
                     const Pieces& pieces = {})
        : m_socket(std::move(socket)), m_timer(m_socket.get_executor()),
          m_answer(std::move(answer)), m_idle_drop(idle_drop), m_pieces(pieces) {}

    void Start() { Read(); }

private:
    using Clock = std::chrono::steady_clock;

    static constexpr std::size_t ReadSize = std::size_t{16} << 10U;

    void Read() {
        m_reading = true;
        WatchSilence();
        m_socket.async_read_some(
            asio::buffer(m_input),
            [self = this->shared_from_this()](std::error_code error, std::size_t count) {
                self->OnRead(error, count);
            });
    }

    void OnRead(std::error_code error, std::size_t count) {
        m_reading = false;
        if (error) {
            Close();
            return;
        }
        m_unread = {m_input.data(), count};
        Serve();
    }

    void Serve() {
        std::string_view record;
        const auto outcome = m_records.Take(m_unread, record);
        if (outcome == Assembler::Outcome::NeedMore) {
            Read();
            return;
        }
        RecordReply reply;
        if (outcome == Assembler::Outcome::Record) {
            reply = m_answer(record);
        }
        if (reply.bytes.empty()) {
            Close();
            return;
        }
        m_output = std::move(reply.bytes);
        m_unwritten = m_output;
        WriteAfter(reply.pause);
    }

    void WriteAfter(std::chrono::milliseconds pause) {
        if (pause.count() <= 0) {
            Write();
            return;
        }
        m_timer.expires_after(pause);
        m_timer.async_wait([self = this->shared_from_this()](std::error_code error) {
            if (!error) {
                self->Write();
            }
        });
    }

    void Write() {
        const std::string_view piece =
            m_unwritten.substr(0, m_pieces.size == 0 ? m_unwritten.size() : m_pieces.size);
        m_unwritten.remove_prefix(piece.size());
        asio::async_write(m_socket, asio::buffer(piece.data(), piece.size()),
                          [self = this->shared_from_this()](std::error_code error, std::size_t) {
                              self->OnWritten(error);
                          });
    }

    void OnWritten(std::error_code error) {
        if (error) {
            Close();
        } else if (m_unwritten.empty()) {
            Serve();
        } else {
            WriteAfter(m_pieces.interval);
        }
    }

    // The timer also holds replies back, and its handler may already be on its way when bytes
    // arrive: hence the look at what it was last set for.
    void WatchSilence() {
        if (m_idle_drop.count() == 0) {
            return;
        }
        m_timer.expires_after(m_idle_drop);
        m_timer.async_wait([self = this->shared_from_this()](std::error_code error) {
            if (!error && self->m_reading && self->m_timer.expiry() <= Clock::now()) {
                self->Close();
            }
        });
    }

    void Close() {
        std::error_code ignored;
        m_timer.cancel();
        m_socket.close(ignored);
    }

    Socket m_socket;
    asio::steady_timer m_timer;
    const Answer m_answer;
    const std::chrono::milliseconds m_idle_drop;
    const Pieces m_pieces;
    Assembler m_records;
    std::array<char, ReadSize> m_input{};
    std::string_view m_unread;
    std::string m_output;
    std::string_view m_unwritten;
    bool m_reading = false;
};

} // namespace emulator
