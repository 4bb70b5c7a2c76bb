#include "uxvisa/visa.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <cstring>
#include <memory>

#include <dlfcn.h>

#include "api/main.h"
#include "tests/support/LoopbackPeer.h"
#include "tests/support/MockSession.h"

using uxvisa::test::LoopbackPeer;
using uxvisa::test::MockSession;
using uxvisa::test::PeerConnection;

namespace {

constexpr ViSession Unknown = 0x123456789ABCUL;

ViSession Manager() {
    ViSession manager = 0;
    EXPECT_EQ(viOpenDefaultRM(&manager), VI_SUCCESS);
    return manager;
}

// An open session with its peer.
struct Connected {
    Connected() {
        EXPECT_EQ(viOpen(Manager(), listener.Resource().c_str(), VI_NO_LOCK, 0, &vi), VI_SUCCESS);
        EXPECT_EQ(viSetAttribute(vi, VI_ATTR_TMO_VALUE, 5000), VI_SUCCESS);
        peer.reset(new PeerConnection(listener.Accept()));
    }
    ~Connected() { viClose(vi); }
    Connected(const Connected&) = delete;
    Connected& operator=(const Connected&) = delete;

    LoopbackPeer listener;
    ViSession vi = 0;
    std::unique_ptr<PeerConnection> peer;
};

// A mock in the manager's registry, which then owns it; the registry is its first own field.
MockSession* RegisterMock(ViSession id) {
    auto* mock = new MockSession;
    mock->SetID(id);
    char* fields = reinterpret_cast<char*>(ResManager) + sizeof(CBaseSession);
    reinterpret_cast<std::vector<ISession*>*>(fields)->push_back(mock);
    return mock;
}

ViStatus CallVPrintf(ViSession vi, ViConstString format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const ViStatus status = viVPrintf(vi, format, arguments);
    va_end(arguments);
    return status;
}

} // namespace

TEST(Manager, HandleIsTheSameEveryTimeAndFits32Bits) {
    ViSession first = ~0UL;
    ASSERT_EQ(viOpenDefaultRM(&first), VI_SUCCESS);
    EXPECT_GE(first, 1UL);
    EXPECT_LE(first, 0xFFFFFFFFUL); // an eight-byte store: nothing is left of the old value
    EXPECT_EQ(Manager(), first);
    EXPECT_EQ(ResManager->GetID(), first);
    ViSession other = 0;
    EXPECT_EQ(viGetDefaultRM(&other), VI_SUCCESS);
    EXPECT_EQ(other, first);
}

TEST(Manager, NullOutputIsRefused) {
    EXPECT_EQ(viOpenDefaultRM(nullptr), VI_ERROR_USER_BUF);
    LoopbackPeer listener;
    EXPECT_EQ(viOpen(Manager(), listener.Resource().c_str(), 0, 0, nullptr), VI_ERROR_USER_BUF);
}

TEST(Manager, ClosingItsOwnHandleDoesNothingOnPurpose) {
    Connected session;
    EXPECT_EQ(viClose(Manager()), VI_SUCCESS);
    EXPECT_EQ(viWrite(session.vi, reinterpret_cast<ViConstBuf>("x"), 1, nullptr), VI_SUCCESS);
    EXPECT_EQ(session.peer->Receive(1), "x");
}

TEST(Manager, MissingManager) {
    CResourceManager* kept = ResManager;
    const ViSession handle = Manager();
    ResManager = nullptr;
    ViSession vi = 77;
    ViUInt32 count = 77;
    EXPECT_EQ(viOpenDefaultRM(&vi), VI_ERROR_SYSTEM_ERROR);
    EXPECT_EQ(viGetDefaultRM(&vi), VI_ERROR_SYSTEM_ERROR);
    EXPECT_EQ(viOpen(handle, "TCPIP::h::1::SOCKET", 0, 0, &vi), VI_ERROR_SYSTEM_ERROR);
    EXPECT_EQ(viFindRsrc(handle, "?*", &vi, &count, nullptr), VI_ERROR_SYSTEM_ERROR);
    EXPECT_EQ(viClose(handle), VI_ERROR_SYSTEM_ERROR);
    EXPECT_EQ(viClear(handle), VI_ERROR_INV_OBJECT);
    EXPECT_EQ(viGetAttribute(handle, VI_ATTR_RSRC_MANF_NAME, &count), VI_ERROR_INV_OBJECT);
    EXPECT_EQ(vi, 77UL);
    EXPECT_EQ(count, 77UL);
    ResManager = kept;
}

namespace {

// What late calls find once the library's unload has begun; the exit status tells.
void CallAfterUnload(ViSession handle) {
    const void* before = ResManager;
    Finalizer();
    ViSession vi = 77;
    const bool refused = viOpenDefaultRM(&vi) == VI_ERROR_SYSTEM_ERROR &&
                         viClose(handle) == VI_ERROR_SYSTEM_ERROR &&
                         viClear(handle) == VI_ERROR_INV_OBJECT && vi == 77;
    _exit(refused && ResManager == before ? 0 : 1);
}

} // namespace

TEST(ManagerDeath, CallsAfterTheUnloadTouchNothing) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(CallAfterUnload(Manager()), testing::ExitedWithCode(0), "");
}

TEST(ParseRsrc, AnswersInvalidObjectForTheManagersHandleOnPurpose) {
    ViUInt16 type = 77;
    ViUInt16 number = 77;
    char text[16] = "old";
    EXPECT_EQ(viParseRsrcEx(Manager(), "TCPIP0::h::INSTR", &type, &number, text, text, text),
              VI_ERROR_INV_OBJECT);
    EXPECT_EQ(viParseRsrc(Manager(), "TCPIP0::h::INSTR", &type, &number), VI_ERROR_INV_OBJECT);
    EXPECT_EQ(type, 77);
    EXPECT_STREQ(text, "old");
    const auto address = reinterpret_cast<ViSession>(ResManager);
    EXPECT_EQ(viParseRsrcEx(address, "x", &type, &number, text, text, text), VI_ERROR_NIMPL_OPER);
    EXPECT_EQ(viParseRsrc(address, "x", &type, &number), VI_ERROR_NIMPL_OPER);
}

TEST(Open, FailuresWriteNothing) {
    ViSession vi = 77;
    EXPECT_EQ(viOpen(Manager(), "nonsense", 0, 0, &vi), VI_ERROR_INV_RSRC_NAME);
    EXPECT_EQ(viOpen(Manager(), nullptr, 0, 0, &vi), VI_ERROR_INV_RSRC_NAME);
    EXPECT_EQ(viOpen(Manager(), "TCPIP::127.0.0.1::1::SOCKET", 0, 0, &vi), VI_ERROR_RSRC_NFOUND);
    EXPECT_EQ(viOpen(Manager(), "GPIB0::1::INSTR", 0, 0, &vi), VI_ERROR_RSRC_NFOUND);
    EXPECT_EQ(viOpen(Manager() ^ 1, "TCPIP::127.0.0.1::1::SOCKET", 0, 0, &vi), VI_ERROR_INV_OBJECT);
    EXPECT_EQ(viOpen(Manager() | 0x100000000UL, "nonsense", 0, 0, &vi), VI_ERROR_INV_OBJECT);
    EXPECT_EQ(vi, 77UL);
}

TEST(Open, APositiveStatusIsAFailureOnPurpose) {
    struct Warning : CResourceManager {
        Warning() : CResourceManager(nullptr) {}
        long Open(char*, unsigned long, unsigned long, ISession**) override {
            return VI_SUCCESS_DEV_NPRESENT;
        }
    } warning;
    CResourceManager* kept = ResManager;
    ResManager = &warning;
    ViSession vi = 77;
    EXPECT_EQ(viOpen(warning.GetID(), "TCPIP::h::1::SOCKET", 0, 0, &vi), VI_SUCCESS_DEV_NPRESENT);
    ResManager = kept;
    EXPECT_EQ(vi, 77UL);
}

TEST(Open, HandleIsAnEightByteStore) {
    LoopbackPeer listener;
    ViSession vi = ~0UL;
    ASSERT_EQ(viOpen(Manager(), listener.Resource().c_str(), 0, 0, &vi), VI_SUCCESS);
    EXPECT_LE(vi, 0xFFFFFFFFUL);
    EXPECT_NE(vi, 0UL);
    EXPECT_EQ(viClose(vi), VI_SUCCESS);
    EXPECT_EQ(viClose(vi), VI_ERROR_INV_OBJECT);
}

TEST(Open, ClassWordInLowerCase) {
    LoopbackPeer listener;
    std::string resource = listener.Resource();
    resource.replace(resource.size() - 6, 6, "socket");
    resource.replace(0, 5, "tcpip0");
    ViSession vi = 0;
    EXPECT_EQ(viOpen(Manager(), resource.c_str(), 0, 0, &vi), VI_SUCCESS);
    EXPECT_EQ(viClose(vi), VI_SUCCESS);
}

TEST(Close, OneSessionOfTwo) {
    Connected first;
    Connected second;
    EXPECT_EQ(viClose(first.vi), VI_SUCCESS);
    EXPECT_TRUE(first.peer->AtEnd());
    ViUInt32 timeout = 0;
    EXPECT_EQ(viGetAttribute(second.vi, VI_ATTR_TMO_VALUE, &timeout), VI_SUCCESS);
    EXPECT_EQ(timeout, 5000UL);
}

// Searches that find something are in tests/system, in networks of their own.
TEST(FindRsrc, RefusesOtherHandlesAndANullExpression) {
    ViFindList list = 77;
    ViUInt32 count = ~0UL;
    char desc[VI_FIND_BUFLEN] = "old";
    EXPECT_EQ(viFindRsrc(0, "?*", &list, &count, desc), VI_ERROR_INV_OBJECT);
    EXPECT_EQ(count, ~0UL);
    EXPECT_EQ(viFindRsrc(Manager(), nullptr, &list, &count, desc), VI_ERROR_INV_EXPR);
    EXPECT_EQ(count, 0UL);
    EXPECT_EQ(viFindRsrc(Manager(), nullptr, nullptr, nullptr, nullptr), VI_ERROR_INV_EXPR);
    EXPECT_EQ(list, 77UL);
    EXPECT_STREQ(desc, "old");
}

TEST(Forwarding, UnknownHandlesAreInvalidObjects) {
    ViUInt32 value = 77;
    ViByte byte = 0;
    char text[VI_FIND_BUFLEN];
    for (const ViSession vi : {Unknown, 0UL, Manager()}) {
        EXPECT_EQ(viFindNext(vi, text), VI_ERROR_INV_OBJECT);
        EXPECT_EQ(viSetAttribute(vi, VI_ATTR_TMO_VALUE, 1), VI_ERROR_INV_OBJECT);
        EXPECT_EQ(viGetAttribute(vi, VI_ATTR_TMO_VALUE, &value), VI_ERROR_INV_OBJECT);
        EXPECT_EQ(viEnableEvent(vi, 0, 0, 0), VI_ERROR_INV_OBJECT);
        EXPECT_EQ(viDisableEvent(vi, 0, 0), VI_ERROR_INV_OBJECT);
        EXPECT_EQ(viDiscardEvents(vi, 0, 0), VI_ERROR_INV_OBJECT);
        EXPECT_EQ(viClear(vi), VI_ERROR_INV_OBJECT);
        EXPECT_EQ(viFlush(vi, 0), VI_ERROR_INV_OBJECT);
        EXPECT_EQ(viWrite(vi, &byte, 1, &value), VI_ERROR_INV_OBJECT);
        EXPECT_EQ(viBufWrite(vi, &byte, 1, &value), VI_ERROR_INV_OBJECT);
        EXPECT_EQ(viRead(vi, &byte, 1, &value), VI_ERROR_INV_OBJECT);
        EXPECT_EQ(viBufRead(vi, &byte, 1, &value), VI_ERROR_INV_OBJECT);
        EXPECT_EQ(viPrintf(vi, "x"), VI_ERROR_INV_OBJECT);
        EXPECT_EQ(viScanf(vi, "%d", &value), VI_ERROR_INV_OBJECT);
        EXPECT_EQ(viQueryf(vi, "x", "%d", &value), VI_ERROR_INV_OBJECT);
        EXPECT_EQ(CallVPrintf(vi, "x"), VI_ERROR_INV_OBJECT);
    }
    EXPECT_EQ(value, 77UL);
}

TEST(Forwarding, BaseDefaultsComeThroughUnchanged) {
    Connected session;
    EXPECT_EQ(viFindNext(session.vi, nullptr), VI_ERROR_NIMPL_OPER);
    EXPECT_EQ(viEnableEvent(session.vi, 0, 0, 0), VI_ERROR_NIMPL_OPER);
    EXPECT_EQ(viDisableEvent(session.vi, 0, 0), VI_SUCCESS);
    EXPECT_EQ(viDiscardEvents(session.vi, 0, 0), VI_SUCCESS);
    EXPECT_EQ(viFlush(session.vi, 0), VI_ERROR_NIMPL_OPER);
}

TEST(Forwarding, VariableListFunctionsOnlyLookTheHandleUpOnPurpose) {
    Connected session;
    EXPECT_EQ(CallVPrintf(session.vi, "x"), VI_ERROR_NIMPL_OPER);
}

TEST(Forwarding, ExceptionsEndAsSystemErrors) {
    struct Throwing : CBaseSession {
        long Clear() override { throw std::bad_alloc(); }
        long Read(unsigned char*, unsigned long, unsigned long*) override { throw 5; }
    };
    auto* throwing = new Throwing;
    throwing->SetID(0x1000000001UL);
    char* fields = reinterpret_cast<char*>(ResManager) + sizeof(CBaseSession);
    reinterpret_cast<std::vector<ISession*>*>(fields)->push_back(throwing);
    ViByte byte = 0;
    int value = 0;
    EXPECT_EQ(viClear(0x1000000001UL), VI_ERROR_SYSTEM_ERROR);
    EXPECT_EQ(viRead(0x1000000001UL, &byte, 1, nullptr), VI_ERROR_SYSTEM_ERROR);
    EXPECT_EQ(viScanf(0x1000000001UL, "%d", &value), VI_ERROR_SYSTEM_ERROR);
    EXPECT_EQ(viClose(0x1000000001UL), VI_SUCCESS);
}

TEST(ManufacturerName, IsAnsweredForEveryKnownObject) {
    Connected session;
    for (const ViObject vi : {Manager(), session.vi}) {
        char name[8];
        std::memset(name, 'x', sizeof name);
        EXPECT_EQ(viGetAttribute(vi, VI_ATTR_RSRC_MANF_NAME, name), VI_SUCCESS);
        EXPECT_STREQ(name, "Orvane");
        EXPECT_EQ(name[7], 'x');
        EXPECT_EQ(viGetAttribute(vi, VI_ATTR_RSRC_MANF_NAME, nullptr), VI_ERROR_NSUP_ATTR_STATE);
    }
    char name[8] = "old";
    EXPECT_EQ(viGetAttribute(Unknown, VI_ATTR_RSRC_MANF_NAME, name), VI_ERROR_INV_OBJECT);
    EXPECT_STREQ(name, "old");
}

TEST(ManufacturerName, IdentifiersAreComparedAtFullWidthOnPurpose) {
    Connected session;
    char name[8] = "old";
    EXPECT_EQ(viGetAttribute(session.vi, 0xFFFFFFFFBFFF0174UL, name), VI_ERROR_NSUP_ATTR);
    EXPECT_EQ(viGetAttribute(Manager(), 0xFFFFFFFFBFFF0174UL, name), VI_ERROR_INV_OBJECT);
    EXPECT_STREQ(name, "old");
}

TEST(Transfer, CountsAreEightByteStores) {
    Connected session;
    ViUInt32 count = ~0UL;
    EXPECT_EQ(viWrite(session.vi, reinterpret_cast<ViConstBuf>("*IDN?\n"), 6, &count), VI_SUCCESS);
    EXPECT_EQ(count, 6UL);
    EXPECT_EQ(session.peer->Receive(6), "*IDN?\n");
    session.peer->Send("abc");
    ViByte buffer[3];
    count = ~0UL;
    EXPECT_EQ(viRead(session.vi, buffer, 3, &count), VI_SUCCESS);
    EXPECT_EQ(count, 3UL);
    EXPECT_EQ(std::memcmp(buffer, "abc", 3), 0);
}

TEST(Queryf, ReadingGoesOnWithTheArgumentsThatWritingLeft) {
    Connected session;
    session.peer->Send("17\n");
    int value = 0;
    EXPECT_EQ(viQueryf(session.vi, "%d\n", "%d", 5, &value), VI_SUCCESS);
    EXPECT_EQ(value, 17);
    EXPECT_EQ(session.peer->Receive(2), "5\n");
}

TEST(Queryf, SkipsReadingOnAnyNonZeroStatusOfWritingOnPurpose) {
    MockSession* mock = RegisterMock(0x1000000002UL);
    mock->writeStatuses = {VI_SUCCESS_DEV_NPRESENT, VI_ERROR_IO};
    mock->input = "5\n";
    int value = 77;
    EXPECT_EQ(viQueryf(0x1000000002UL, "a\n", "%d", &value), VI_SUCCESS_DEV_NPRESENT);
    EXPECT_EQ(viQueryf(0x1000000002UL, "a\n", "%d", &value), VI_ERROR_IO);
    EXPECT_EQ(mock->input, "5\n");
    EXPECT_EQ(value, 77);
    EXPECT_EQ(viClose(0x1000000002UL), VI_SUCCESS);
}

TEST(Formatted, PrintfAndScanfOverARealSocket) {
    Connected session;
    EXPECT_EQ(viPrintf(session.vi, "SET %d,%s;%.2lf\n", 3, "abc", 1.5), VI_SUCCESS);
    EXPECT_EQ(session.peer->Receive(15), "SET 3,abc;1.50\n");
    EXPECT_EQ(viSetAttribute(session.vi, VI_ATTR_TERMCHAR_EN, VI_TRUE), VI_SUCCESS);
    session.peer->Send("1.5 2.5 3.5\nNEXT 7\n");
    double values[3] = {};
    EXPECT_EQ(viScanf(session.vi, "%,3lf", values), VI_SUCCESS);
    EXPECT_THAT(values, testing::ElementsAre(1.5, 2.5, 3.5));
    int number = 0;
    EXPECT_EQ(viScanf(session.vi, "NEXT%d", &number), VI_SUCCESS);
    EXPECT_EQ(number, 7);
}

TEST(Formatted, NullFormats) {
    Connected session;
    EXPECT_EQ(viPrintf(session.vi, nullptr), VI_ERROR_INV_FMT);
    EXPECT_EQ(viScanf(session.vi, nullptr), VI_ERROR_INV_FMT);
    EXPECT_EQ(viQueryf(session.vi, nullptr, "%d"), VI_ERROR_INV_FMT);
    EXPECT_EQ(viQueryf(session.vi, "HELLO\n", nullptr), VI_ERROR_INV_FMT);
    EXPECT_EQ(viPrintf(session.vi, "next"), VI_SUCCESS);
    EXPECT_EQ(session.peer->Receive(4), "next");
}

TEST(Aliases, ShareOneAddressOnPurpose) {
    void* self = dlopen(nullptr, RTLD_NOW);
    const auto address = [self](const char* name) { return dlsym(self, name); };
    EXPECT_NE(address("viWrite"), nullptr);
    EXPECT_EQ(address("viWrite"), address("viBufWrite"));
    EXPECT_EQ(address("viRead"), address("viBufRead"));
    EXPECT_EQ(address("viVPrintf"), address("viVScanf"));
    EXPECT_NE(address("viRead"), address("viWrite"));
    dlclose(self);
}

TEST(Aliases, DefaultManagerIsExportedUnderItsDecoratedNameOnlyOnPurpose) {
    void* self = dlopen(nullptr, RTLD_NOW);
    EXPECT_EQ(dlsym(self, "viGetDefaultRM"), nullptr);
    EXPECT_NE(dlsym(self, "_Z14viGetDefaultRMPm"), nullptr);
    EXPECT_NE(dlsym(self, "ResManager"), nullptr);
    dlclose(self);
}

TEST(FixedStatus, AnswersForAnyHandle) {
    Connected session;
    ViUInt16 word = 77;
    ViUInt32 value = 77;
    ViEventType type = 77;
    for (const ViSession vi : {Unknown, 0UL, session.vi}) {
        EXPECT_EQ(viTerminate(vi, 0, 0), VI_ERROR_NIMPL_OPER);
        EXPECT_EQ(viLock(vi, VI_EXCLUSIVE_LOCK, 0, nullptr, nullptr), VI_ERROR_NIMPL_OPER);
        EXPECT_EQ(viUnlock(vi), VI_ERROR_NIMPL_OPER);
        EXPECT_EQ(viWaitOnEvent(vi, 0, 0, &type, nullptr), VI_ERROR_NIMPL_OPER);
        EXPECT_EQ(viReadSTB(vi, &word), VI_ERROR_NIMPL_OPER);
        EXPECT_EQ(viSetBuf(vi, VI_READ_BUF, 100), VI_ERROR_NIMPL_OPER);
        EXPECT_EQ(viAssertTrigger(vi, 0), VI_ERROR_NIMPL_OPER);
        EXPECT_EQ(viSPrintf(vi, nullptr, "x"), VI_ERROR_NIMPL_OPER);
        EXPECT_EQ(viIn32(vi, 0, 0, &value), VI_ERROR_NIMPL_OPER);
        EXPECT_EQ(viMoveAsyncEx(vi, 0, 0, 0, 0, 0, 0, 0, nullptr), VI_ERROR_NIMPL_OPER);
        EXPECT_EQ(viUsbControlIn(vi, 0, 0, 0, 0, 0, nullptr, &word), VI_ERROR_NIMPL_OPER);
        viPeek16(vi, nullptr, &word);
        viPoke64(vi, nullptr, 1);
    }
    EXPECT_EQ(word, 77);
    EXPECT_EQ(value, 77UL);
    EXPECT_EQ(type, 77UL);
}

// Called through one plain signature, with arguments that none of them may look at.
TEST(FixedStatus, All73AnswerNotImplementedAnd8ReturnNothing) {
    const char* const names[] = {"viTerminate",
                                 "viLock",
                                 "viUnlock",
                                 "viWaitOnEvent",
                                 "viInstallHandler",
                                 "viUninstallHandler",
                                 "viReadAsync",
                                 "viReadToFile",
                                 "viWriteAsync",
                                 "viWriteFromFile",
                                 "viAssertTrigger",
                                 "viReadSTB",
                                 "viSetBuf",
                                 "viSPrintf",
                                 "viVSPrintf",
                                 "viSScanf",
                                 "viVSScanf",
                                 "viVQueryf",
                                 "viIn8",
                                 "viOut8",
                                 "viIn16",
                                 "viOut16",
                                 "viIn32",
                                 "viOut32",
                                 "viIn64",
                                 "viOut64",
                                 "viIn8Ex",
                                 "viOut8Ex",
                                 "viIn16Ex",
                                 "viOut16Ex",
                                 "viIn32Ex",
                                 "viOut32Ex",
                                 "viIn64Ex",
                                 "viOut64Ex",
                                 "viMoveIn8",
                                 "viMoveOut8",
                                 "viMoveIn16",
                                 "viMoveOut16",
                                 "viMoveIn32",
                                 "viMoveOut32",
                                 "viMoveIn64",
                                 "viMoveOut64",
                                 "viMoveIn8Ex",
                                 "viMoveOut8Ex",
                                 "viMoveIn16Ex",
                                 "viMoveOut16Ex",
                                 "viMoveIn32Ex",
                                 "viMoveOut32Ex",
                                 "viMoveIn64Ex",
                                 "viMoveOut64Ex",
                                 "viMove",
                                 "viMoveAsync",
                                 "viMoveEx",
                                 "viMoveAsyncEx",
                                 "viMapAddress",
                                 "viMapAddressEx",
                                 "viUnmapAddress",
                                 "viMemAlloc",
                                 "viMemFree",
                                 "viMemAllocEx",
                                 "viMemFreeEx",
                                 "viGpibControlREN",
                                 "viGpibControlATN",
                                 "viGpibSendIFC",
                                 "viGpibCommand",
                                 "viGpibPassControl",
                                 "viVxiCommandQuery",
                                 "viAssertUtilSignal",
                                 "viAssertIntrSignal",
                                 "viMapTrigger",
                                 "viUnmapTrigger",
                                 "viUsbControlOut",
                                 "viUsbControlIn"};
    EXPECT_EQ(std::size(names), 73U);
    void* self = dlopen(nullptr, RTLD_NOW);
    for (const char* name : names) {
        using Plain =
            long (*)(unsigned long, unsigned long, unsigned long, unsigned long, unsigned long,
                     unsigned long, unsigned long, unsigned long, unsigned long);
        const auto function = reinterpret_cast<Plain>(dlsym(self, name));
        ASSERT_NE(function, nullptr) << name;
        EXPECT_EQ(function(1, 2, 3, 4, 5, 6, 7, 8, 9), VI_ERROR_NIMPL_OPER) << name;
    }
    dlclose(self);
}
