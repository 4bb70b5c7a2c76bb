// The session for USB instruments. Searches find them; viOpen has no way to this class, only code
// that makes the session itself.
#pragma once

#include "core/BaseSession.h"

struct udev_device;

// Works on the kernel's device files, /dev/usbtmc1 to /dev/usbtmc9. The fields are binary
// interface.
class UXVISA_API CSessionUSBTMC : public CBaseSession {
public:
    CSessionUSBTMC();
    CSessionUSBTMC(const CSessionUSBTMC&) = delete;
    CSessionUSBTMC& operator=(const CSessionUSBTMC&) = delete;
    ~CSessionUSBTMC() override;
    long OpenConnection(char* resource, unsigned long accessMode, unsigned long timeoutMs) override;
    long CloseConnection() override;
    long FindResources(char* expression, FindCallback callback, void* context) override;
    long SetAttribute(unsigned long attribute, unsigned long value) override;
    long GetAttribute(unsigned long attribute, void* value) override;
    // One read of what the device has; a NUL is stored behind it, so the buffer has `count` + 1
    // bytes.
    long Read(unsigned char* buffer, unsigned long count, unsigned long* readCount) override;
    long Write(unsigned char* buffer, unsigned long count, unsigned long* writtenCount) override;
    long Clear() override;

    long Reconnect();

private:
    int m_fd; // 0 when closed
    bool m_termchar_enabled;
};

static_assert(sizeof(CSessionUSBTMC) == 64, "other programs rely on this layout");

// Excludes nobody, on purpose: programs hold it around their USB transfers, and transfers on
// different instruments must not wait for each other.
class UXVISA_API USBTMCCriticalSection {
public:
    USBTMCCriticalSection();
    ~USBTMCCriticalSection();
    void Lock();
    void UnLock();
};

extern UXVISA_API USBTMCCriticalSection csUSB;

// Whether a USB device is an instrument, by its first interface.
UXVISA_API bool dev_if_packed_info(udev_device* device);
