#include "transports/SessionExt.h"

#include <string>

#include "core/Guard.h"
#include "uxvisa/visatype.h"

CSessionExt::CSessionExt(const char* libraryPath)
    : m_driver_session(0), m_resource_name(nullptr), m_driver(nullptr) {
    m_driver.Initialize(libraryPath);
}

// The library hears of its session's end also when it was closed before: uxClose then gets 0.
CSessionExt::~CSessionExt() {
    CSessionExt::CloseConnection();
    m_driver.Uninitialize();
}

template <typename Operation>
long CSessionExt::WithDriver(Operation&& operation) {
    return uxvisa::Guarded(
        [&]() -> long { return m_driver.Initialized() ? operation() : VI_ERROR_LIBRARY_NFOUND; });
}

long CSessionExt::OpenConnection(char* resource, unsigned long accessMode,
                                 unsigned long timeoutMs) {
    m_resource_name = resource;
    return WithDriver([&] {
        // A copy, since drivers cut the string up; and no manager: drivers take 0 for their own.
        std::string copy = resource == nullptr ? "" : resource;
        return m_driver.uxOpen(0, copy.data(), accessMode, timeoutMs, &m_driver_session);
    });
}

long CSessionExt::CloseConnection() {
    return WithDriver([&] {
        const long status = m_driver.uxClose(m_driver_session);
        m_driver_session = 0;
        return status;
    });
}

long CSessionExt::SetAttribute(unsigned long attribute, unsigned long value) {
    return WithDriver([&] { return m_driver.uxSetAttribute(m_driver_session, attribute, value); });
}

long CSessionExt::GetAttribute(unsigned long attribute, void* value) {
    return WithDriver([&] { return m_driver.uxGetAttribute(m_driver_session, attribute, value); });
}

long CSessionExt::Read(unsigned char* buffer, unsigned long count, unsigned long* readCount) {
    return WithDriver([&] { return m_driver.uxRead(m_driver_session, buffer, count, readCount); });
}

long CSessionExt::Write(unsigned char* buffer, unsigned long count, unsigned long* writtenCount) {
    return WithDriver(
        [&] { return m_driver.uxWrite(m_driver_session, buffer, count, writtenCount); });
}

long CSessionExt::Clear() {
    return WithDriver([&] { return m_driver.uxClear(m_driver_session); });
}

long CSessionExt::Reconnect() {
    return VI_SUCCESS;
}

long CSessionExt::Purge() {
    return VI_SUCCESS;
}
