// BRIX sessions against the emulator, with the protocol library that users have.
#include "emulator/BrixDirectory.h"
#include "emulator/EmulatorProcess.h"

#include "uxvisa/visa.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

class BrixEmulator : public testing::Test {
protected:
    void Start(std::vector<std::string> options = {}) {
        options.insert(options.begin(),
                       {"--port", "0", "--brix", "--protocol", UXVISA_EXAMPLE_PROTOCOL});
        emulator = std::make_unique<EmulatorProcess>(options);
    }

    ViSession Open() {
        ViSession manager = 0;
        ViSession session = 0;
        EXPECT_EQ(viOpenDefaultRM(&manager), VI_SUCCESS);
        const std::string resource =
            "TCPIP::127.0.0.1::" + std::to_string(emulator->Port()) + "::SOCKET::BRIX";
        EXPECT_EQ(viOpen(manager, resource.c_str(), VI_NO_LOCK, 0, &session), VI_SUCCESS);
        EXPECT_EQ(viSetAttribute(session, VI_ATTR_TMO_VALUE, 20000), VI_SUCCESS);
        return session;
    }

    static std::string Read(ViSession session, std::size_t most = 100000) {
        std::string text(most, '\0');
        ViUInt32 count = 0;
        EXPECT_EQ(viRead(session, reinterpret_cast<ViPByte>(text.data()), most, &count),
                  VI_SUCCESS);
        text.resize(count);
        return text;
    }

    static std::string Query(ViSession session, const std::string& line) {
        ViUInt32 count = 0;
        const std::string text = line + "\n";
        EXPECT_EQ(viWrite(session, reinterpret_cast<ViConstBuf>(text.data()), text.size(), &count),
                  VI_SUCCESS)
            << line;
        EXPECT_EQ(count, text.size());
        return Read(session);
    }

    const BrixDirectory directory;
    std::unique_ptr<EmulatorProcess> emulator;
};

} // namespace

TEST_F(BrixEmulator, AnswersQueriesAndSets) {
    Start();
    const ViSession session = Open();
    EXPECT_EQ(Query(session, "FREQ?"), "FREQ = 0\n");
    EXPECT_EQ(Query(session, "FREQ=1.5"), "FREQ =\n");
    EXPECT_EQ(Query(session, "FREQ?"), "FREQ = 1.5\n");
    EXPECT_EQ(Query(session, "LEVEL=-10.25"), "LEVEL =\n");
    EXPECT_EQ(Query(session, "LEVEL?"), "LEVEL = -10.25\n");
    EXPECT_EQ(Query(session, "FREQ!0.25"), "FREQ ! 1.75\n");
    EXPECT_EQ(Query(session, "RESET"), "RESET\n");
    EXPECT_EQ(Query(session, "FREQ?"), "FREQ = 0\n");
    EXPECT_EQ(viClose(session), VI_SUCCESS);
}

TEST_F(BrixEmulator, NamesTheStatusOfWhatIsRefused) {
    Start();
    const ViSession session = Open();
    EXPECT_EQ(Query(session, "FREQ (b=0x20)=1"), "FREQ ( Status=BAD_FORMAT ) =\n");
    EXPECT_EQ(Query(session, "FREQ (signature=1)?"), "FREQ ( Status=BAD_SIGNATURE ) ?\n");
    EXPECT_EQ(Query(session, "FREQ (bodylen=3)?"), "FREQ ( Status=BAD_LENGTH ) ?\n");
    EXPECT_EQ(Query(session, "FREQ="), "FREQ ( Status=BODY_TOO_SHORT ) =\n");
    EXPECT_EQ(Query(session, "FREQ?"), "FREQ = 0\n");
    EXPECT_EQ(viClose(session), VI_SUCCESS);
}

TEST_F(BrixEmulator, TellsItsIdentity) {
    Start();
    const ViSession session = Open();
    EXPECT_NE(Query(session, "IDENTITY?").find("Orvane,Emulator,0,2.0.0"), std::string::npos);
    EXPECT_EQ(viClose(session), VI_SUCCESS);
}

TEST_F(BrixEmulator, DeliversABlock) {
    Start({"--curve-length", "1000"});
    const ViSession session = Open();
    EXPECT_EQ(viSetAttribute(session, VI_ATTR_BRIX_DECODE_MODE, 2), VI_SUCCESS);
    EXPECT_EQ(Query(session, "CURVE"), "CURVE ( BodyLen=1002 ID=50462976 )\n")
        << "the identifier lies over the first bytes of the block";
    std::string block = Read(session);
    ASSERT_EQ(block.size(), 6U + 1000U);
    EXPECT_EQ(block.substr(0, 6), "#41000");
    for (std::size_t i = 0; i < 1000; ++i) {
        ASSERT_EQ(static_cast<unsigned char>(block[6 + i]), i & 0xFFU);
    }
    EXPECT_EQ(viClose(session), VI_SUCCESS);
}

TEST_F(BrixEmulator, SplitPacketsArriveWhole) {
    Start({"--chunk", "3", "--chunk-interval", "5", "--delay", "20"});
    const ViSession session = Open();
    EXPECT_EQ(viSetAttribute(session, VI_ATTR_BRIX_SPLIT_WRITE, VI_TRUE), VI_SUCCESS);
    EXPECT_EQ(Query(session, "FREQ=1.5"), "FREQ =\n");
    EXPECT_EQ(Query(session, "FREQ?"), "FREQ = 1.5\n");
    EXPECT_EQ(viClose(session), VI_SUCCESS);
}

TEST_F(BrixEmulator, TwoSessionsShareTheInstrument) {
    Start();
    const ViSession first = Open();
    const ViSession second = Open();
    EXPECT_EQ(Query(first, "CHANNEL=5"), "CHANNEL =\n");
    EXPECT_EQ(Query(second, "POINTS=77"), "POINTS =\n");
    EXPECT_EQ(Query(first, "POINTS?"), "POINTS = 77\n");
    EXPECT_EQ(viClose(first), VI_SUCCESS);
    EXPECT_EQ(Query(second, "POINTS?"), "POINTS = 77\n");
    EXPECT_EQ(viClose(second), VI_SUCCESS);
}

TEST_F(BrixEmulator, ServesFormattedQueries) {
    Start();
    const ViSession session = Open();
    EXPECT_EQ(Query(session, "POINTS=401"), "POINTS =\n");
    int points = 0;
    EXPECT_EQ(viQueryf(session, "POINTS?\n", "POINTS = %d\n", &points), VI_SUCCESS);
    EXPECT_EQ(points, 401);
    EXPECT_EQ(viClose(session), VI_SUCCESS);
}

TEST(BrixEmulatorOptions, AProtocolIsNeeded) {
    EmulatorProcess emulator({"--port", "0", "--brix"});
    EXPECT_EQ(emulator.Wait(), 2);
    EXPECT_NE(emulator.Errors().find("--protocol"), std::string::npos);
}

TEST(BrixEmulatorOptions, AProtocolThatCannotBeReadIsTold) {
    EmulatorProcess emulator({"--port", "0", "--brix", "--protocol", "/nonexistent.xml"});
    EXPECT_EQ(emulator.Wait(), 1);
    EXPECT_EQ(emulator.Errors(), "uxvisa-emulator: cannot read /nonexistent.xml\n");
}

TEST(BrixEmulatorOptions, AFaultIsToldWithItsLine) {
    EmulatorProcess emulator({"--port", "0", "--brix", "--protocol", UXVISA_EMULATOR});
    EXPECT_EQ(emulator.Wait(), 1);
    EXPECT_NE(emulator.Errors().find(UXVISA_EMULATOR ":1: "), std::string::npos);
}
