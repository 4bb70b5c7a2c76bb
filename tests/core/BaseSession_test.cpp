#include "core/BaseSession.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

#include "tests/support/MockSession.h"
#include "uxvisa/visatype.h"

namespace {

// The fields of the class, as another program would declare them.
struct BaseSessionLayout {
    void* table;
    std::string readBuffer;
    unsigned char skipUntil;
    unsigned char lineDone;
    unsigned long id;
};
static_assert(sizeof(BaseSessionLayout) == sizeof(CBaseSession));
static_assert(sizeof(CBaseSession) == 56);

using Slot = void (*)();

Slot SlotOf(CBaseSession& session, std::size_t index) {
    const Slot* table = nullptr;
    std::memcpy(&table, reinterpret_cast<const void*>(&session), sizeof table);
    return table[index];
}

} // namespace

TEST(BaseSession, FreshSessionHasIdZeroUntilSet) {
    CBaseSession session;
    EXPECT_EQ(session.GetID(), 0UL);
    session.SetID(0xFFFFFFFFUL);
    EXPECT_EQ(session.GetID(), 0xFFFFFFFFUL);
}

TEST(BaseSession, DefaultsAnswerFixedStatuses) {
    CBaseSession session;
    EXPECT_EQ(session.FindRsrc(nullptr, nullptr, nullptr, nullptr), VI_ERROR_NIMPL_OPER);
    EXPECT_EQ(session.FindNext(nullptr), VI_ERROR_NIMPL_OPER);
    EXPECT_EQ(session.ParseRsrcEx(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
              VI_ERROR_NIMPL_OPER);
    EXPECT_EQ(session.OpenConnection(nullptr, 0, 0), VI_ERROR_NIMPL_OPER);
    EXPECT_EQ(session.CloseConnection(), VI_ERROR_NIMPL_OPER);
    EXPECT_EQ(session.FindResources(nullptr, nullptr, nullptr), VI_ERROR_NIMPL_OPER);
    EXPECT_EQ(session.SetAttribute(VI_ATTR_TMO_VALUE, 1), VI_ERROR_NIMPL_OPER);
    EXPECT_EQ(session.Read(nullptr, 0, nullptr), VI_ERROR_NIMPL_OPER);
    EXPECT_EQ(session.Write(nullptr, 0, nullptr), VI_ERROR_NIMPL_OPER);
    EXPECT_EQ(session.Clear(), VI_ERROR_NIMPL_OPER);
    EXPECT_EQ(session.Close(1), VI_ERROR_NIMPL_OPER);
    EXPECT_EQ(session.Flush(1), VI_ERROR_NIMPL_OPER);
    EXPECT_EQ(session.SetBuf(1, 1), VI_ERROR_NIMPL_OPER);
}

TEST(BaseSession, OpenAloneAnswersNotSupportedOnPurpose) {
    CBaseSession session;
    EXPECT_EQ(session.Open(nullptr, 0, 0, nullptr), VI_ERROR_NSUP_OPER);
}

TEST(BaseSession, DisablingAndDiscardingEventsSucceedOnPurpose) {
    CBaseSession session;
    EXPECT_EQ(session.EnableEvent(1, 1, 1), VI_ERROR_NIMPL_OPER);
    EXPECT_EQ(session.DisableEvent(1, 1), VI_SUCCESS);
    EXPECT_EQ(session.DiscardEvents(1, 1), VI_SUCCESS);
}

TEST(BaseSession, GetAttributeLeavesTheValue) {
    CBaseSession session;
    unsigned long value = 77;
    EXPECT_EQ(session.GetAttribute(VI_ATTR_TMO_VALUE, &value), VI_ERROR_NSUP_ATTR);
    EXPECT_EQ(value, 77UL);
}

TEST(BaseSession, StatusesAreSignExtended) {
    CBaseSession session;
    const long status = session.Clear();
    EXPECT_LT(status, 0);
    EXPECT_EQ(static_cast<unsigned long>(status), 0xFFFFFFFFBFFF0081UL);
    EXPECT_EQ(static_cast<std::uint32_t>(status), 0xBFFF0081U);
}

// The destructor takes two slots from index 2 on, so GetID has 4 and SetBuf 23.
TEST(BaseSession, VirtualTableKeepsItsOrder) {
    CBaseSession session;
    session.SetID(0x1234);
    using GetId = unsigned long (*)(CBaseSession*);
    EXPECT_EQ(reinterpret_cast<GetId>(SlotOf(session, 4))(&session), 0x1234UL);
    using SetId = void (*)(CBaseSession*, unsigned long);
    reinterpret_cast<SetId>(SlotOf(session, 5))(&session, 9);
    EXPECT_EQ(session.GetID(), 9UL);
    using OpenSlot = long (*)(CBaseSession*, char*, unsigned long, unsigned long, ISession**);
    EXPECT_EQ(reinterpret_cast<OpenSlot>(SlotOf(session, 7))(&session, nullptr, 0, 0, nullptr),
              VI_ERROR_NSUP_OPER);
    using Events = long (*)(CBaseSession*, unsigned long, unsigned short);
    EXPECT_EQ(reinterpret_cast<Events>(SlotOf(session, 12))(&session, 0, 0), VI_SUCCESS);
    EXPECT_EQ(reinterpret_cast<Events>(SlotOf(session, 13))(&session, 0, 0), VI_SUCCESS);
    using Get = long (*)(CBaseSession*, unsigned long, void*);
    EXPECT_EQ(reinterpret_cast<Get>(SlotOf(session, 15))(&session, 0, nullptr), VI_ERROR_NSUP_ATTR);
    using SetBufSlot = long (*)(CBaseSession*, unsigned short, unsigned long);
    EXPECT_EQ(reinterpret_cast<SetBufSlot>(SlotOf(session, 23))(&session, 0, 0),
              VI_ERROR_NIMPL_OPER);
}

TEST(BaseSession, DeletesThroughTheInterface) {
    ISession* session = new uxvisa::test::MockSession;
    delete session;
}

TEST(BaseSession, TrimBuffIgnoresCountsBeyondTheBuffer) {
    uxvisa::test::MockSession session;
    session.input = "abc\n";
    ASSERT_EQ(session.ReadToBuff(), VI_SUCCESS);
    session.TrimBuff(5);
    EXPECT_EQ(session.Buffered(), "abc\n");
    session.TrimBuff(0);
    EXPECT_EQ(session.Buffered(), "abc\n");
    session.TrimBuff(2);
    EXPECT_EQ(session.Buffered(), "c\n");
    session.TrimBuff(2);
    EXPECT_EQ(session.Buffered(), "");
}
