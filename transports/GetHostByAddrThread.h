// One responding address of a LAN discovery, with a worker of its own.
#pragma once

#include <string>

#include "Library/Thread.h"

class UXVISA_API CGetHostByAddrThread : public CThreadObject {
public:
    // Starts the thread.
    explicit CGetHostByAddrThread(const char* address);
    ~CGetHostByAddrThread() override;

    // Nothing, on purpose: asking for the name of every instrument would make searches wait for
    // name servers that LANs of instruments do not have.
    void ThreadCycle() override;
    // The numeric address.
    std::string GetHost();

private:
    std::string m_address;
};
