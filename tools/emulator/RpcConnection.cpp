#include "tools/emulator/RpcConnection.h"

#include <utility>

namespace emulator {

RpcConnection::RpcConnection(Socket socket, Answer answer, std::chrono::milliseconds idle_drop)
    : m_socket(std::move(socket)), m_timer(m_socket.get_executor()), m_answer(std::move(answer)),
      m_idle_drop(idle_drop) {}

void RpcConnection::Read() {
    m_reading = true;
    WatchSilence();
    m_socket.async_read_some(asio::buffer(m_input),
                             [self = shared_from_this()](std::error_code error, std::size_t count) {
                                 self->OnRead(error, count);
                             });
}

void RpcConnection::OnRead(std::error_code error, std::size_t count) {
    m_reading = false;
    if (error) {
        Close();
        return;
    }
    m_unread = {m_input.data(), count};
    Serve();
}

void RpcConnection::Serve() {
    std::string_view record;
    const auto outcome = m_records.Take(m_unread, record);
    if (outcome == RecordAssembler::Outcome::NeedMore) {
        Read();
        return;
    }
    RpcReply reply;
    if (outcome == RecordAssembler::Outcome::Record) {
        reply = m_answer(record);
    }
    if (reply.bytes.empty()) {
        Close();
        return;
    }
    m_output = std::move(reply.bytes);
    WriteAfter(reply.pause);
}

void RpcConnection::WriteAfter(std::chrono::milliseconds pause) {
    if (pause.count() <= 0) {
        Write();
        return;
    }
    m_timer.expires_after(pause);
    m_timer.async_wait([self = shared_from_this()](std::error_code error) {
        if (!error) {
            self->Write();
        }
    });
}

void RpcConnection::Write() {
    asio::async_write(m_socket, asio::buffer(m_output),
                      [self = shared_from_this()](std::error_code error, std::size_t) {
                          if (error) {
                              self->Close();
                          } else {
                              self->Serve();
                          }
                      });
}

// The timer also holds replies back, and its handler may already be on its way when bytes arrive:
// hence the look at what it was last set for.
void RpcConnection::WatchSilence() {
    if (m_idle_drop.count() == 0) {
        return;
    }
    m_timer.expires_after(m_idle_drop);
    m_timer.async_wait([self = shared_from_this()](std::error_code error) {
        if (!error && self->m_reading && self->m_timer.expiry() <= Clock::now()) {
            self->Close();
        }
    });
}

void RpcConnection::Close() {
    std::error_code ignored;
    m_timer.cancel();
    m_socket.close(ignored);
}

} // namespace emulator
