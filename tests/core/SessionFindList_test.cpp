#include "core/SessionFindList.h"

#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "uxvisa/visatype.h"

namespace {

constexpr unsigned long AttributeIdentity = 0x3FFF024A;
constexpr char EmulatorRecord[] = "TCPIP::localhost::8888::SOCKET\nOrvane\nEmulator\n\n\n127.0.0.1";

struct Description {
    char bytes[300];

    Description() { std::memset(bytes, '#', sizeof bytes); }
    std::string Resource() const { return bytes; }
    std::string Summary() const { return bytes + std::strlen(bytes) + 1; }
    std::size_t Untouched() const {
        std::size_t size = sizeof bytes;
        while (size > 0 && bytes[size - 1] == '#') {
            --size;
        }
        return sizeof bytes - size;
    }
};

std::string Text(CSessionFindList& list, unsigned long attribute) {
    char value[300];
    std::memset(value, '#', sizeof value);
    EXPECT_EQ(list.GetAttribute(attribute, value), VI_SUCCESS);
    return value;
}

std::vector<std::string> Attributes(CSessionFindList& list) {
    return {Text(list, VI_ATTR_MANF_NAME), Text(list, VI_ATTR_MODEL_NAME),
            Text(list, VI_ATTR_USB_SERIAL_NUM), Text(list, AttributeIdentity),
            Text(list, VI_ATTR_TCPIP_ADDR)};
}

using Texts = std::vector<std::string>;

} // namespace

TEST(SessionFindList, HandsOutRecordsInTheirOrder) {
    CSessionFindList list;
    for (const char* record : {"b", "a", "b"}) {
        EXPECT_EQ(FnFindHandler(nullptr, record, &list), VI_SUCCESS);
    }
    for (const char* record : {"b", "a", "b"}) {
        Description description;
        EXPECT_EQ(list.FindNext(description.bytes), VI_SUCCESS);
        EXPECT_EQ(description.Resource(), record) << "neither sorted nor compared, on purpose";
    }
    EXPECT_EQ(list.FindNext(nullptr), VI_ERROR_RSRC_NFOUND);
}

TEST(SessionFindList, WritesTwoTextsOnPurpose) {
    CSessionFindList list;
    list.FindHandler(nullptr, EmulatorRecord);
    Description description;
    ASSERT_EQ(list.FindNext(description.bytes), VI_SUCCESS);
    EXPECT_EQ(description.Resource(), "TCPIP::localhost::8888::SOCKET");
    EXPECT_EQ(description.Summary(), "\t\tEmulator \t127.0.0.1\t");
}

TEST(SessionFindList, TheSummaryHasAllFields) {
    CSessionFindList list;
    list.FindHandler(nullptr, "r\nMaker\nModel\nSN\nName\nAddress");
    Description description;
    ASSERT_EQ(list.FindNext(description.bytes), VI_SUCCESS);
    EXPECT_EQ(description.Summary(), "\tName\tModel SN\tAddress\t");
}

TEST(SessionFindList, AttributesAreThoseOfTheLastRecord) {
    CSessionFindList list;
    EXPECT_EQ(Attributes(list), (Texts{"", "", "", "", ""})) << "before the first";
    list.FindHandler(nullptr, "r\nMaker\nModel\nSN\nName\nAddress");
    list.FindHandler(nullptr, "ttyS0::INSTR\n\n\n");
    EXPECT_EQ(Attributes(list), (Texts{"", "", "", "", ""}));
    list.FindNext(nullptr);
    EXPECT_EQ(Attributes(list), (Texts{"Maker", "Model", "SN", "Name", "Address"}));
    list.FindNext(nullptr);
    EXPECT_EQ(Attributes(list), (Texts{"", "", "", "", ""}));
}

TEST(SessionFindList, KeepsTheLastRecordWhenThereIsNoOther) {
    CSessionFindList list;
    list.FindHandler(nullptr, "r\nMaker");
    list.FindNext(nullptr);
    Description description;
    EXPECT_EQ(list.FindNext(description.bytes), VI_ERROR_RSRC_NFOUND);
    EXPECT_EQ(description.Untouched(), sizeof description.bytes);
    EXPECT_EQ(Text(list, VI_ATTR_MANF_NAME), "Maker");
}

TEST(SessionFindList, OtherAttributesAreNotSupported) {
    CSessionFindList list;
    unsigned long value = 4711;
    EXPECT_EQ(list.GetAttribute(VI_ATTR_TMO_VALUE, &value), VI_ERROR_NSUP_ATTR);
    EXPECT_EQ(value, 4711U);
    EXPECT_EQ(list.GetAttribute(VI_ATTR_MANF_NAME, nullptr), VI_ERROR_NSUP_ATTR_STATE);
    EXPECT_EQ(list.SetAttribute(VI_ATTR_TMO_VALUE, 1), VI_ERROR_NSUP_ATTR);
    EXPECT_EQ(list.SetAttribute(VI_ATTR_MANF_NAME, 1), VI_ERROR_NSUP_ATTR);
}

TEST(SessionFindList, NeverWritesMoreThan256Bytes) {
    constexpr std::size_t most = VI_FIND_BUFLEN;
    for (const std::size_t size : {100U, 253U, 254U, 255U, 256U, 1000U, 70000U}) {
        CSessionFindList list;
        const std::string text(size, 'x');
        list.FindHandler(nullptr, (text + "\n" + text + "\n" + text).c_str());
        Description description;
        ASSERT_EQ(list.FindNext(description.bytes), VI_SUCCESS);
        EXPECT_GE(description.Untouched(), sizeof description.bytes - most) << size;
        EXPECT_EQ(description.Resource(), text.substr(0, most - 1)) << size;
        char value[300];
        std::memset(value, '#', sizeof value);
        EXPECT_EQ(list.GetAttribute(VI_ATTR_MODEL_NAME, value), VI_SUCCESS);
        EXPECT_EQ(value, text.substr(0, most - 1)) << size;
        EXPECT_EQ(value[most], '#') << size;
    }
}

TEST(SessionFindList, TakesRecordsFromSeveralThreads) {
    CSessionFindList list;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int n = 0; n < 1000; ++n) {
                FnFindHandler(nullptr, "record", &list);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    int count = 0;
    while (list.FindNext(nullptr) == VI_SUCCESS) {
        ++count;
    }
    EXPECT_EQ(count, 4000);
}

TEST(SessionFindList, IsNoConnection) {
    CSessionFindList list;
    EXPECT_EQ(list.OpenConnection(nullptr, 0, 0), VI_SUCCESS);
    EXPECT_EQ(list.CloseConnection(), VI_SUCCESS);
    EXPECT_EQ(list.Read(nullptr, 0, nullptr), VI_ERROR_NIMPL_OPER);
}

TEST(SessionFindList, RefusesANullExpression) {
    CSessionFindList list;
    unsigned long count = 4711;
    EXPECT_EQ(list.FindRsrc(nullptr, nullptr, &count, nullptr), VI_ERROR_INV_EXPR);
    EXPECT_EQ(count, 4711U);
}
