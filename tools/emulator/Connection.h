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
        : stream_(std::move(stream)), timer_(stream_.get_executor()), instrument_(instrument),
          interpreter_(instrument), pacing_(pacing) {}

    void Start() { Read(); }

private:
    using Clock = std::chrono::steady_clock;

    static constexpr std::size_t kReadSize = std::size_t{16} << 10U;
    static constexpr std::size_t kWriteSize = std::size_t{64} << 10U;

    void Read() {
        reading_ = true;
        WatchSilence();
        const auto self = this->shared_from_this();
        stream_.async_read_some(
            asio::buffer(input_),
            [self](std::error_code error, std::size_t count) { self->OnRead(error, count); });
    }

    void OnRead(std::error_code error, std::size_t count) {
        reading_ = false;
        if (error) {
            Close();
            return;
        }
        unread_ = {input_.data(), count};
        Serve();
    }

    void Serve() {
        while (StartNextMessage()) {
            if (FillOutput()) {
                WriteAfter(pacing_.delay);
                return;
            }
        }
        Read();
    }

    bool StartNextMessage() {
        std::string_view line;
        auto outcome = lines_.Take(unread_, line);
        while (outcome == LineAssembler::Outcome::Overrun) {
            instrument_.Report(ErrorCode::InputBufferOverrun);
            outcome = lines_.Take(unread_, line);
        }
        interpreter_.Start(line);
        return outcome == LineAssembler::Outcome::Line;
    }

    bool FillOutput() {
        output_.clear();
        interpreter_.Run(output_, pacing_.chunk != 0 ? pacing_.chunk : kWriteSize);
        return !output_.empty();
    }

    void WriteAfter(std::chrono::milliseconds pause) {
        if (pause.count() == 0) {
            Write();
            return;
        }
        timer_.expires_after(pause);
        timer_.async_wait([self = this->shared_from_this()](std::error_code error) {
            if (!error) {
                self->Write();
            }
        });
    }

    void Write() {
        const auto self = this->shared_from_this();
        asio::async_write(stream_, asio::buffer(output_),
                          [self](std::error_code error, std::size_t) { self->OnWritten(error); });
    }

    void OnWritten(std::error_code error) {
        if (error) {
            Close();
        } else if (FillOutput()) {
            WriteAfter(pacing_.chunk != 0 ? pacing_.chunk_interval : std::chrono::milliseconds(0));
        } else {
            Serve();
        }
    }

    // The timer also paces writes, and its handler may already be on its way when bytes arrive:
    // hence the look at what it was last set for.
    void WatchSilence() {
        if (pacing_.idle_drop.count() == 0) {
            return;
        }
        timer_.expires_after(pacing_.idle_drop);
        timer_.async_wait([self = this->shared_from_this()](std::error_code error) {
            if (!error && self->reading_ && self->timer_.expiry() <= Clock::now()) {
                self->Close();
            }
        });
    }

    void Close() {
        std::error_code ignored;
        timer_.cancel();
        stream_.close(ignored);
    }

    Stream stream_;
    asio::steady_timer timer_;
    Instrument& instrument_;
    LineAssembler lines_;
    Interpreter interpreter_;
    const Pacing pacing_;
    std::array<char, kReadSize> input_{};
    std::string_view unread_;
    std::string output_;
    bool reading_ = false;
};

} // namespace emulator
