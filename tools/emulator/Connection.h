#pragma once

#include "tools/emulator/Instrument.h"
#include "tools/emulator/Interpreter.h"
#include "tools/emulator/LineAssembler.h"
#include "tools/emulator/Options.h"

#include <asio.hpp>

#include <array>
#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

namespace emulator {

// One client on any byte stream of Asio: a socket, a pipe, a terminal. Nothing is read while a
// response is on its way, so a client that does not take its answers cannot make memory grow. The
// pending operations keep the connection alive; the instrument must outlive them.
template <class Stream>
class Connection : public std::enable_shared_from_this<Connection<Stream>> {
public:
    Connection(Stream stream, Instrument& instrument, const Pacing& pacing)
        : m_stream(std::move(stream)), m_timer(m_stream.get_executor()), m_instrument(instrument),
          m_interpreter(instrument), m_pacing(pacing) {}

    void Start() { Read(); }

private:
    using Clock = std::chrono::steady_clock;

    static constexpr std::size_t ReadSize = std::size_t{16} << 10U;
    static constexpr std::size_t WriteSize = std::size_t{64} << 10U;

    void Read() {
        m_reading = true;
        WatchSilence();
        const auto self = this->shared_from_this();
        m_stream.async_read_some(
            asio::buffer(m_input),
            [self](std::error_code error, std::size_t count) { self->OnRead(error, count); });
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
        while (StartNextMessage()) {
            if (FillOutput()) {
                WriteAfter(m_pacing.delay);
                return;
            }
        }
        Read();
    }

    bool StartNextMessage() {
        std::string_view line;
        auto outcome = m_lines.Take(m_unread, line);
        while (outcome == LineAssembler::Outcome::Overrun) {
            m_instrument.Report(ErrorCode::InputBufferOverrun);
            outcome = m_lines.Take(m_unread, line);
        }
        m_interpreter.Start(line);
        return outcome == LineAssembler::Outcome::Line;
    }

    bool FillOutput() {
        m_output.clear();
        m_interpreter.Run(m_output, m_pacing.chunk != 0 ? m_pacing.chunk : WriteSize);
        return !m_output.empty();
    }

    void WriteAfter(std::chrono::milliseconds pause) {
        if (pause.count() == 0) {
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
        const auto self = this->shared_from_this();
        asio::async_write(m_stream, asio::buffer(m_output),
                          [self](std::error_code error, std::size_t) { self->OnWritten(error); });
    }

    void OnWritten(std::error_code error) {
        if (error) {
            Close();
        } else if (FillOutput()) {
            WriteAfter(m_pacing.chunk != 0 ? m_pacing.chunk_interval
                                           : std::chrono::milliseconds(0));
        } else if (++m_responses == m_pacing.close_after) {
            Close();
        } else {
            Serve();
        }
    }

    // The timer also paces writes, and its handler may already be on its way when bytes arrive:
    // hence the look at what it was last set for.
    void WatchSilence() {
        if (m_pacing.idle_drop.count() == 0) {
            return;
        }
        m_timer.expires_after(m_pacing.idle_drop);
        m_timer.async_wait([self = this->shared_from_this()](std::error_code error) {
            if (!error && self->m_reading && self->m_timer.expiry() <= Clock::now()) {
                self->Close();
            }
        });
    }

    void Close() {
        std::error_code ignored;
        m_timer.cancel();
        m_stream.close(ignored);
    }

    Stream m_stream;
    asio::steady_timer m_timer;
    Instrument& m_instrument;
    LineAssembler m_lines;
    Interpreter m_interpreter;
    const Pacing m_pacing;
    std::array<char, ReadSize> m_input{};
    std::string_view m_unread;
    std::string m_output;
    std::size_t m_responses = 0;
    bool m_reading = false;
};

} // namespace emulator
