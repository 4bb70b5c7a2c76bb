// The session behind "ttyUSB0::INSTR": a serial port of this machine.
#pragma once

#include <termios.h>

#include <string>

#include "core/BaseSession.h"

// A raw line of 115200 baud, 8 data bits, no parity, 1 stop bit unless attributes say otherwise.
// The line is polled, so a read never waits for longer than a few milliseconds. The fields are
// binary interface.
class UXVISA_API CSessionASRL : public CBaseSession {
public:
    CSessionASRL();
    ~CSessionASRL() override;
    long OpenConnection(char* resource, unsigned long accessMode, unsigned long timeoutMs) override;
    long CloseConnection() override;
    // Reports every port, whatever the expression: few machines have many.
    long FindResources(char* expression, FindCallback callback, void* context) override;
    long SetAttribute(unsigned long attribute, unsigned long value) override;
    long GetAttribute(unsigned long attribute, void* value) override;
    // Stores a NUL behind the data: the buffer has room for `count` bytes and one more.
    long Read(unsigned char* buffer, unsigned long count, unsigned long* readCount) override;
    long Write(unsigned char* buffer, unsigned long count, unsigned long* writtenCount) override;
    long Clear() override;
    long Flush(unsigned short mask) override;

    bool GetConnected();
    // Closes, and opens the resource of OpenConnection() again.
    long Reconnect();
    // Lets reads of a terminal wait for one byte, or not at all.
    void set_mincount(int fd, int block);

private:
    UXVISA_INTERNAL long SetUpLine();
    UXVISA_INTERNAL bool Apply(int when, const termios& settings);
    UXVISA_INTERNAL long Change(const termios& settings);
    UXVISA_INTERNAL long RefuseDataBits(const termios& settings);
    UXVISA_INTERNAL void AwaitBytes();

    int m_fd; // 0 when closed
    std::string m_resource;
    termios m_settings;
    int m_connected;
};
