#include "support/UsbTestbed.h"

#include <umockdev.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

#if defined(__SANITIZE_THREAD__)
// The testbed's own libraries synchronise in ways that the sanitizer cannot see; what is under test
// is watched all the same.
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_options() {
    return "ignore_noninstrumented_modules=1";
}
#endif

namespace uxvisa::test {

namespace {

std::string Taken(char* text) {
    std::string copy = text == nullptr ? "" : text;
    g_free(text);
    return copy;
}

void Require(bool succeeded, GError* error, const std::string& what) {
    const std::string reason = error == nullptr ? "" : error->message;
    g_clear_error(&error);
    if (!succeeded) {
        throw std::runtime_error(what + ": " + reason);
    }
}

// The bytes that a client passes, or the room it offers.
std::string Argument(UMockdevIoctlData* data) {
    std::uint8_t* bytes = nullptr;
    int size = 0;
    umockdev_ioctl_data_retrieve(data, &bytes, &size);
    std::string copy(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(size));
    g_free(bytes);
    return copy;
}

} // namespace

UsbTestbed::UsbTestbed() : m_testbed(umockdev_testbed_new()) {
    m_root = Taken(umockdev_testbed_get_root_dir(m_testbed));
}

UsbTestbed::~UsbTestbed() {
    g_object_unref(m_testbed);
}

std::string UsbTestbed::Add(const char* subsystem, const std::string& name,
                            const std::string& parent, const UsbTexts& texts, const char* type) {
    std::vector<const char*> attributes;
    for (const auto& [attribute, text] : texts) {
        attributes.push_back(attribute.c_str());
        attributes.push_back(text.c_str());
    }
    attributes.push_back(nullptr);
    const char* properties[] = {type == nullptr ? nullptr : "DEVTYPE", type, nullptr};
    const std::string path = Taken(umockdev_testbed_add_devicev(
        m_testbed, subsystem, name.c_str(), parent.empty() ? nullptr : parent.c_str(),
        const_cast<char**>(attributes.data()), const_cast<char**>(properties)));
    Require(!path.empty(), nullptr, "no device " + name);
    return path;
}

std::string UsbTestbed::AddUsbDevice(const std::string& name, const UsbTexts& texts,
                                     const std::string& parent) {
    return Add("usb", name, parent, texts, "usb_device");
}

std::string UsbTestbed::AddInterface(const std::string& name, const std::string& parent) {
    return Add("usb", name, parent, {}, "usb_interface");
}

std::string UsbTestbed::AddOther(const std::string& subsystem, const std::string& name,
                                 const std::string& parent) {
    return Add(subsystem.c_str(), name, parent, {}, nullptr);
}

void UsbTestbed::SetDescriptors(const std::string& path, const std::string& bytes) {
    AddFile(path + "/descriptors", bytes);
}

// What lies below is removed with it, but stays listed.
void UsbTestbed::Remove(const std::string& path) {
    umockdev_testbed_remove_device(m_testbed, path.c_str());
    for (const auto& entry : std::filesystem::directory_iterator(Place("/sys/bus/usb/devices"))) {
        if (!std::filesystem::exists(entry.path())) {
            std::filesystem::remove(entry.path());
        }
    }
}

std::string UsbTestbed::AddInstrument(const UsbTexts& texts, const std::string& descriptors) {
    const std::string device = AddUsbDevice("1-1", texts);
    SetDescriptors(device, descriptors);
    AddInterface("1-1:1.0", device);
    return device;
}

std::string UsbTestbed::Place(const std::string& path) const {
    return m_root + path;
}

void UsbTestbed::AddFile(const std::string& path, const std::string& content) const {
    std::filesystem::create_directories(std::filesystem::path(Place(path)).parent_path());
    std::ofstream(Place(path), std::ios::binary) << content;
}

std::string UsbTestbed::FileContent(const std::string& path) const {
    std::ifstream file(Place(path), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

ScriptedUsbtmc::ScriptedUsbtmc(UsbTestbed& testbed, const std::string& path)
    : m_testbed(testbed), m_path(path), m_handler(umockdev_ioctl_base_new()) {
    testbed.AddFile(path, "");
    g_signal_connect(m_handler, "handle-read", G_CALLBACK(&ScriptedUsbtmc::OnRead), this);
    g_signal_connect(m_handler, "handle-write", G_CALLBACK(&ScriptedUsbtmc::OnWrite), this);
    g_signal_connect(m_handler, "handle-ioctl", G_CALLBACK(&ScriptedUsbtmc::OnControl), this);
    GError* error = nullptr;
    Require(umockdev_testbed_attach_ioctl(testbed.m_testbed, path.c_str(), m_handler, &error) != 0,
            error, "no device file " + path);
}

ScriptedUsbtmc::~ScriptedUsbtmc() {
    umockdev_testbed_detach_ioctl(m_testbed.m_testbed, m_path.c_str(), nullptr);
    g_object_unref(m_handler);
    // An answer may still be on its way out, its bytes long delivered.
    const std::lock_guard lock(m_mutex);
}

ScriptedUsbtmc& ScriptedUsbtmc::AnswerRead(const std::string& bytes) {
    const std::lock_guard lock(m_mutex);
    m_reads.push_back({0, bytes});
    return *this;
}

ScriptedUsbtmc& ScriptedUsbtmc::FailRead(int error) {
    const std::lock_guard lock(m_mutex);
    m_reads.push_back({error});
    return *this;
}

ScriptedUsbtmc& ScriptedUsbtmc::FailWrite(int error) {
    const std::lock_guard lock(m_mutex);
    m_writes.push_back({error});
    return *this;
}

ScriptedUsbtmc& ScriptedUsbtmc::FailControl(int error) {
    const std::lock_guard lock(m_mutex);
    m_controls.push_back({error});
    return *this;
}

std::vector<std::string> ScriptedUsbtmc::Asked() const {
    const std::lock_guard lock(m_mutex);
    return m_asked;
}

ScriptedUsbtmc::Answer ScriptedUsbtmc::Take(std::deque<Answer>& answers) {
    Answer answer;
    if (!answers.empty()) {
        answer = answers.front();
        answers.pop_front();
    }
    return answer;
}

int ScriptedUsbtmc::OnRead(UMockdevIoctlBase*, UMockdevIoctlClient* client, void* self) {
    auto& device = *static_cast<ScriptedUsbtmc*>(self);
    const std::lock_guard lock(device.m_mutex);
    UMockdevIoctlData* data = umockdev_ioctl_client_get_arg(client);
    const std::size_t room = Argument(data).size();
    device.m_asked.push_back("read " + std::to_string(room));
    Answer answer = Take(device.m_reads);
    const int size = static_cast<int>(std::min(room, answer.bytes.size()));
    if (size > 0) {
        auto* bytes = reinterpret_cast<std::uint8_t*>(answer.bytes.data());
        umockdev_ioctl_data_update(data, 0, bytes, size);
    }
    umockdev_ioctl_client_complete(client, answer.error == 0 ? size : -1, answer.error);
    return 1;
}

int ScriptedUsbtmc::OnWrite(UMockdevIoctlBase*, UMockdevIoctlClient* client, void* self) {
    auto& device = *static_cast<ScriptedUsbtmc*>(self);
    const std::lock_guard lock(device.m_mutex);
    const std::string bytes = Argument(umockdev_ioctl_client_get_arg(client));
    device.m_asked.push_back("write " + bytes);
    const Answer answer = Take(device.m_writes);
    const long size = static_cast<long>(bytes.size());
    umockdev_ioctl_client_complete(client, answer.error == 0 ? size : -1, answer.error);
    return 1;
}

int ScriptedUsbtmc::OnControl(UMockdevIoctlBase*, UMockdevIoctlClient* client, void* self) {
    auto& device = *static_cast<ScriptedUsbtmc*>(self);
    const std::lock_guard lock(device.m_mutex);
    std::ostringstream asked;
    asked << "control " << std::hex << umockdev_ioctl_client_get_request(client);
    device.m_asked.push_back(asked.str());
    const Answer answer = Take(device.m_controls);
    umockdev_ioctl_client_complete(client, answer.error == 0 ? 0 : -1, answer.error);
    return 1;
}

} // namespace uxvisa::test
