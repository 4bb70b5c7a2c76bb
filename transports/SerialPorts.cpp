#include "transports/SerialPorts.h"

#include <cstdio>
#include <cstdlib>
#include <memory>

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include "transports/SerialCalls.h"
#include "transports/SystemCalls.h"

namespace {

constexpr char ListDirectory[] = "/sys/class/tty/";
constexpr std::size_t LongestLink = 1024;
constexpr int UnknownPort = 0;

struct FreeEntry {
    void operator()(dirent* entry) const { std::free(entry); }
};
using Entry = std::unique_ptr<dirent, FreeEntry>;

struct FreeEntries {
    void operator()(dirent** entries) const { std::free(entries); }
};

std::string LastComponent(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

bool IsSymbolicLink(const std::string& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
}

std::vector<std::string> ListedNames() {
    dirent** listed = nullptr;
    const int count = scandir(ListDirectory, &listed, nullptr, alphasort);
    if (count < 0) {
        std::perror("scandir");
        return {};
    }
    const std::unique_ptr<dirent*, FreeEntries> list(listed);
    std::vector<Entry> entries(listed, listed + count);
    std::vector<std::string> names;
    names.reserve(entries.size());
    for (const Entry& entry : entries) {
        names.emplace_back(entry->d_name);
    }
    return names;
}

bool HasHardware(const std::string& device) {
    const int fd = uxvisa::sys::OpenTerminal(device.c_str());
    if (fd < 0) {
        return false;
    }
    int type = UnknownPort;
    const bool told = uxvisa::sys::GetSerialPortType(fd, type) == 0;
    uxvisa::sys::Close(fd);
    return told && type != UnknownPort;
}

} // namespace

std::vector<std::string> getComList() {
    std::vector<std::string> ports;
    std::vector<std::string> serial8250Ports;
    for (const std::string& name : ListedNames()) {
        if (name != "." && name != "..") {
            register_comport(ports, serial8250Ports, ListDirectory + name);
        }
    }
    probe_serial8250_comports(ports, serial8250Ports);
    return ports;
}

std::string get_driver(const std::string& directory) {
    const std::string device = directory + "/device";
    if (!IsSymbolicLink(device)) {
        return "";
    }
    char target[LongestLink];
    const ssize_t size = readlink((device + "/driver").c_str(), target, sizeof target);
    return size < 0 ? "" : LastComponent(std::string(target, static_cast<std::size_t>(size)));
}

// Whatever name the kernel shows decides: newer kernels have another driver in front of the same
// hardware, and then report all of its ports.
void register_comport(std::vector<std::string>& ports, std::vector<std::string>& serial8250Ports,
                      const std::string& directory) {
    const std::string driver = get_driver(directory);
    if (driver.empty()) {
        return;
    }
    const std::string device = "/dev/" + LastComponent(directory);
    (driver == "serial8250" ? serial8250Ports : ports).push_back(device);
}

void probe_serial8250_comports(std::vector<std::string>& ports,
                               const std::vector<std::string>& serial8250Ports) {
    for (const std::string& device : serial8250Ports) {
        if (HasHardware(device)) {
            ports.push_back(device);
        }
    }
}
