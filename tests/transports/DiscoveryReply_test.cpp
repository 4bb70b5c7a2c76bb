#include "transports/DiscoveryReply.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "transports/RpcRecord.h"

using uxvisa::rpc::Word;

namespace {

std::string Socket(const std::string& reply, int index = 0) {
    return uxvisa::SocketRecord(reply.data(), reply.size(), index, "10.0.0.5");
}

std::string Vxi11(const std::string& reply, int index = 0) {
    return uxvisa::Vxi11Record(reply.data(), reply.size(), index, "10.0.0.5");
}

std::string PortReply(std::uint32_t port) {
    return Word(1000) + Word(1) + Word(0) + Word(0) + Word(0) + Word(0) + Word(port);
}

std::string With(std::string reply, std::size_t word, std::uint32_t value) {
    return reply.replace(word * 4, 4, Word(value));
}

constexpr char Bare[] = "TCPIP0::10.0.0.5::inst0::INSTR\n\n\n\n\n10.0.0.5";

} // namespace

TEST(SocketRecord, HasTheFieldsOfTheReply) {
    EXPECT_EQ(Socket("scope.lab\t5025\tLab scope\tKX10 Pro SN-7", 3),
              "TCPIP3::scope.lab::5025::SOCKET\nOrvane\nKX10 Pro\nSN-7\nLab scope\n10.0.0.5");
}

TEST(SocketRecord, TheManufacturerIsAlwaysTheSameOnPurpose) {
    EXPECT_EQ(Socket("h\t1\tOther Maker\tM S"),
              "TCPIP0::h::1::SOCKET\nOrvane\nM\nS\nOther Maker\n10.0.0.5");
}

TEST(SocketRecord, FewerFieldsAreEmpty) {
    EXPECT_EQ(Socket("h\t1"), "TCPIP0::h::1::SOCKET\nOrvane\n\n\n\n10.0.0.5");
    EXPECT_EQ(Socket("h\t1\tn"), "TCPIP0::h::1::SOCKET\nOrvane\n\n\nn\n10.0.0.5");
    EXPECT_EQ(Socket("h\t1\t\tKX10"), "TCPIP0::h::1::SOCKET\nOrvane\nKX10\n\n\n10.0.0.5");
}

TEST(SocketRecord, WithoutHostOrPortIsIgnored) {
    for (const char* reply : {"", " \r\n", "h", "h\t", "h\t\tn\tm s", "\t1\tn\tm s", "\t\t\t"}) {
        EXPECT_EQ(Socket(reply), "") << reply;
    }
}

TEST(SocketRecord, IsCutAtTheFirstNulAndTrimmed) {
    EXPECT_EQ(Socket(std::string(" h\t1\tn\tm s \r\n\0garbage\tmore", 26)),
              "TCPIP0::h::1::SOCKET\nOrvane\nm\ns\nn\n10.0.0.5");
    EXPECT_EQ(Socket(std::string(40, '\0')), "");
}

TEST(SocketRecord, ALineFeedInsideDoesNotAddFields) {
    EXPECT_EQ(Socket("h\t1\tn\tm s\nUSB0::evil\nx"),
              "TCPIP0::h::1::SOCKET\nOrvane\nm\ns\nn\n10.0.0.5");
}

TEST(SocketRecord, FurtherTabsStayInTheModel) {
    EXPECT_EQ(Socket("h\t1\tn\tm\tx s"), "TCPIP0::h::1::SOCKET\nOrvane\nm\tx\ns\nn\n10.0.0.5");
}

TEST(SocketRecord, TakesADatagramOfAnySize) {
    const std::string name(65500, 'x');
    EXPECT_EQ(Socket("h\t1\t" + name), "TCPIP0::h::1::SOCKET\nOrvane\n\n\n" + name + "\n10.0.0.5");
}

TEST(SocketRecord, ReadsNothingBehindTheReply) {
    const std::vector<char> exact{'h', '\t', '1'};
    EXPECT_EQ(uxvisa::SocketRecord(exact.data(), exact.size(), 0, "a"),
              "TCPIP0::h::1::SOCKET\nOrvane\n\n\n\na");
}

TEST(Vxi11Record, NamesTheSender) {
    EXPECT_EQ(Vxi11(PortReply(1024), 2), "TCPIP2::10.0.0.5::inst0::INSTR\n\n\n\n\n10.0.0.5");
    EXPECT_EQ(Vxi11(PortReply(65535) + "surplus"), Bare);
}

TEST(Vxi11Record, OtherRepliesAreIgnored) {
    const std::string good = PortReply(1024);
    EXPECT_EQ(Vxi11(""), "");
    EXPECT_EQ(Vxi11(good.substr(0, 27)), "");
    EXPECT_EQ(Vxi11(PortReply(0)), "") << "the program is not there";
    EXPECT_EQ(Vxi11(PortReply(65536)), "");
    EXPECT_EQ(Vxi11(With(good, 1, 0)), "") << "a call, such as our own broadcast";
    EXPECT_EQ(Vxi11(With(good, 2, 1)), "") << "denied";
    EXPECT_EQ(Vxi11(With(good, 5, 1)), "") << "not accepted";
}

TEST(WithIdentity, FillsTheFields) {
    EXPECT_EQ(uxvisa::WithIdentity(Bare, "Orvane, KX40 ,SN-9, 1.2\n"),
              "TCPIP0::10.0.0.5::inst0::INSTR\nOrvane\nKX40\nSN-9\n1.2\n10.0.0.5");
}

TEST(WithIdentity, MissingFieldsAreEmptyAndSurplusOnesDropped) {
    EXPECT_EQ(uxvisa::WithIdentity(Bare, "Maker"),
              "TCPIP0::10.0.0.5::inst0::INSTR\nMaker\n\n\n\n10.0.0.5");
    EXPECT_EQ(uxvisa::WithIdentity(Bare, "a,b,c,d,e"),
              "TCPIP0::10.0.0.5::inst0::INSTR\na\nb\nc\nd\n10.0.0.5");
    EXPECT_EQ(uxvisa::WithIdentity(Bare, ""), Bare);
    EXPECT_EQ(uxvisa::WithIdentity(Bare, "a\nb,c,d,e"),
              "TCPIP0::10.0.0.5::inst0::INSTR\na\n\n\n\n10.0.0.5");
}

TEST(HasSerialNumber, LooksAtTheRecord) {
    EXPECT_FALSE(uxvisa::HasSerialNumber(Bare));
    EXPECT_FALSE(uxvisa::HasSerialNumber(uxvisa::WithIdentity(Bare, "a,b")));
    EXPECT_TRUE(uxvisa::HasSerialNumber(uxvisa::WithIdentity(Bare, "a,b,c")));
}
