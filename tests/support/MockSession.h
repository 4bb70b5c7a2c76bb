// A session without a device: plays back scripted reads and records writes.
#pragma once

#include <cstdarg>
#include <cstring>
#include <deque>
#include <map>
#include <string>
#include <vector>

#include "core/BaseSession.h"
#include "uxvisa/visatype.h"

namespace uxvisa::test {

class MockSession : public CBaseSession {
public:
    struct ScriptedRead {
        std::string data;
        long status = VI_SUCCESS;
    };

    long GetAttribute(unsigned long attribute, void* value) override {
        const auto found = attributes.find(attribute);
        if (found == attributes.end()) {
            return VI_ERROR_NSUP_ATTR;
        }
        std::memcpy(value, &found->second, sizeof found->second);
        return VI_SUCCESS;
    }

    // Byte-wise reads are served from `input`, then from `whenEmpty`; block reads from `blocks`.
    long Read(unsigned char* buffer, unsigned long count, unsigned long* readCount) override {
        readSizes.push_back(count);
        if (count > 1 || input.empty()) {
            return ReadScripted(buffer, readCount);
        }
        buffer[0] = static_cast<unsigned char>(input.front());
        buffer[1] = '\0'; // as some transports do
        input.erase(0, 1);
        *readCount = 1;
        return deliveryStatus;
    }

    long Write(unsigned char* buffer, unsigned long count, unsigned long* writtenCount) override {
        writes.emplace_back(reinterpret_cast<char*>(buffer), count);
        *writtenCount = count;
        if (writeStatuses.empty()) {
            return VI_SUCCESS;
        }
        const long status = writeStatuses.front();
        writeStatuses.pop_front();
        return status;
    }

    long PrintfWith(const char* format, ...) {
        va_list arguments;
        va_start(arguments, format);
        const long status = Printf(const_cast<char*>(format), arguments);
        va_end(arguments);
        return status;
    }

    long ScanfWith(const char* format, ...) {
        va_list arguments;
        va_start(arguments, format);
        const long status = Scanf(const_cast<char*>(format), arguments);
        va_end(arguments);
        return status;
    }

    std::string Sent() const {
        std::string all;
        for (const std::string& write : writes) {
            all += write;
        }
        return all;
    }

    const std::string& Buffered() const { return m_read_buf; }
    unsigned char SkipUntil() const { return m_skip_until; }

    void UseBlocks() { attributes[VI_ATTR_TERMCHAR_EN] = 1; }

    std::string input;
    std::deque<ScriptedRead> blocks;
    ScriptedRead whenEmpty{"", VI_ERROR_TMO};
    long deliveryStatus = VI_SUCCESS;
    std::map<unsigned long, unsigned int> attributes;
    std::vector<unsigned long> readSizes;
    std::vector<std::string> writes;
    std::deque<long> writeStatuses;

private:
    long ReadScripted(unsigned char* buffer, unsigned long* readCount) {
        ScriptedRead next = whenEmpty;
        if (!blocks.empty()) {
            next = blocks.front();
            blocks.pop_front();
        }
        std::memcpy(buffer, next.data.data(), next.data.size());
        *readCount = next.data.size();
        return next.status;
    }
};

} // namespace uxvisa::test
