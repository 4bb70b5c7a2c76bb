// A BRIX session whose transport is hooked, watched by a second one that decodes the packets.
#include "emulator/BrixDirectory.h"
#include "emulator/EmulatorProcess.h"

#include "brix/SessionBRIX.h"
#include "uxvisa/hook.h"
#include "uxvisa/visa.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <vector>

namespace {

using std::chrono::steady_clock;

// Opens the transport of a BRIX session in the way it is told.
class Parent : public CBaseSession {
public:
    explicit Parent(std::function<std::unique_ptr<ISession>()> make) : m_make(std::move(make)) {}

    long Open(char* resource, unsigned long accessMode, unsigned long timeoutMs,
              ISession** session) override {
        m_inner = m_make();
        *session = m_inner.get();
        return m_inner->OpenConnection(resource, accessMode, timeoutMs);
    }
    long Close(unsigned long) override { return m_inner->CloseConnection(); }

    ISession& Inner() { return *m_inner; }

private:
    std::function<std::unique_ptr<ISession>()> m_make;
    std::unique_ptr<ISession> m_inner;
};

struct Reading {
    long status;
    std::string line;
};

Reading Read(CSessionBRIX& session) {
    unsigned char bytes[256];
    unsigned long count = 0;
    const long status = session.Read(bytes, sizeof bytes, &count);
    return {status, std::string(reinterpret_cast<char*>(bytes), count)};
}

// The next thing that is no silence.
Reading Watch(CSessionBRIX& monitor) {
    const auto end = steady_clock::now() + std::chrono::seconds(20);
    Reading reading = Read(monitor);
    while (reading.status == VI_ERROR_RSRC_BUSY && steady_clock::now() < end) {
        reading = Read(monitor);
    }
    return reading;
}

void Write(CSessionBRIX& session, std::string line) {
    unsigned long count = 0;
    EXPECT_EQ(session.Write(reinterpret_cast<unsigned char*>(line.data()), line.size(), &count),
              VI_SUCCESS);
}

} // namespace

TEST(BrixMonitor, ShowsBothDirections) {
    const BrixDirectory directory;
    EmulatorProcess emulator({"--port", "0", "--brix", "--protocol", UXVISA_EXAMPLE_PROTOCOL});
    const std::string name = "TCPIP::127.0.0.1::" + std::to_string(emulator.Port()) + "::SOCKET";
    Parent hooked([] { return std::make_unique<CSessionHook>(new uxvisa::VisaSession); });
    Parent watching([] { return std::make_unique<CSessionDebug>(); });
    CSessionBRIX program(&hooked);
    CSessionBRIX monitor(&watching);
    std::string resource = name + "::BRIX";
    std::string watched = name + "::BRIX::HOOK";
    ASSERT_EQ(program.OpenConnection(resource.data(), 0, 0), VI_SUCCESS);
    ASSERT_EQ(monitor.OpenConnection(watched.data(), 0, 0), VI_SUCCESS);

    auto work = std::async(std::launch::async, [&] {
        Write(program, "FREQ=1.5\n");
        const Reading acknowledged = Read(program);
        Write(program, "FREQ?\n");
        const Reading answer = Read(program);
        return acknowledged.line + answer.line;
    });
    std::vector<std::string> seen;
    for (int turns = 0; seen.size() < 4 && turns < 20; ++turns) {
        const Reading reading = Watch(monitor);
        if (reading.status == VI_ERROR_TMO && reading.line.empty()) {
            continue; // the direction has turned
        }
        ASSERT_EQ(reading.status, VI_SUCCESS);
        std::uint32_t direction = 4711;
        EXPECT_EQ(monitor.GetAttribute(uxvisa::MonitorDirectionAttribute, &direction), VI_SUCCESS);
        seen.push_back((direction == 1 ? "-> " : "<- ") + reading.line);
    }
    EXPECT_EQ(work.get(), "FREQ =\nFREQ = 1.5\n");
    EXPECT_EQ(seen, (std::vector<std::string>{"-> FREQ = 1.5\n", "<- FREQ =\n", "-> FREQ ?\n",
                                              "<- FREQ = 1.5\n"}));
    EXPECT_EQ(monitor.CloseConnection(), VI_SUCCESS);
    EXPECT_EQ(program.CloseConnection(), VI_SUCCESS);
}
