#include "transports/Vxi11Identity.h"

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "api/DynamicVisa.h"
#include "support/Namespace.h"
#include "support/RpcPeer.h"
#include "transports/RpcRecord.h"

using namespace std::chrono_literals;
using namespace uxvisa::test;
using uxvisa::rpc::Mark;
using uxvisa::rpc::Word;

namespace {

constexpr int PortmapperPort = 111;
// The time given to the instruments, and what a busy machine may add.
constexpr auto Soon = 5s;

using Texts = std::vector<std::string>;

std::string Bare(const std::string& address = "127.0.0.1") {
    return "TCPIP0::" + address + "::inst0::INSTR\n\n\n\n\n" + address;
}

std::string Named(const std::string& identity, const std::string& address = "127.0.0.1") {
    return "TCPIP0::" + address + "::inst0::INSTR\n" + identity + "\n" + address;
}

std::string Record(const std::string& body) {
    return Mark(body.size()) + body;
}

std::string Header() {
    return std::string(24, '\0');
}

// What an instrument answers; each test spoils one of them.
struct Replies {
    std::string createLink = Record(Header() + Word(0) + Word(0) + Word(17) + Word(65475));
    std::string write = Record(Header() + Word(0) + Word(6));
    std::string read = Answer("Orvane,KX40,SN-9,1.2\n");
    std::string destroy = Record(Header() + Word(0));

    static std::string Answer(const std::string& text, std::uint32_t error = 0) {
        const std::string padding(uxvisa::rpc::Padding(text.size()), '\0');
        return Record(Header() + Word(error) + Word(0) + Word(4) + Word(0) +
                      Word(static_cast<std::uint32_t>(text.size())) + Word(0) + text + padding);
    }
};

class Instrument {
public:
    explicit Instrument(const Replies& replies = {})
        : m_core(0, [replies](const std::string& call) { return Reply(replies, call); }),
          m_portmapper(PortmapperPort, [port = m_core.Port()](const std::string&) {
              return Record(Word(1000) + Word(1) + Word(0) + Word(0) + Word(0) + Word(0) +
                            Word(static_cast<std::uint32_t>(port)));
          }) {}

private:
    static std::string Reply(const Replies& replies, const std::string& call) {
        switch (ProcedureOf(call)) {
        case 10:
            return replies.createLink;
        case 11:
            return replies.write;
        case 12:
            return replies.read;
        default:
            return replies.destroy;
        }
    }

    RpcPeer m_core;
    RpcPeer m_portmapper;
};

class Vxi11Identity : public NamespaceTest {
protected:
    void SetUp() override {
        NamespaceTest::SetUp();
        ASSERT_GE(Visa.Initialize(UXVISA_LAN_DRIVER), 0);
    }
    void TearDown() override { Visa.Uninitialize(); }

    // In a network of the instrument's own.
    static void Here(const std::function<void()>& work) { NetworkNamespace().Do(work); }

    static void ExpectNothingAdded(const Replies& replies) {
        Here([&] {
            const Instrument instrument(replies);
            const auto start = std::chrono::steady_clock::now();
            EXPECT_EQ(uxvisa::WithIdentities({Bare()}), Texts{Bare()});
            EXPECT_LT(std::chrono::steady_clock::now() - start, Soon);
        });
    }
};

} // namespace

TEST_F(Vxi11Identity, IsAsked) {
    Here([] {
        const Instrument instrument;
        EXPECT_EQ(uxvisa::WithIdentities({Bare()}), Texts{Named("Orvane\nKX40\nSN-9\n1.2")});
    });
}

TEST_F(Vxi11Identity, IsNotAskedWithoutADriver) {
    Visa.Uninitialize();
    Here([] {
        const Instrument instrument;
        EXPECT_EQ(uxvisa::WithIdentities({Bare(), Bare()}), (Texts{Bare(), Bare()}));
    });
}

TEST_F(Vxi11Identity, OneSerialNumberAtTwoAddressesIsOneInstrument) {
    Here([] {
        const Instrument instrument;
        EXPECT_EQ(uxvisa::WithIdentities({Bare("127.0.0.1"), Bare("127.0.0.2")}),
                  Texts{Named("Orvane\nKX40\nSN-9\n1.2")});
    });
}

TEST_F(Vxi11Identity, WithoutASerialNumberTwoAddressesAreTwo) {
    Replies replies;
    replies.read = Replies::Answer("Orvane,KX40");
    Here([&] {
        const Instrument instrument(replies);
        EXPECT_EQ(uxvisa::WithIdentities({Bare("127.0.0.1"), Bare("127.0.0.2")}),
                  (Texts{Named("Orvane\nKX40\n\n"), Named("Orvane\nKX40\n\n", "127.0.0.2")}));
    });
}

TEST_F(Vxi11Identity, IsEmptyWhereNobodyListens) {
    Here([] { EXPECT_EQ(uxvisa::WithIdentities({Bare()}), Texts{Bare()}); });
}

TEST_F(Vxi11Identity, IsEmptyWhenAStepIsNotAnswered) {
    Here([] {
        const RpcPeer silent(PortmapperPort, [](const auto&) { return std::string(); });
        EXPECT_EQ(uxvisa::WithIdentities({Bare()}), Texts{Bare()});
    });
    Replies replies;
    replies.createLink = "";
    ExpectNothingAdded(replies);
    replies = {};
    replies.write = "";
    ExpectNothingAdded(replies);
    replies = {};
    replies.read = "";
    ExpectNothingAdded(replies);
}

TEST_F(Vxi11Identity, IsEmptyWhenAStepFails) {
    Replies replies;
    replies.createLink = Record(Header() + Word(3) + Word(0) + Word(17) + Word(65475));
    ExpectNothingAdded(replies);
    replies = {};
    replies.createLink = Record(Header() + Word(0) + Word(1) + Word(17) + Word(65475));
    ExpectNothingAdded(replies);
    replies = {};
    replies.write = Record(Header() + Word(17) + Word(0));
    ExpectNothingAdded(replies);
    replies = {};
    replies.read = Replies::Answer("Orvane,KX40,SN-9,1.2\n", 15);
    ExpectNothingAdded(replies);
}

TEST_F(Vxi11Identity, RepliesThatMakeNoSenseDoNoHarm) {
    for (const std::string& nonsense :
         {Record(""), Record("x"), Record(Header()), Mark(65535) + std::string(100, 'x'),
          std::string(70000, '\xFF')}) {
        Replies replies;
        replies.createLink = nonsense;
        ExpectNothingAdded(replies);
        replies = {};
        replies.read = nonsense;
        ExpectNothingAdded(replies);
    }
}

TEST_F(Vxi11Identity, ALengthBeyondTheReplyIsCut) {
    Replies replies;
    replies.read = Record(Header() + Word(0) + Word(0) + Word(4) + Word(0) + Word(0xFFFFFFFF) +
                          Word(0) + "Orvane,KX40,S,1");
    Here([&] {
        const Instrument instrument(replies);
        EXPECT_EQ(uxvisa::WithIdentities({Bare()}), Texts{Named("Orvane\nKX40\nS\n1")});
    });
}

TEST_F(Vxi11Identity, ASilentInstrumentDoesNotKeepAnotherFromAnswering) {
    Here([] {
        const Instrument instrument;
        const Texts records{Bare("127.0.0.1"), Bare("192.0.2.1")};
        EXPECT_EQ(uxvisa::WithIdentities(records),
                  (Texts{Named("Orvane\nKX40\nSN-9\n1.2"), Bare("192.0.2.1")}));
    });
}
