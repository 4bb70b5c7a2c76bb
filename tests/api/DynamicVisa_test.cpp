#include "api/DynamicVisa.h"

#include <gmock/gmock.h>

#include <cstddef>
#include <string>
#include <type_traits>

#include <dlfcn.h>

#include "uxvisa/visa.h"

// The list says the same as the public header.
#define UXVISA_SAME(name, types)                                                                   \
    static_assert(std::is_same_v<decltype(&vi##name), decltype(&noVi##name)>, #name);
UXVISA_DRIVER_OPERATIONS(UXVISA_SAME, UXVISA_SAME)

namespace {

const std::string Drivers = UXVISA_TEST_DRIVERS;
const std::string Numbered = Drivers + "/numbered_driver.so";
const std::string Partial = Drivers + "/partial_driver.so";
const std::string Empty = Drivers + "/empty_driver.so";

void ExpectUnbound(DynamicVisa& driver) {
    EXPECT_FALSE(driver.Initialized());
    EXPECT_EQ(driver.MissingFnCount(), -1);
#define UXVISA_UNBOUND(name, types) EXPECT_EQ(driver.ux##name, &noVi##name) << #name;
    UXVISA_DRIVER_OPERATIONS(UXVISA_UNBOUND, UXVISA_UNBOUND)
}

bool IsLoaded(const std::string& path) {
    void* library = dlopen(path.c_str(), RTLD_LAZY | RTLD_NOLOAD);
    if (library != nullptr) {
        dlclose(library);
    }
    return library != nullptr;
}

} // namespace

TEST(DynamicVisa, KeepsItsLayout) {
    EXPECT_EQ(sizeof(DynamicVisa), 16 + 105 * sizeof(void*));
    DynamicVisa driver(nullptr);
    const auto offset = [&](const void* field) {
        return static_cast<const char*>(field) - reinterpret_cast<const char*>(&driver);
    };
    EXPECT_EQ(offset(&driver.uxOpenDefaultRM), 16);
    EXPECT_EQ(offset(&driver.uxParseRsrcEx), 24);
    EXPECT_EQ(offset(&driver.uxUsbControlIn), 16 + 104 * 8);
}

TEST(DynamicVisa, StartsUnboundWithoutAPath) {
    DynamicVisa none(nullptr);
    ExpectUnbound(none);
    DynamicVisa empty("");
    ExpectUnbound(empty);
    ExpectUnbound(Visa);
}

TEST(DynamicVisa, NoPathUnbindsAndAnswersMinus101) {
    DynamicVisa driver(Partial.c_str());
    ASSERT_TRUE(driver.Initialized());
    EXPECT_EQ(driver.Initialize(""), -101);
    ExpectUnbound(driver);
    EXPECT_EQ(driver.Initialize(Partial.c_str()), 103);
    EXPECT_EQ(driver.Initialize(nullptr), -101);
    ExpectUnbound(driver);
    EXPECT_FALSE(IsLoaded(Partial));
}

TEST(DynamicVisa, ALibraryThatDoesNotLoadPrintsTheLoadersText) {
    DynamicVisa driver(Partial.c_str());
    testing::internal::CaptureStderr();
    EXPECT_EQ(driver.Initialize("/nonexistent/driver.so"), -1);
    EXPECT_EQ(
        testing::internal::GetCapturedStderr(),
        "/nonexistent/driver.so: cannot open shared object file: No such file or directory\n");
    ExpectUnbound(driver);
}

TEST(DynamicVisa, EveryNameIsBoundInItsPlace) {
    DynamicVisa driver(Numbered.c_str());
    EXPECT_TRUE(driver.Initialized());
    EXPECT_EQ(driver.MissingFnCount(), 0);
    EXPECT_EQ(driver.uxOpenDefaultRM(nullptr), 0);
    EXPECT_EQ(driver.uxParseRsrcEx(0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 1);
    EXPECT_EQ(driver.uxOpen(0, nullptr, 0, 0, nullptr), 2);
    EXPECT_EQ(driver.uxRead(0, nullptr, 0, nullptr), 19);
    EXPECT_EQ(driver.uxWrite(0, nullptr, 0, nullptr), 22);
    EXPECT_EQ(driver.uxClear(0), 27);
    EXPECT_EQ(driver.uxPrintf(0, ""), 32);
    EXPECT_EQ(driver.uxMemAlloc(0, 0, nullptr), 89);
    EXPECT_EQ(driver.uxUsbControlIn(0, 0, 0, 0, 0, 0, nullptr, nullptr), 104);
    driver.uxPeek8(0, nullptr, nullptr);
}

TEST(DynamicVisa, MissingNamesKeepTheirDefaultsOnPurpose) {
    DynamicVisa driver(Partial.c_str());
    EXPECT_TRUE(driver.Initialized());
    EXPECT_EQ(driver.MissingFnCount(), 103);
    EXPECT_NE(driver.uxOpen, &noViOpen);
    EXPECT_EQ(driver.uxRead(0, nullptr, 0, nullptr), VI_ERROR_LIBRARY_NFOUND);
    EXPECT_EQ(driver.uxReadSTB(0, nullptr), VI_ERROR_LIBRARY_NFOUND);
    driver.uxPoke32(0, nullptr, 0);
}

TEST(DynamicVisa, IsInitializedWithAllNamesMissingOnPurpose) {
    DynamicVisa driver(Empty.c_str());
    EXPECT_TRUE(driver.Initialized());
    EXPECT_EQ(driver.MissingFnCount(), 105);
}

TEST(DynamicVisa, ASecondLibraryTakesTheFirstsPlace) {
    DynamicVisa driver(Numbered.c_str());
    EXPECT_EQ(driver.Initialize(Partial.c_str()), 103);
    EXPECT_FALSE(IsLoaded(Numbered));
    EXPECT_EQ(driver.uxClear(0), VI_ERROR_LIBRARY_NFOUND);
}

TEST(DynamicVisa, TheDestructorUnloads) {
    {
        const DynamicVisa driver(Numbered.c_str());
        EXPECT_TRUE(IsLoaded(Numbered));
    }
    EXPECT_FALSE(IsLoaded(Numbered));
}

TEST(IsLibExists, TheEmptyNameIsTheRunningProgramOnPurpose) {
    testing::internal::CaptureStderr();
    EXPECT_TRUE(IsLibExists(""));
    EXPECT_TRUE(IsLibExists(Partial.c_str()));
    EXPECT_FALSE(IsLibExists("/nonexistent/driver.so"));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_FALSE(IsLoaded(Partial));
}
