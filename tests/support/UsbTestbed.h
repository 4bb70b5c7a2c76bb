// USB devices of a test's own. A program that uses it is linked with what redirects /sys and /dev
// (uxvisa_usb_testbed), so nothing of the machine's own is seen and no rights are needed.
#pragma once

#include <deque>
#include <map>
#include <mutex>
#include <string>
#include <vector>

typedef struct _UMockdevTestbed UMockdevTestbed;
typedef struct _UMockdevIoctlBase UMockdevIoctlBase;
typedef struct _UMockdevIoctlClient UMockdevIoctlClient;

namespace uxvisa::test {

using UsbTexts = std::map<std::string, std::string>;

class UsbTestbed {
public:
    UsbTestbed();
    ~UsbTestbed();
    UsbTestbed(const UsbTestbed&) = delete;
    UsbTestbed& operator=(const UsbTestbed&) = delete;

    // These answer the path in /sys, which serves as the parent of others.
    std::string AddUsbDevice(const std::string& name, const UsbTexts& texts,
                             const std::string& parent = "");
    std::string AddInterface(const std::string& name, const std::string& parent);
    std::string AddOther(const std::string& subsystem, const std::string& name,
                         const std::string& parent);
    void SetDescriptors(const std::string& path, const std::string& bytes);
    void Remove(const std::string& path);

    // An instrument "1-1" with one interface.
    std::string AddInstrument(const UsbTexts& texts, const std::string& descriptors);

    // Where a path of the devices really lies.
    std::string Place(const std::string& path) const;
    // An ordinary file in place of a device file.
    void AddFile(const std::string& path, const std::string& content) const;
    std::string FileContent(const std::string& path) const;

private:
    friend class ScriptedUsbtmc;

    std::string Add(const char* subsystem, const std::string& name, const std::string& parent,
                    const UsbTexts& texts, const char* type);

    UMockdevTestbed* m_testbed;
    std::string m_root;
};

// A device file that answers what the test says, in that order, and notes what it was asked.
class ScriptedUsbtmc {
public:
    ScriptedUsbtmc(UsbTestbed& testbed, const std::string& path);
    ~ScriptedUsbtmc();
    ScriptedUsbtmc(const ScriptedUsbtmc&) = delete;
    ScriptedUsbtmc& operator=(const ScriptedUsbtmc&) = delete;

    ScriptedUsbtmc& AnswerRead(const std::string& bytes);
    ScriptedUsbtmc& FailRead(int error);
    ScriptedUsbtmc& FailWrite(int error);
    ScriptedUsbtmc& FailControl(int error);

    // "write abc", "read 100" (the room), "control 5b04".
    std::vector<std::string> Asked() const;

private:
    struct Answer {
        int error = 0;
        std::string bytes = {};
    };

    static int OnRead(UMockdevIoctlBase*, UMockdevIoctlClient* client, void* self);
    static int OnWrite(UMockdevIoctlBase*, UMockdevIoctlClient* client, void* self);
    static int OnControl(UMockdevIoctlBase*, UMockdevIoctlClient* client, void* self);
    static Answer Take(std::deque<Answer>& answers);

    UsbTestbed& m_testbed;
    std::string m_path;
    UMockdevIoctlBase* m_handler;
    mutable std::mutex m_mutex; // the answers are given by a thread of the testbed's own
    std::deque<Answer> m_reads;
    std::deque<Answer> m_writes;
    std::deque<Answer> m_controls;
    std::vector<std::string> m_asked;
};

} // namespace uxvisa::test
