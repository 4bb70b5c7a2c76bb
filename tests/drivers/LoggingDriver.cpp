// A driver library with what sessions need; logs every call and byte.
#include "tests/drivers/LoggingDriver.h"

#include <algorithm>
#include <cstring>

#include "uxvisa/visa.h"

#define EXPORTED __attribute__((visibility("default")))

namespace {

uxvisa::test::DriverScript script;

template <typename... Word>
void Log(const Word&... words) {
    std::string line;
    const auto add = [&line](const std::string& word) { line += (line.empty() ? "" : " ") + word; };
    (add(words), ...);
    script.log.push_back(line);
}

std::string Text(unsigned long value) {
    return std::to_string(value);
}

std::string Hex(ViConstBuf bytes, ViUInt32 count) {
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (ViUInt32 i = 0; i < count; ++i) {
        text += digits[bytes[i] >> 4];
        text += digits[bytes[i] & 15];
    }
    return text;
}

// The scripted status of this call; VI_SUCCESS when there is none.
ViStatus Scripted(const char* function) {
    std::deque<ViStatus>& next = script.statuses[function];
    if (next.empty()) {
        return VI_SUCCESS;
    }
    const ViStatus status = next.front();
    next.pop_front();
    return status;
}

} // namespace

extern "C" {

EXPORTED uxvisa::test::DriverScript* LoggingDriverScript() {
    return &script;
}

EXPORTED ViStatus uxOpenDefaultRM(ViPSession vi) {
    Log("manager");
    *vi = script.nextHandle++;
    return Scripted("manager");
}

EXPORTED ViStatus uxOpen(ViSession manager, ViRsrc name, ViAccessMode mode, ViUInt32 timeout,
                         ViPSession vi) {
    Log("open", Text(manager), std::string(name), Text(mode), Text(timeout));
    if (script.changesName) {
        std::memset(name, '#', std::strlen(name));
    }
    const ViStatus status = Scripted("open");
    if (status >= VI_SUCCESS) {
        *vi = script.nextHandle++;
    }
    return status;
}

EXPORTED ViStatus uxClose(ViObject vi) {
    Log("close", Text(vi));
    return Scripted("close");
}

EXPORTED ViStatus uxRead(ViSession vi, ViPByte buffer, ViUInt32 count, ViPUInt32 readCount) {
    Log("read", Text(vi), Text(count));
    const ViStatus status = Scripted("read");
    if (status < VI_SUCCESS) {
        return status;
    }
    const auto size = std::min<std::size_t>(count, script.incoming.size());
    std::memcpy(buffer, script.incoming.data(), size);
    script.incoming.erase(0, size);
    *readCount = size;
    return size == count ? status : VI_ERROR_TMO;
}

EXPORTED ViStatus uxWrite(ViSession vi, ViConstBuf buffer, ViUInt32 count, ViPUInt32 writtenCount) {
    Log("write", Text(vi), Hex(buffer, count));
    *writtenCount = count;
    return Scripted("write");
}

EXPORTED ViStatus uxClear(ViSession vi) {
    Log("clear", Text(vi));
    return Scripted("clear");
}

EXPORTED ViStatus uxSetAttribute(ViObject vi, ViAttr attribute, ViAttrState value) {
    Log("set", Text(vi), Text(attribute), Text(value));
    return Scripted("set");
}

EXPORTED ViStatus uxGetAttribute(ViObject vi, ViAttr attribute, void* value) {
    Log("get", Text(vi), Text(attribute));
    const ViUInt32 answer = 4711;
    std::memcpy(value, &answer, sizeof answer);
    return Scripted("get");
}

} // extern "C"
