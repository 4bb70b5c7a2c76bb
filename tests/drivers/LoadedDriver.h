// The logging driver library, loaded and with an empty script.
#pragma once

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <string>

#include "drivers/LoggingDriver.h"

namespace uxvisa::test {

class LoadedDriver {
public:
    LoadedDriver() : m_library(dlopen(Path().c_str(), RTLD_NOW)) {
        void* symbol = m_library == nullptr ? nullptr : dlsym(m_library, "LoggingDriverScript");
        EXPECT_NE(symbol, nullptr) << dlerror();
        m_script = reinterpret_cast<decltype(&LoggingDriverScript)>(symbol)();
        *m_script = {};
    }
    ~LoadedDriver() { dlclose(m_library); }
    LoadedDriver(const LoadedDriver&) = delete;
    LoadedDriver& operator=(const LoadedDriver&) = delete;

    std::string Path() const { return UXVISA_TEST_DRIVERS "/logging_driver.so"; }
    DriverScript* operator->() { return m_script; }

private:
    void* m_library;
    DriverScript* m_script;
};

} // namespace uxvisa::test
