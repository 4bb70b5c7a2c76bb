#include "transports/SessionUSBTMC.h"

#include <libudev.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "core/CommonLib.h"
#include "core/Guard.h"
#include "transports/DeviceFile.h"
#include "transports/StreamSocket.h"
#include "transports/UsbDescriptors.h"
#include "uxvisa/visatype.h"

namespace {

constexpr int Closed = 0;
// Device 0 is left out on purpose: it belongs to the programs that talk to the device file
// directly.
constexpr int FirstDevice = 1;
constexpr int LastDevice = 9;
constexpr std::size_t FieldCount = 6;
// No status of the standard's, on purpose: programs tell by it a device that failed from a session
// that is closed.
constexpr long DeviceFailed = -1;
constexpr long NoUdev = -1;

template <auto Release>
struct Releaser {
    template <typename Object>
    void operator()(Object* object) const {
        Release(object);
    }
};

using UdevContext = std::unique_ptr<udev, Releaser<udev_unref>>;
using UdevScan = std::unique_ptr<udev_enumerate, Releaser<udev_enumerate_unref>>;
using UdevDevice = std::unique_ptr<udev_device, Releaser<udev_device_unref>>;

// A line feed in a device's own texts would begin a new field of the record.
std::string SysfsText(udev_device* device, const char* attribute) {
    const char* value = udev_device_get_sysattr_value(device, attribute);
    std::string text = value == nullptr ? "" : value;
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

// The last field, further identity, is empty.
std::string RecordOf(udev_device* device, const std::string& vendor, const std::string& product) {
    const std::string serial = SysfsText(device, "serial");
    return "USB0::0x" + vendor + "::0x" + product + "::" + serial + "::0::INSTR\n" +
           SysfsText(device, "manufacturer") + "\n" + SysfsText(device, "product") + "\n" + serial +
           "\n";
}

void Say(const char* before, int error) {
    std::printf("%s%s\n", before, std::strerror(error));
    std::fflush(stdout);
}

bool IsInstrument(udev_device* device) {
    unsigned char descriptors[uxvisa::UsbDescriptorsLimit];
    const char* folder = udev_device_get_syspath(device);
    const std::string path = std::string(folder == nullptr ? "" : folder) + "/descriptors";
    const ssize_t size = uxvisa::sys::ReadFileStart(path.c_str(), descriptors, sizeof descriptors);
    if (size < 0) {
        std::fputs("error opening USB device 'descriptors' file\n", stderr);
        return false;
    }
    return uxvisa::IsUsbInstrument(descriptors, static_cast<std::size_t>(size));
}

// The printed line is there on purpose: it tells whoever runs a search by hand which device is
// being reported, even when the program shows nothing.
template <typename Report>
void ReportInstrument(udev_device* device, Report&& report) {
    const std::string vendor = SysfsText(device, "idVendor");
    const std::string product = SysfsText(device, "idProduct");
    const std::string record = RecordOf(device, vendor, product);
    std::printf("IDs:%s\t%s\n", vendor.c_str(), product.c_str());
    std::fflush(stdout);
    report(record.c_str());
}

// One report for every entry below an instrument, on purpose: normally that is one for every
// interface, and programs count them.
template <typename Report>
void ReportInstrumentOf(udev* context, const char* entryPath, Report&& report) {
    const UdevDevice entry(udev_device_new_from_syspath(context, entryPath));
    if (entry == nullptr) {
        return; // unplugged meanwhile
    }
    // Belongs to the entry and is released with it.
    udev_device* device =
        udev_device_get_parent_with_subsystem_devtype(entry.get(), "usb", "usb_device");
    if (device != nullptr && IsInstrument(device)) {
        ReportInstrument(device, report);
    }
}

bool IsUsbResource(const std::vector<std::string>& fields) {
    const auto isHexadecimal = [](const std::string& field) { return field.starts_with("0x"); };
    return fields.size() == FieldCount && (fields[0] == "USB" || fields[0] == "USB0") &&
           isHexadecimal(fields[1]) && isHexadecimal(fields[2]) && fields[4] == "0" &&
           fields[5] == "INSTR";
}

int OpenFirstDevice() {
    for (int number = FirstDevice; number <= LastDevice; ++number) {
        const std::string path = "/dev/usbtmc" + std::to_string(number);
        const int fd = uxvisa::sys::OpenDevice(path.c_str());
        if (fd != -1) {
            return fd;
        }
    }
    return Closed;
}

// Gives up the reply, so that the next one does not begin in its middle.
long AbandonReply(int fd) {
    const int error = errno;
    Say("Error during read answer: ", error);
    const bool aborted = uxvisa::sys::AbortBulkIn(fd) == 0;
    Say("Error during read reset timeout: ", aborted ? error : errno);
    return DeviceFailed;
}

} // namespace

USBTMCCriticalSection csUSB;

USBTMCCriticalSection::USBTMCCriticalSection() = default;

USBTMCCriticalSection::~USBTMCCriticalSection() = default;

void USBTMCCriticalSection::Lock() {}

void USBTMCCriticalSection::UnLock() {}

bool dev_if_packed_info(udev_device* device) {
    return uxvisa::Guarded([&]() -> long { return IsInstrument(device) ? 1 : 0; }) == 1;
}

CSessionUSBTMC::CSessionUSBTMC() : m_fd(Closed), m_termchar_enabled(true) {}

CSessionUSBTMC::~CSessionUSBTMC() {
    CSessionUSBTMC::CloseConnection();
}

// The identity in the resource does not select the device, on purpose: the first device that opens
// serves, and setups with one instrument need not know its serial number.
long CSessionUSBTMC::OpenConnection(char* resource, unsigned long, unsigned long) {
    return uxvisa::Guarded([&]() -> long {
        if (!IsUsbResource(uxvisa::SplitAddress(resource == nullptr ? "" : resource))) {
            return VI_ERROR_INV_RSRC_NAME;
        }
        CloseConnection();
        m_fd = OpenFirstDevice();
        return m_fd == Closed ? VI_ERROR_RSRC_NFOUND : VI_SUCCESS;
    });
}

long CSessionUSBTMC::CloseConnection() {
    if (m_fd != Closed) {
        uxvisa::sys::CloseDevice(m_fd);
        m_fd = Closed;
    }
    return VI_SUCCESS;
}

// The expression filters nothing, on purpose: a USB instrument is always worth showing.
long CSessionUSBTMC::FindResources(char*, FindCallback callback, void* context) {
    return uxvisa::Guarded([&]() -> long {
        const UdevContext udev(udev_new());
        if (udev == nullptr) {
            return NoUdev;
        }
        const UdevScan scan(udev_enumerate_new(udev.get()));
        udev_enumerate_add_match_subsystem(scan.get(), "usb");
        udev_enumerate_scan_devices(scan.get());
        udev_list_entry* entry = nullptr;
        udev_list_entry_foreach(entry, udev_enumerate_get_list_entry(scan.get())) {
            ReportInstrumentOf(udev.get(), udev_list_entry_get_name(entry),
                               [&](const char* record) { callback(this, record, context); });
        }
        return VI_SUCCESS;
    });
}

long CSessionUSBTMC::SetAttribute(unsigned long, unsigned long) {
    return VI_ERROR_NIMPL_OPER;
}

long CSessionUSBTMC::GetAttribute(unsigned long attribute, void* value) {
    if (attribute != VI_ATTR_TERMCHAR_EN) {
        return VI_ERROR_NSUP_ATTR;
    }
    if (value == nullptr) {
        return VI_ERROR_NSUP_ATTR_STATE;
    }
    const std::uint32_t enabled = m_termchar_enabled ? 1 : 0;
    std::memcpy(value, &enabled, sizeof enabled);
    return VI_SUCCESS;
}

long CSessionUSBTMC::Read(unsigned char* buffer, unsigned long count, unsigned long* readCount) {
    uxvisa::StoreCount(readCount, 0);
    if (m_fd == Closed) {
        return VI_ERROR_CONN_LOST;
    }
    const ssize_t size = uxvisa::sys::ReadDevice(m_fd, buffer, count);
    if (size < 0) {
        return AbandonReply(m_fd);
    }
    // Behind the data even when they fill `count`, on purpose: callers take the buffer as a text.
    if (buffer != nullptr) {
        buffer[size] = 0;
    }
    uxvisa::StoreCount(readCount, static_cast<unsigned long>(size));
    return VI_SUCCESS;
}

// A failed write reports the whole as written, on purpose: the reply that then does not come is
// what programs handle.
long CSessionUSBTMC::Write(unsigned char* buffer, unsigned long count,
                           unsigned long* writtenCount) {
    uxvisa::StoreCount(writtenCount, 0);
    if (m_fd == Closed) {
        return VI_ERROR_CONN_LOST;
    }
    uxvisa::sys::WriteDevice(m_fd, buffer, count);
    uxvisa::StoreCount(writtenCount, count);
    return VI_SUCCESS;
}

long CSessionUSBTMC::Clear() {
    return Reconnect();
}

// Nothing to connect: the device file stays good as long as the instrument is plugged in.
long CSessionUSBTMC::Reconnect() {
    return VI_ERROR_NIMPL_OPER;
}
