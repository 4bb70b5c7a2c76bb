#include "transports/GetHostByAddrThread.h"

CGetHostByAddrThread::CGetHostByAddrThread(const char* address)
    : CThreadObject(0), m_address(address) {
    ThreadStart();
}

CGetHostByAddrThread::~CGetHostByAddrThread() {
    ThreadStop(0);
}

void CGetHostByAddrThread::ThreadCycle() {}

std::string CGetHostByAddrThread::GetHost() {
    return m_address;
}
