// A session served by a driver library of its own.
#pragma once

#include "api/DynamicVisa.h"
#include "core/BaseSession.h"

// Hands every operation to the library's function of the same name, with the library's own handle.
// The fields are binary interface.
class UXVISA_API CSessionExt : public CBaseSession {
public:
    // A library that cannot be loaded is no error here: the session then answers
    // VI_ERROR_LIBRARY_NFOUND.
    explicit CSessionExt(const char* libraryPath);
    ~CSessionExt() override;
    long OpenConnection(char* resource, unsigned long accessMode, unsigned long timeoutMs) override;
    long CloseConnection() override;
    long SetAttribute(unsigned long attribute, unsigned long value) override;
    long GetAttribute(unsigned long attribute, void* value) override;
    long Read(unsigned char* buffer, unsigned long count, unsigned long* readCount) override;
    long Write(unsigned char* buffer, unsigned long count, unsigned long* writtenCount) override;
    long Clear() override;

    // Nothing to do: a driver library keeps its own connection.
    long Reconnect();
    long Purge();

private:
    template <typename Operation>
    long WithDriver(Operation&& operation);

    ViSession m_driver_session;
    [[maybe_unused]] char* m_resource_name;
    DynamicVisa m_driver;
};
