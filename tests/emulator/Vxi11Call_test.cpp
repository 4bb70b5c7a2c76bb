#include "tools/emulator/Vxi11Call.h"

#include "emulator/RpcRecords.h"

#include <gtest/gtest.h>

#include <string>

using namespace emulator;
using rpc_records::Opaque;
using rpc_records::Zeros;
using Wire = std::string;

namespace {

Wire W(std::uint32_t value) {
    return rpc_records::Word(value);
}

// The parameters of a call: what follows its 40 bytes of header.
Wire Parameters(const std::string& call) {
    return call.substr(40);
}

} // namespace

TEST(Vxi11Call, CreateLinkNamesTheDevice) {
    const Wire parameters = Parameters(rpc_records::CreateLink("gpib0,5", 1));
    const auto call = DecodeCreateLink(parameters);
    ASSERT_TRUE(call);
    EXPECT_EQ(call->device, "gpib0,5");
    EXPECT_TRUE(call->lock);
}

TEST(Vxi11Call, TheLinkWordsComeFirst) {
    const Wire parameters = Parameters(rpc_records::DeviceWrite(W(5) + W(6), "*RST\n"));
    const auto write = DecodeDeviceWrite(parameters);
    ASSERT_TRUE(write);
    EXPECT_EQ(write->link, (LinkWords{5, 6}));
    EXPECT_TRUE(write->end);
    EXPECT_EQ(write->data, "*RST\n");
    const auto read = DecodeDeviceRead(Parameters(rpc_records::DeviceRead(W(7) + W(8), 100, 250)));
    ASSERT_TRUE(read);
    EXPECT_EQ(read->link, (LinkWords{7, 8}));
    EXPECT_EQ(read->request_size, 100U);
    EXPECT_EQ(read->timeout.count(), 250);
    EXPECT_EQ(DecodeDestroyLink(W(9)), 9U);
}

TEST(Vxi11Call, EndIsOneBitOfTheFlags) {
    const Wire without = Parameters(rpc_records::DeviceWrite(Zeros(8), "a", 0xF7));
    const Wire with = Parameters(rpc_records::DeviceWrite(Zeros(8), "a", 0xFF));
    EXPECT_FALSE(DecodeDeviceWrite(without)->end);
    EXPECT_TRUE(DecodeDeviceWrite(with)->end);
}

TEST(Vxi11Call, ParametersThatRunOutAreRefused) {
    const Wire create = Parameters(rpc_records::CreateLink("inst0"));
    for (std::size_t length = 0; length < create.size(); ++length) {
        EXPECT_FALSE(DecodeCreateLink(create.substr(0, length))) << length;
    }
    const Wire write = Parameters(rpc_records::DeviceWrite(Zeros(8), "*RST\n"));
    for (std::size_t length = 0; length < write.size(); ++length) {
        EXPECT_FALSE(DecodeDeviceWrite(write.substr(0, length))) << length;
    }
    const Wire read = Parameters(rpc_records::DeviceRead(Zeros(8), 10));
    for (std::size_t length = 0; length < read.size(); ++length) {
        EXPECT_FALSE(DecodeDeviceRead(read.substr(0, length))) << length;
    }
    EXPECT_FALSE(DecodeDestroyLink(Zeros(3)));
    EXPECT_FALSE(DecodeDeviceWrite(Zeros(16) + W(0xFFFFFFFF) + "abcd"));
}

TEST(Vxi11Call, ResultsHaveTheSizesThatSessionsCount) {
    EXPECT_EQ(CreateLinkResult(DeviceError::None, {5, 6}), Zeros(8) + W(5) + W(6));
    EXPECT_EQ(CreateLinkResult(DeviceError::DeviceNotAccessible, {}), W(3) + Zeros(12));
    EXPECT_EQ(DeviceWriteResult(DeviceError::None, 77), W(0) + W(77));
    EXPECT_EQ(DestroyLinkResult(DeviceError::InvalidLink), W(4));
}

TEST(Vxi11Call, AReadResultHasThreeSlotsOfEightBytesOnPurpose) {
    EXPECT_EQ(DeviceReadResult({DeviceError::None, ReadReason::End, "abcde"}),
              Zeros(8) + W(4) + W(0) + W(5) + W(0) + "abcde" + Zeros(3));
    EXPECT_EQ(DeviceReadResult({DeviceError::IoTimeout, ReadReason::None, {}}), W(15) + Zeros(20));
}
