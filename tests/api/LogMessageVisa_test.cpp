#include "api/LogMessageVisa.h"

#include <gmock/gmock.h>

#include "uxvisa/visa.h"

namespace {

std::vector<std::string> heard;

} // namespace

// This program defines the hooks, and so hears what the library says.
void LogMessageVisa(std::string function, std::string message) {
    heard.push_back(function + "|" + message);
}

TEST(LogMessageVisa, HearsAnUnknownHandleOfSetAttribute) {
    heard.clear();
    EXPECT_EQ(viSetAttribute(0, VI_ATTR_TMO_VALUE, 1), VI_ERROR_INV_OBJECT);
    EXPECT_EQ(viGetAttribute(0, VI_ATTR_TMO_VALUE, nullptr), VI_ERROR_INV_OBJECT);
    EXPECT_THAT(heard, testing::ElementsAre("viSetAttribute|result = VI_ERROR_INV_SESSION"));
}
