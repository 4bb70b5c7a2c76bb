// A plain-text log for programs; the library itself writes none.
#pragma once

#include <cstdint>
#include <fstream>
#include <string>

#include "Library/Export.h"

// Every entry is flushed at once, so the file is whole up to the last one when the process dies.
// Nothing is reported: a log that cannot be written is a log that stays silent. One thread at a
// time. The fields are binary interface.
class UXVISA_API CLogFile {
public:
    // The file lies beside the working directory, not in it: see LogFile.cpp.
    explicit CLogFile(char const* fileName);
    ~CLogFile();
    CLogFile(const CLogFile&) = delete;
    CLogFile& operator=(const CLogFile&) = delete;

    // With the time of day and the milliseconds since the entry before.
    void AddString(char const* text);
    void AddDateTimeString(char const* text);
    // Local time, HH:MM:SS.
    std::string GetTimeStamp();
    // Local date, YYYY-MM-DD.
    std::string GetDateStamp();
    void Flush();

    // The bytes alone: no prefix, no flush.
    CLogFile& operator<<(std::string text);
    CLogFile& operator<<(int number);
    // Without a file, a stream that takes nothing.
    operator std::ofstream&();

private:
    UXVISA_INTERNAL void Start(char const* fileName);
    UXVISA_INTERNAL void Put(const std::string& text);

    std::uint64_t m_last_tick;
    std::ofstream* m_stream; // owned
};

static_assert(sizeof(CLogFile) == 16, "other programs rely on this layout");
