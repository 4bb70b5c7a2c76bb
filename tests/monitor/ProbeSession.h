// A session that notes what is called, with which arguments, and answers as the test says.
#pragma once

#include <cstring>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "core/BaseSession.h"
#include "uxvisa/visatype.h"

namespace uxvisa::test {

class ProbeSession : public CBaseSession {
public:
    // Outlives the session, which a hook deletes.
    struct Script {
        std::vector<std::string> calls = {};
        long status = VI_SUCCESS;
        std::string input = {};            // what every read gives, as far as there is room
        unsigned long writtenLimit = ~0UL; // how many bytes a write takes
        bool overstates = false;           // a read tells more bytes than it was asked for
        std::function<void()> during = [] {};
    };

    explicit ProbeSession(Script& script) : m_script(script) {}
    ~ProbeSession() override { m_script.calls.push_back("deleted"); }

    long ParseRsrcEx(char* resource, unsigned short* type, unsigned short* number, char* word,
                     char* expanded, char* alias) override {
        return Note("ParseRsrcEx", resource, type, number, static_cast<void*>(word),
                    static_cast<void*>(expanded), static_cast<void*>(alias));
    }
    long Open(char* resource, unsigned long mode, unsigned long timeout,
              ISession** session) override {
        return Note("Open", resource, mode, timeout, session);
    }
    long OpenConnection(char* resource, unsigned long mode, unsigned long timeout) override {
        return Note("OpenConnection", resource == nullptr ? "null" : resource, mode, timeout);
    }
    long CloseConnection() override { return Note("CloseConnection"); }
    long EnableEvent(unsigned long type, unsigned short mechanism, unsigned long context) override {
        return Note("EnableEvent", type, mechanism, context);
    }
    long DisableEvent(unsigned long type, unsigned short mechanism) override {
        return Note("DisableEvent", type, mechanism);
    }
    long DiscardEvents(unsigned long type, unsigned short mechanism) override {
        return Note("DiscardEvents", type, mechanism);
    }
    long SetAttribute(unsigned long attribute, unsigned long value) override {
        return Note("SetAttribute", attribute, value);
    }
    long GetAttribute(unsigned long attribute, void* value) override {
        return Note("GetAttribute", attribute, value);
    }
    long Read(unsigned char* buffer, unsigned long count, unsigned long* readCount) override {
        const std::size_t size = std::min<std::size_t>(count, m_script.input.size());
        if (buffer != nullptr) {
            std::memcpy(buffer, m_script.input.data(), size);
        }
        *readCount = m_script.overstates ? count + 1000 : size;
        return Note("Read", count);
    }
    long Write(unsigned char*, unsigned long count, unsigned long* writtenCount) override {
        if (writtenCount != nullptr) {
            *writtenCount = std::min(count, m_script.writtenLimit);
        }
        return Note("Write", count);
    }
    long Clear() override { return Note("Clear"); }
    long Close(unsigned long id) override { return Note("Close", id); }
    long Flush(unsigned short mask) override { return Note("Flush", mask); }

private:
    template <typename... Argument>
    long Note(const char* name, Argument... arguments) {
        std::ostringstream call;
        call << name;
        ((call << ' ' << arguments), ...);
        m_script.calls.push_back(call.str());
        m_script.during();
        return m_script.status;
    }

    Script& m_script;
};

} // namespace uxvisa::test
