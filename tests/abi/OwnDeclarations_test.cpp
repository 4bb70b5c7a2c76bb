// A program that declares the classes itself, as existing programs do, and links to the library.
// None of the library's headers is included.
#include <gtest/gtest.h>

#include <netinet/in.h>
#include <pthread.h>
#include <unistd.h>

#include <cstdarg>
#include <cstring>
#include <fstream>
#include <queue>
#include <string>
#include <vector>

class ISession {
public:
    virtual long FindRsrc(char*, ISession**, unsigned long*, char*) = 0;
    virtual long FindNext(char*) = 0;
    virtual ~ISession() {}
    virtual unsigned long GetID() = 0;
    virtual void SetID(unsigned long) = 0;
    virtual long ParseRsrcEx(char*, unsigned short*, unsigned short*, char*, char*, char*) = 0;
    virtual long Open(char*, unsigned long, unsigned long, ISession**) = 0;
    virtual long OpenConnection(char*, unsigned long, unsigned long) = 0;
    virtual long CloseConnection() = 0;
    virtual long FindResources(char*, long (*)(ISession*, char const*, void*), void*) = 0;
    virtual long EnableEvent(unsigned long, unsigned short, unsigned long) = 0;
    virtual long DisableEvent(unsigned long, unsigned short) = 0;
    virtual long DiscardEvents(unsigned long, unsigned short) = 0;
    virtual long SetAttribute(unsigned long, unsigned long) = 0;
    virtual long GetAttribute(unsigned long, void*) = 0;
    virtual long Read(unsigned char*, unsigned long, unsigned long*) = 0;
    virtual long Write(unsigned char*, unsigned long, unsigned long*) = 0;
    virtual long Clear() = 0;
    virtual long Close(unsigned long) = 0;
    virtual long Flush(unsigned short) = 0;
    virtual long Printf(char*, va_list&) = 0;
    virtual long Scanf(char*, va_list&) = 0;
    virtual long SetBuf(unsigned short, unsigned long) = 0;
};

class CBaseSession : public ISession {
public:
    CBaseSession();
    long FindRsrc(char*, ISession**, unsigned long*, char*) override;
    long FindNext(char*) override;
    ~CBaseSession() override;
    unsigned long GetID() override;
    void SetID(unsigned long) override;
    long ParseRsrcEx(char*, unsigned short*, unsigned short*, char*, char*, char*) override;
    long Open(char*, unsigned long, unsigned long, ISession**) override;
    long OpenConnection(char*, unsigned long, unsigned long) override;
    long CloseConnection() override;
    long FindResources(char*, long (*)(ISession*, char const*, void*), void*) override;
    long EnableEvent(unsigned long, unsigned short, unsigned long) override;
    long DisableEvent(unsigned long, unsigned short) override;
    long DiscardEvents(unsigned long, unsigned short) override;
    long SetAttribute(unsigned long, unsigned long) override;
    long GetAttribute(unsigned long, void*) override;
    long Read(unsigned char*, unsigned long, unsigned long*) override;
    long Write(unsigned char*, unsigned long, unsigned long*) override;
    long Clear() override;
    long Close(unsigned long) override;
    long Flush(unsigned short) override;
    long Printf(char*, va_list&) override;
    long Scanf(char*, va_list&) override;
    long SetBuf(unsigned short, unsigned long) override;
    long ReadToBuff();
    void TrimBuff(unsigned int);

    std::string m_read_buf;
    unsigned char m_skip_until;
    unsigned char m_line_done;
    unsigned long m_id;
};

class CResourceManager : public CBaseSession {
public:
    explicit CResourceManager(void*);
    ~CResourceManager() override;
    long FindRsrc(char*, ISession**, unsigned long*, char*) override;
    long ParseRsrcEx(char*, unsigned short*, unsigned short*, char*, char*, char*) override;
    long Open(char*, unsigned long, unsigned long, ISession**) override;
    long Close(unsigned long) override;
    ISession* FindSession(unsigned long);

    std::vector<ISession*> m_sessions;
    void* m_context;
};

class CGetHostByAddrThread;

class CBcastUDP {
public:
    CBcastUDP();
    virtual std::string ParseResponse(const char*, int, int, const char*) = 0;
    virtual int FillRequest(char*, int) = 0;

protected:
    ~CBcastUDP();
    std::queue<CGetHostByAddrThread*> m_lookups;
};

class CSessionTCPIP : public CBaseSession, private CBcastUDP {
public:
    CSessionTCPIP();
    ~CSessionTCPIP() override;
    long OpenConnection(char*, unsigned long, unsigned long) override;
    long CloseConnection() override;
    long SetAttribute(unsigned long, unsigned long) override;
    long GetAttribute(unsigned long, void*) override;
    long Read(unsigned char*, unsigned long, unsigned long*) override;
    long Write(unsigned char*, unsigned long, unsigned long*) override;
    long Clear() override;
    std::string ParseResponse(const char*, int, int, const char*) override;
    int FillRequest(char*, int) override;
    bool GetConnected();
    long Reconnect();

    bool m_termchar_enabled;
    int m_socket;
    sockaddr_in m_remote;
    std::string m_host;
    int m_port;
    int m_last_error;
    int m_first;
    int m_second;
    unsigned int m_read_timeout;
    unsigned int m_write_timeout;
    unsigned int m_connect_timeout;
    bool m_flag;
};

class CHead {
public:
    CHead();
    CHead& operator=(const CHead&);
    int NumParam();
    int LenParam();
    int FracParam();
    void SetFlags(short, short, short);
    int Check(unsigned short);
    int Check(short, short, short, bool);

    unsigned short Signature;
    unsigned short Command;
    short Status;
    unsigned short BodyLen;
    unsigned short m_flags;
    unsigned short Dummy;
    long ID;
};

enum EValueSign { VS_SIGNED, VS_UNSIGNED, VS_SIGNED_IF_FRACTION };
int str2int(const char*, unsigned int*, bool);
double str2double(const char*, unsigned int*);
double ReadComplexValue2(const unsigned char*, unsigned int, unsigned int, EValueSign, unsigned int,
                         unsigned int);
int WriteComplexValue(unsigned char*, unsigned int, unsigned int, double, int);
std::string bin_to_str(unsigned char*, int);
std::string Arg(const char*);

class CSessionBRIX : public CBaseSession {
public:
    explicit CSessionBRIX(ISession*);
    ~CSessionBRIX() override;
    long OpenConnection(char*, unsigned long, unsigned long) override;
    long CloseConnection() override;
    long SetAttribute(unsigned long, unsigned long) override;
    long GetAttribute(unsigned long, void*) override;
    long Read(unsigned char*, unsigned long, unsigned long*) override;
    long Write(unsigned char*, unsigned long, unsigned long*) override;
    long Clear() override;
    long Flush(unsigned short) override;
    int TextToBinary(const char*, int, unsigned char**) const;
    std::string BinaryToText(unsigned char*, bool, int, int, short) const;
    std::string ExGetErrorName(int, int) const;

    ISession* m_parent;
    ISession* m_inner;
    std::string m_pending;
    std::string m_read_text;
    unsigned char m_packet[16 + 65536];
    unsigned int m_rd_count;
    unsigned int m_rd_total;
    unsigned int m_rd_pos;
    unsigned long m_direction;
    bool m_split_write;
    bool m_full_header;
    unsigned int m_decode_mode;
    char m_termchar;
    bool m_raw;
    int m_prot_handle;
    void* m_library;
    int (*m_open_session)(int*);
    int (*m_load)(int, const char*);
    const char* (*m_error_name)(int, int);
    const char* (*m_command_name)(int, int);
    const char* (*m_parameter_name)(int, int);
    int (*m_command_id)(int, const char*);
    char (*m_parameter_fract)(int, int, int);
    char (*m_parameter_size)(int, int, int);
    int (*m_parameter_id)(int, const char*);
    void (*m_close_session)(int);
};

class CSharedObject {
public:
    CSharedObject();
    ~CSharedObject();
    int OpenSObj(const char*);
    int CloseSObj();
    unsigned int* GetData();
    unsigned char* GetBuffer();
    int Lock();
    int Unlock();

    void* m_region;
    unsigned long m_reserved;
    pthread_mutex_t m_mutex;
    pthread_cond_t m_condition;
    int m_fd;
    std::string m_name;
};

class CSessionHook : public CBaseSession, public CSharedObject {
public:
    explicit CSessionHook(ISession*);
    ~CSessionHook() override;
    long OpenConnection(char*, unsigned long, unsigned long) override;
    long CloseConnection() override;
    long Read(unsigned char*, unsigned long, unsigned long*) override;
    long Write(unsigned char*, unsigned long, unsigned long*) override;
    long Clear() override;

    ISession* m_session;
};

class CSessionDebug : public CBaseSession, public CSharedObject {
public:
    CSessionDebug();
    ~CSessionDebug() override;
    long OpenConnection(char*, unsigned long, unsigned long) override;
    long CloseConnection() override;
    long GetAttribute(unsigned long, void*) override;
    long Read(unsigned char*, unsigned long, unsigned long*) override;

    bool m_direction_acknowledged;
    unsigned int m_offset;
    unsigned char m_own_toggle;
};

class CLogFile {
public:
    explicit CLogFile(char const*);
    ~CLogFile();
    void AddString(char const*);
    void AddDateTimeString(char const*);
    std::string GetTimeStamp();
    std::string GetDateStamp();
    void Flush();
    CLogFile& operator<<(std::string);
    CLogFile& operator<<(int);
    operator std::ofstream&();

    unsigned long m_last_tick;
    std::ofstream* m_stream;
};

extern CResourceManager* ResManager;
extern const int OPT_RCVBUF;
int CreateSocket();
bool IsConnected(int);
int geterror(int);
void LogMessage(std::string, std::string);
void LogMessageVisa(std::string, std::string);
bool isHislipSession(std::vector<std::string>&);
std::vector<std::string> ParseAddress(std::string, std::vector<std::string>*);
std::string get_parameter(const char*, int, char);
int get_parameter_count(const char*, char);
unsigned long GetTickCount();
unsigned int random_uint32(unsigned int);
std::string ws2s(const std::wstring&);
namespace stdex {
std::vector<std::string> split(const char*, const char*);
std::string trim(const char*);
std::string toupper(const char*);
std::string itos(int, int);
std::string format(const char*, const char*, const char*, const char*, const char*);
std::string format(const char*, double, double, double, double);
} // namespace stdex

namespace {

class Counting : public CBaseSession {
public:
    long Write(unsigned char* buffer, unsigned long count, unsigned long* written) override {
        sent.append(reinterpret_cast<char*>(buffer), count);
        *written = count;
        return 0;
    }
    long PrintfWith(const char* format, ...) {
        va_list arguments;
        va_start(arguments, format);
        const long status = Printf(const_cast<char*>(format), arguments);
        va_end(arguments);
        return status;
    }
    std::string sent;
};

} // namespace

TEST(OwnDeclarations, DerivedSessionsWork) {
    Counting session;
    EXPECT_EQ(session.PrintfWith("%d,%s", 5, "x"), 0);
    EXPECT_EQ(session.sent, "5,x");
    session.m_read_buf = "abc";
    session.TrimBuff(2);
    EXPECT_EQ(session.m_read_buf, "c");
    session.SetID(7);
    EXPECT_EQ(session.m_id, 7UL);
}

TEST(OwnDeclarations, FieldsLieWhereTheyAreDeclared) {
    CSessionTCPIP session;
    EXPECT_EQ(session.m_socket, -1);
    EXPECT_EQ(session.m_second, 30);
    EXPECT_EQ(session.m_read_timeout, 100000U);
    EXPECT_EQ(session.m_write_timeout, 100000U);
    EXPECT_EQ(session.m_connect_timeout, 5000U);
    char resource[] = "TCPIP::name::50x::OTHER";
    EXPECT_LT(session.OpenConnection(resource, 0, 0), 0);
    EXPECT_EQ(session.m_host, resource);
    EXPECT_EQ(session.SetAttribute(0x3FFF001AUL, 123), 0);
    EXPECT_EQ(session.m_read_timeout, 123U);
    EXPECT_EQ(session.SetAttribute(0x3FFF0038UL, 1), 0);
    EXPECT_TRUE(session.m_termchar_enabled);
    char request[32] = {};
    EXPECT_EQ(session.FillRequest(request, sizeof request), 16);
    EXPECT_STREQ(request, "UxVISA Discovery");
    EXPECT_EQ(OPT_RCVBUF, 65535);
}

TEST(OwnDeclarations, BrixPacketsAndValues) {
    CHead head;
    head.SetFlags(2, 4, 1);
    head.BodyLen = 10;
    EXPECT_EQ(head.m_flags, 0x4102);
    EXPECT_EQ(head.NumParam() + head.LenParam() + head.FracParam(), 7);
    EXPECT_EQ(head.Check(2, 4, 1, true), 0);
    EXPECT_EQ(head.Check(33), -32755);
    CHead copy;
    copy = head;
    EXPECT_EQ(copy.m_flags, 0x4102);
    unsigned int consumed = 0;
    EXPECT_EQ(str2int("0x10", &consumed, true), 16);
    EXPECT_EQ(str2double("1.5", &consumed), 1.5);
    unsigned char bytes[4] = {};
    EXPECT_EQ(WriteComplexValue(bytes, 2, 1, -1.5, 1), 4);
    EXPECT_EQ(ReadComplexValue2(bytes, 0, 1, VS_SIGNED, 2, 1), -1.5);
    EXPECT_EQ(bin_to_str(bytes, 1), "\"\\0\"");
    EXPECT_EQ(Arg("x"), " x=");
}

TEST(OwnDeclarations, BrixFieldsLieWhereTheyAreDeclared) {
    CBaseSession parent;
    CSessionBRIX session(&parent);
    EXPECT_EQ(session.m_parent, &parent);
    EXPECT_EQ(session.m_inner, nullptr);
    EXPECT_EQ(session.m_direction, 2UL);
    EXPECT_EQ(session.m_rd_count + session.m_rd_total + session.m_rd_pos, 0U);
    EXPECT_EQ(session.m_termchar, '\n');
    EXPECT_EQ(session.m_library, nullptr);
    EXPECT_EQ(session.m_close_session, nullptr);
    EXPECT_EQ(session.SetAttribute(0x3FFF0246UL, 1), 0);
    EXPECT_EQ(session.SetAttribute(0x3FFF0248UL, 77), 0);
    EXPECT_EQ(session.SetAttribute(0x3FFF0249UL, 1), 0);
    EXPECT_TRUE(session.m_split_write && session.m_raw && !session.m_full_header);
    EXPECT_EQ(session.m_decode_mode, 77U);
    session.m_error_name = [](int, int) { return "NAME=text"; };
    EXPECT_EQ(session.ExGetErrorName(0, 1), "NAME");
    unsigned char packet[16] = {0xAA, 0x55, 33};
    EXPECT_EQ(session.BinaryToText(packet, false, 0, 0, 0), "0x33");
    unsigned char* encoded = nullptr;
    session.m_command_id = [](int handle, const char*) { return handle; };
    EXPECT_EQ(session.TextToBinary("ANY", 5, &encoded), 0);
    EXPECT_EQ(encoded[2], 5);
    delete[] encoded;
}

TEST(OwnDeclarations, AHookAndItsMonitorHaveTheirFieldsInPlace) {
    std::string name = "uxvisa-test-abi-" + std::to_string(getpid());
    std::string watched = name + "::HOOK";
    auto* wrapped = new Counting;
    CSessionHook hook(wrapped);
    CSessionDebug monitor;
    EXPECT_EQ(hook.m_session, wrapped);
    hook.OpenConnection(name.data(), 0, 0);
    EXPECT_EQ(hook.m_name, name + "_v2_Map");
    EXPECT_GT(hook.m_fd, 0);
    EXPECT_EQ(hook.m_region, hook.GetData());
    EXPECT_EQ(hook.m_reserved, 0UL);
    EXPECT_EQ(pthread_mutex_trylock(&hook.m_mutex), 0);
    EXPECT_EQ(hook.Unlock(), 0);
    EXPECT_EQ(pthread_cond_signal(&hook.m_condition), 0);
    EXPECT_EQ(monitor.OpenConnection(watched.data(), 0, 0), 0);
    EXPECT_EQ(monitor.m_own_toggle, 0);
    unsigned char text[] = "abc";
    unsigned long count = 0;
    EXPECT_EQ(hook.Write(text, 3, &count), 0);
    EXPECT_EQ(monitor.Read(text, 2, &count), 0);
    EXPECT_EQ(monitor.m_offset, 2U);
    EXPECT_EQ(monitor.Read(text, 2, &count), 0);
    EXPECT_EQ(monitor.m_offset, 0U);
    EXPECT_EQ(monitor.m_own_toggle, 1);
    EXPECT_FALSE(monitor.m_direction_acknowledged);
    unsigned int direction = 0;
    EXPECT_EQ(monitor.GetAttribute(0x3FFF00E8UL, &direction), 0);
    EXPECT_EQ(direction, 1U);
    EXPECT_TRUE(monitor.m_direction_acknowledged);
}

TEST(OwnDeclarations, ALogHasItsFieldsInPlace) {
    CLogFile log("absent/a.log");
    EXPECT_GT(log.m_last_tick, 0UL);
    ASSERT_NE(log.m_stream, nullptr);
    EXPECT_FALSE(log.m_stream->is_open());
    EXPECT_EQ(&static_cast<std::ofstream&>(log), log.m_stream);
    log << std::string("x") << 1;
    EXPECT_EQ(log.GetTimeStamp().size(), 8U);
    EXPECT_EQ(log.GetDateStamp().size(), 10U);
}

TEST(OwnDeclarations, TheGlobalManagerIsReached) {
    ASSERT_NE(ResManager, nullptr);
    EXPECT_EQ(ResManager->FindSession(ResManager->GetID()), nullptr);
    EXPECT_EQ(ResManager->m_context, nullptr);
}

TEST(OwnDeclarations, HelpersAreExportedWithTheirParameterTypes) {
    EXPECT_EQ(ParseAddress("a::b", nullptr).size(), 2U);
    EXPECT_EQ(get_parameter("a,b", 1, ','), "b");
    EXPECT_EQ(get_parameter_count("a,b", ','), 2);
    EXPECT_GT(GetTickCount(), 0UL);
    EXPECT_EQ(random_uint32(1), 1U);
    EXPECT_EQ(ws2s(L"x"), "");
    EXPECT_EQ(stdex::split("a,b", ",").size(), 2U);
    EXPECT_EQ(stdex::trim(" a "), "a");
    EXPECT_EQ(stdex::toupper("a"), "A");
    EXPECT_EQ(stdex::itos(5, 16), "05");
    EXPECT_EQ(stdex::format("%s%s%s%s", "a", "b", "c", "d"), "abcd");
    EXPECT_EQ(stdex::format("%g%g%g%g", 1.0, 2.0, 3.0, 4.0), "1234");
    std::vector<std::string> fields{"hislip0"};
    EXPECT_TRUE(isHislipSession(fields));
    LogMessage("a", "b");
    LogMessageVisa("a", "b");
    EXPECT_TRUE(IsConnected(1000));
    EXPECT_EQ(geterror(-1), 0);
}
