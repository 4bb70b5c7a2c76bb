// The library as sessions see it: loaded by its path, its functions bound by name.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <dlfcn.h>
#include <unistd.h>

#include "tools/TemporaryDirectory.h"

namespace {

const char* const Good = R"(<protocol version="1">
  <command id="3" name="SET"/><command id="0x10" name="Reset"/>
  <parameter id="1" name="FREQ" size="4" fract="2"/><parameter id="0" name="ZERO" size="15"/>
  <error code="0x8005" name="SHORT" text="a=b"/><error code="0" name="OK"/>
</protocol>)";

constexpr int BadHandle = -1;
constexpr int UnreadableFile = -2;
constexpr int NotWellFormed = -3;
constexpr int AgainstSchema = -4;

class Library {
public:
    explicit Library(const std::string& path = UXVISA_PROTO_DESC)
        : m_library(dlopen(path.c_str(), RTLD_LAZY)) {
        if (m_library == nullptr) {
            throw std::runtime_error(dlerror());
        }
        Bind(OpenSession, "OpenSession");
        Bind(ProtLoadFromFile, "ProtLoadFromFile");
        Bind(GetErrorName, "GetErrorName");
        Bind(GetCommandName, "GetCommandName");
        Bind(GetParameterName, "GetParameterName");
        Bind(GetCommandID, "GetCommandID");
        Bind(GetParameterFract, "GetParameterFract");
        Bind(GetParameterSize, "GetParameterSize");
        Bind(GetParameterID, "GetParameterID");
        Bind(CloseSession, "CloseSession");
    }
    ~Library() { dlclose(m_library); }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    int Opened() const {
        int handle = -77;
        EXPECT_EQ(OpenSession(&handle), 0);
        return handle;
    }

    int (*OpenSession)(int*) = nullptr;
    int (*ProtLoadFromFile)(int, const char*) = nullptr;
    const char* (*GetErrorName)(int, int) = nullptr;
    const char* (*GetCommandName)(int, int) = nullptr;
    const char* (*GetParameterName)(int, int) = nullptr;
    int (*GetCommandID)(int, const char*) = nullptr;
    char (*GetParameterFract)(int, int, int) = nullptr;
    char (*GetParameterSize)(int, int, int) = nullptr;
    int (*GetParameterID)(int, const char*) = nullptr;
    void (*CloseSession)(int) = nullptr;

private:
    template <typename Function>
    void Bind(Function& function, const char* name) {
        function = reinterpret_cast<Function>(dlsym(m_library, name));
        if (function == nullptr) {
            throw std::runtime_error(dlerror());
        }
    }

    void* m_library;
};

class ProtoDesc : public ::testing::Test {
protected:
    ~ProtoDesc() override { library.CloseSession(handle); }

    int Load(const std::string& content) {
        WriteFile(path, content);
        return library.ProtLoadFromFile(handle, path.c_str());
    }

    void ExpectGoodContent() {
        EXPECT_STREQ(library.GetCommandName(handle, 16), "Reset");
        EXPECT_EQ(library.GetParameterID(handle, "FREQ"), 1);
    }

    void ExpectNothing(int of) {
        for (const int number : {-1, 0, 1, 3, 16, 0x8005, 65536}) {
            EXPECT_STREQ(library.GetErrorName(of, number), "");
            EXPECT_STREQ(library.GetCommandName(of, number), "");
            EXPECT_STREQ(library.GetParameterName(of, number), "");
            EXPECT_EQ(library.GetParameterFract(of, number, 0), 0);
            EXPECT_EQ(library.GetParameterSize(of, number, 0), 0);
        }
        for (const char* name : {"", "SET", "FREQ", static_cast<const char*>(nullptr)}) {
            EXPECT_EQ(library.GetCommandID(of, name), -1);
            EXPECT_EQ(library.GetParameterID(of, name), -1);
        }
    }

    TemporaryDirectory folder;
    std::string path = folder.File("Protocol.xml");
    Library library;
    int handle = library.Opened();
};

} // namespace

TEST_F(ProtoDesc, AnswersFromTheFile) {
    ASSERT_EQ(Load(Good), 0);
    EXPECT_STREQ(library.GetCommandName(handle, 3), "SET");
    EXPECT_EQ(library.GetCommandID(handle, "SET"), 3);
    EXPECT_STREQ(library.GetParameterName(handle, 1), "FREQ");
    EXPECT_EQ(library.GetParameterID(handle, "FREQ"), 1);
    EXPECT_EQ(library.GetParameterSize(handle, 1, 0), 4);
    EXPECT_EQ(library.GetParameterFract(handle, 1, 0), 2);
    EXPECT_EQ(library.GetParameterID(handle, "ZERO"), 0);
    EXPECT_EQ(library.GetParameterSize(handle, 0, 0), 15);
    EXPECT_EQ(library.GetParameterFract(handle, 0, 0), 0);
    EXPECT_STREQ(library.GetErrorName(handle, 0), "OK");
}

TEST_F(ProtoDesc, NamesMatchInAnyCaseAndComeBackAsWritten) {
    ASSERT_EQ(Load(Good), 0);
    for (const char* name : {"RESET", "reset", "Reset"}) {
        EXPECT_EQ(library.GetCommandID(handle, name), 16) << name;
    }
    EXPECT_EQ(library.GetParameterID(handle, "freq"), 1);
    EXPECT_STREQ(library.GetCommandName(handle, 16), "Reset");
}

// The text stands behind the name: whoever wants the name alone cuts at the first "=".
TEST_F(ProtoDesc, ErrorNamesCarryTheirText) {
    ASSERT_EQ(Load(Good), 0);
    EXPECT_STREQ(library.GetErrorName(handle, 0x8005), "SHORT=a=b");
    EXPECT_STREQ(library.GetErrorName(handle, -32763), "SHORT=a=b");
}

TEST_F(ProtoDesc, UnknownOnesAreEmptyMinusOneOrZero) {
    ASSERT_EQ(Load(Good), 0);
    for (const int number : {-1, 2, 4, 0x10010, 65535, 65536}) {
        EXPECT_STREQ(library.GetCommandName(handle, number), "") << number;
        EXPECT_STREQ(library.GetParameterName(handle, number), "") << number;
        EXPECT_STREQ(library.GetErrorName(handle, number + 5), "") << number;
        EXPECT_EQ(library.GetParameterSize(handle, number, 0), 0) << number;
        EXPECT_EQ(library.GetParameterFract(handle, number, 0), 0) << number;
    }
    const std::string longName(100000, 'X');
    for (const char* name : {"", " ", "SE", "SETS", "SET ", "SHORT", longName.c_str(),
                             static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(library.GetCommandID(handle, name), -1);
        EXPECT_EQ(library.GetParameterID(handle, name), -1);
    }
    // A command is no parameter, and the other way round.
    EXPECT_EQ(library.GetParameterID(handle, "SET"), -1);
    EXPECT_EQ(library.GetCommandID(handle, "FREQ"), -1);
}

TEST_F(ProtoDesc, KnowsNothingBeforeItLoads) {
    ExpectNothing(handle);
}

TEST_F(ProtoDesc, UnknownHandlesKnowNothing) {
    ASSERT_EQ(Load(Good), 0);
    const int closed = library.Opened();
    ASSERT_EQ(library.ProtLoadFromFile(closed, path.c_str()), 0);
    library.CloseSession(closed);
    for (const int unknown : {0, -1, handle + 1000, closed}) {
        ExpectNothing(unknown);
        EXPECT_EQ(library.ProtLoadFromFile(unknown, path.c_str()), BadHandle);
        EXPECT_EQ(library.ProtLoadFromFile(unknown, "/nowhere"), BadHandle);
        library.CloseSession(unknown);
    }
    ExpectGoodContent();
}

TEST_F(ProtoDesc, OpeningNeedsAPlaceForTheHandle) {
    EXPECT_EQ(library.OpenSession(nullptr), BadHandle);
    EXPECT_GT(handle, 0);
}

TEST_F(ProtoDesc, EveryFailedLoadHasItsNumberAndLeavesTheContent) {
    ASSERT_EQ(Load(Good), 0);
    EXPECT_EQ(library.ProtLoadFromFile(handle, folder.File("none.xml").c_str()), UnreadableFile);
    ExpectGoodContent();
    EXPECT_EQ(library.ProtLoadFromFile(handle, nullptr), UnreadableFile);
    ExpectGoodContent();
    EXPECT_EQ(library.ProtLoadFromFile(handle, ""), UnreadableFile);
    ExpectGoodContent();
    EXPECT_EQ(library.ProtLoadFromFile(handle, "/"), UnreadableFile);
    ExpectGoodContent();
    EXPECT_EQ(Load(""), NotWellFormed);
    ExpectGoodContent();
    EXPECT_EQ(Load("<protocol version='1'><command id='9' name='NEW'/>"), NotWellFormed);
    ExpectGoodContent();
    EXPECT_EQ(library.GetCommandID(handle, "NEW"), -1);
    EXPECT_EQ(Load("<protocol version='2'/>"), AgainstSchema);
    ExpectGoodContent();
    EXPECT_EQ(Load("<!DOCTYPE protocol><protocol version='1'/>"), AgainstSchema);
    ExpectGoodContent();
    ASSERT_EQ(truncate(path.c_str(), 33 << 20), 0);
    EXPECT_EQ(library.ProtLoadFromFile(handle, path.c_str()), AgainstSchema);
    ExpectGoodContent();
}

TEST_F(ProtoDesc, ALoadReplacesEverything) {
    ASSERT_EQ(Load(Good), 0);
    ASSERT_EQ(Load("<protocol version='1'><command id='3' name='OTHER'/></protocol>"), 0);
    EXPECT_STREQ(library.GetCommandName(handle, 3), "OTHER");
    EXPECT_EQ(library.GetCommandID(handle, "SET"), -1);
    EXPECT_STREQ(library.GetParameterName(handle, 1), "");
    ASSERT_EQ(Load("<protocol version='1'/>"), 0);
    ExpectNothing(handle);
}

TEST_F(ProtoDesc, SessionsDoNotMix) {
    ASSERT_EQ(Load(Good), 0);
    const int other = library.Opened();
    ASSERT_NE(other, handle);
    ExpectNothing(other);
    WriteFile(path, "<protocol version='1'><command id='3' name='OTHER'/></protocol>");
    ASSERT_EQ(library.ProtLoadFromFile(other, path.c_str()), 0);
    EXPECT_STREQ(library.GetCommandName(other, 3), "OTHER");
    EXPECT_STREQ(library.GetCommandName(handle, 3), "SET");
    library.CloseSession(other);
    library.CloseSession(other);
    EXPECT_STREQ(library.GetCommandName(handle, 3), "SET");
}

TEST_F(ProtoDesc, TextsStayUntilTheNextLoad) {
    ASSERT_EQ(Load(Good), 0);
    const char* const set = library.GetCommandName(handle, 3);
    const char* const error = library.GetErrorName(handle, 0x8005);
    EXPECT_EQ(Load("<broken"), NotWellFormed);
    const int other = library.Opened();
    library.CloseSession(other);
    EXPECT_STREQ(set, "SET");
    EXPECT_STREQ(error, "SHORT=a=b");
    EXPECT_EQ(library.GetCommandName(handle, 3), set);
}

TEST_F(ProtoDesc, AnswersInOneThreadWhileOthersLoad) {
    WriteFile(path, Good);
    ASSERT_EQ(library.ProtLoadFromFile(handle, path.c_str()), 0);
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 50; ++round) {
                int own = 0;
                bool right = library.OpenSession(&own) == 0 &&
                             library.ProtLoadFromFile(own, path.c_str()) == 0;
                for (int again = 0; again < 20; ++again) {
                    right = right && library.GetCommandID(own, "set") == 3 &&
                            std::string(library.GetErrorName(own, 0)) == "OK" &&
                            // Nobody changes this one meanwhile, so that all may ask it.
                            library.GetParameterSize(handle, 1, 0) == 4;
                }
                library.CloseSession(own);
                wrong += right ? 0 : 1;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
}

TEST_F(ProtoDesc, LoadsTheExample) {
    ASSERT_EQ(library.ProtLoadFromFile(handle, UXVISA_EXAMPLE_PROTOCOL), 0);
    EXPECT_EQ(library.GetParameterID(handle, "FREQ"), 1);
    EXPECT_EQ(library.GetParameterSize(handle, 1, 0), 4);
    EXPECT_EQ(library.GetParameterFract(handle, 1, 0), 2);
    EXPECT_STREQ(library.GetParameterName(handle, 10), "IDENTITY");
    EXPECT_STREQ(library.GetCommandName(handle, 6), "CURVE");
    EXPECT_EQ(library.GetCommandID(handle, "RESET"), 16);
    EXPECT_STREQ(library.GetErrorName(handle, -32754), "BAD_SIGNATURE=signature is not 0x55AA");
    EXPECT_STREQ(library.GetErrorName(handle, 0x8007),
                 "OUT_OF_RANGE=outside of 0.1 <= FREQ <= 6000");
}

TEST(ProtoDescLibrary, IsFoundByItsNameInTheWorkingDirectory) {
    const TemporaryDirectory folder;
    const std::string copy = folder.File("libProtoDesc.so.1.0.0");
    std::filesystem::copy_file(UXVISA_PROTO_DESC, copy);
    EXPECT_EQ(std::filesystem::path(UXVISA_PROTO_DESC).filename(), "libProtoDesc.so.1.0.0");
    const Library copied(copy);
    const Library original;
    // Two files are two libraries, whatever their names.
    EXPECT_NE(reinterpret_cast<void*>(copied.OpenSession),
              reinterpret_cast<void*>(original.OpenSession));
    const int handle = copied.Opened();
    EXPECT_EQ(original.ProtLoadFromFile(handle, "Protocol.xml"), BadHandle);
    copied.CloseSession(handle);
}

TEST(ProtoDescLibrary, UnloadsAndLoadsAgain) {
    for (int round = 0; round < 3; ++round) {
        ASSERT_EQ(dlopen(UXVISA_PROTO_DESC, RTLD_LAZY | RTLD_NOLOAD), nullptr);
        const Library library;
        const int handle = library.Opened();
        EXPECT_EQ(library.ProtLoadFromFile(handle, UXVISA_EXAMPLE_PROTOCOL), 0);
        EXPECT_STREQ(library.GetCommandName(handle, 16), "RESET");
        library.CloseSession(handle);
    }
}

namespace {

Library* g_library = nullptr;
int g_handle = 0;

void UseAndCloseWhileExiting() {
    const bool works = std::string(g_library->GetCommandName(g_handle, 16)) == "RESET" &&
                       g_library->ProtLoadFromFile(g_handle, UXVISA_EXAMPLE_PROTOCOL) == 0 &&
                       g_library->GetParameterID(g_handle, "LEVEL") == 2;
    g_library->CloseSession(g_handle);
    _exit(works && g_library->GetParameterID(g_handle, "LEVEL") == -1 ? 42 : 1);
}

// What was registered before the library came runs after all that the library could register.
[[noreturn]] void ExitWithAnOpenSession() {
    std::atexit(UseAndCloseWhileExiting);
    g_library = new Library;
    g_handle = g_library->Opened();
    std::exit(g_library->ProtLoadFromFile(g_handle, UXVISA_EXAMPLE_PROTOCOL) == 0 ? 0 : 2);
}

} // namespace

TEST(ProtoDescLibrary, SessionsAreUsableWhileTheProcessExits) {
    EXPECT_EXIT(ExitWithAnOpenSession(), ::testing::ExitedWithCode(42), "");
}
