#include "tools/uxvisa/ClosedDevices.h"

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace uxvisa::tool {

namespace {

constexpr std::string_view DeviceNames[] = {"ttyUSB", "ttyACM", "usbtmc"};

bool IsInstrumentDevice(const std::string& name) {
    return std::ranges::any_of(DeviceNames,
                               [&name](std::string_view lead) { return name.starts_with(lead); });
}

bool IsClosed(const std::string& path) {
    return ::faccessat(AT_FDCWD, path.c_str(), R_OK | W_OK, AT_EACCESS) != 0;
}

} // namespace

std::vector<std::string> ClosedDevices(const std::string& folder) {
    std::vector<std::string> paths;
    std::error_code ignored;
    for (std::filesystem::directory_iterator entry(folder, ignored), end; entry != end;
         entry.increment(ignored)) {
        const std::string path = entry->path().string();
        if (IsInstrumentDevice(entry->path().filename().string()) && IsClosed(path)) {
            paths.push_back(path);
        }
    }
    std::ranges::sort(paths);
    return paths;
}

} // namespace uxvisa::tool
