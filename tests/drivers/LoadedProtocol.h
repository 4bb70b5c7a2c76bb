// The tests' protocol-description library, loaded and with an empty script, in the working
// directory of the test.
#pragma once

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <filesystem>
#include <string>

#include "drivers/ScriptedProtocol.h"

namespace uxvisa::test {

inline std::string ProtocolFolder(const std::string& name) {
    return std::string(UXVISA_TEST_DRIVERS "/protocols/") + name;
}

inline std::string ProtocolPath(const std::string& name) {
    return ProtocolFolder(name) + "/libProtoDesc.so.1.0.0";
}

// A library that only this test's sessions hold open is gone when they are.
inline bool IsLoaded(const std::string& path) {
    void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (library != nullptr) {
        dlclose(library);
    }
    return library != nullptr;
}

// Works in a folder for as long as it lives.
class WorkingDirectory {
public:
    explicit WorkingDirectory(const std::string& path) : m_before(std::filesystem::current_path()) {
        std::filesystem::current_path(path);
    }
    ~WorkingDirectory() { std::filesystem::current_path(m_before); }
    WorkingDirectory(const WorkingDirectory&) = delete;
    WorkingDirectory& operator=(const WorkingDirectory&) = delete;

private:
    std::filesystem::path m_before;
};

class LoadedProtocol {
public:
    explicit LoadedProtocol(const std::string& name = "whole")
        : m_library(dlopen(ProtocolPath(name).c_str(), RTLD_NOW)), m_folder(ProtocolFolder(name)) {
        void* symbol = m_library == nullptr ? nullptr : dlsym(m_library, "ScriptedProtocolScript");
        EXPECT_NE(symbol, nullptr) << dlerror();
        m_script = reinterpret_cast<decltype(&ScriptedProtocolScript)>(symbol)();
        *m_script = {};
    }
    ~LoadedProtocol() { dlclose(m_library); }
    LoadedProtocol(const LoadedProtocol&) = delete;
    LoadedProtocol& operator=(const LoadedProtocol&) = delete;

    ProtocolScript* operator->() { return m_script; }

private:
    void* m_library;
    WorkingDirectory m_folder;
    ProtocolScript* m_script;
};

} // namespace uxvisa::test
