#include "tools/uxvisa/StatusTable.h"

#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <set>
#include <string>

using namespace uxvisa::tool;

namespace {

std::set<std::string> NamesOfHeader() {
    std::ifstream header(UXVISA_STATUS_HEADER);
    const std::regex definition(R"(#define (VI_(?:SUCCESS|WARN|ERROR)\w*) \(.*)");
    std::set<std::string> names;
    std::smatch match;
    for (std::string line; std::getline(header, line);) {
        if (std::regex_match(line, match, definition)) {
            names.insert(match[1]);
        }
    }
    return names;
}

} // namespace

TEST(StatusTable, HasExactlyTheStatusesOfTheHeader) {
    std::set<std::string> names;
    for (const StatusEntry& entry : StatusEntries()) {
        names.emplace(entry.name);
    }
    ASSERT_GT(names.size(), 90U);
    EXPECT_EQ(names, NamesOfHeader());
}

TEST(StatusTable, HasNoStatusTwice) {
    std::set<ViStatus> statuses;
    for (const StatusEntry& entry : StatusEntries()) {
        EXPECT_TRUE(statuses.insert(entry.status).second) << entry.name;
    }
}

TEST(StatusTable, HasATextForEveryStatus) {
    for (const StatusEntry& entry : StatusEntries()) {
        EXPECT_NE(LibraryText(entry.status).empty(), entry.description.empty()) << entry.name;
        EXPECT_NE(StatusText(entry.status), "Unknown status") << entry.name;
    }
}

TEST(StatusTable, FindsByNumberAndByName) {
    ASSERT_NE(FindStatus(VI_ERROR_CONN_LOST), nullptr);
    EXPECT_EQ(FindStatus(VI_ERROR_CONN_LOST)->name, "VI_ERROR_CONN_LOST");
    ASSERT_NE(FindStatus("vi_error_conn_lost"), nullptr);
    EXPECT_EQ(FindStatus("vi_error_conn_lost")->status, VI_ERROR_CONN_LOST);
    EXPECT_EQ(FindStatus("VI_ERROR_CONN"), nullptr);
    EXPECT_EQ(FindStatus(ViStatus{1}), nullptr);
}

TEST(StatusTable, KnowsTheOlderName) {
    ASSERT_NE(FindStatus("VI_ERROR_INV_SESSION"), nullptr);
    EXPECT_EQ(FindStatus("VI_ERROR_INV_SESSION")->name, "VI_ERROR_INV_OBJECT");
}

TEST(StatusTable, PrefersTheTextOfTheLibrary) {
    EXPECT_EQ(StatusText(VI_ERROR_TMO), "Timeout expired before operation completed");
    EXPECT_EQ(StatusText(VI_ERROR_USER_BUF),
              "A buffer or variable that the program passed cannot be used");
    EXPECT_EQ(StatusText(1), "Unknown status");
}

TEST(StatusTable, LabelsAStatusByNameAndNumber) {
    EXPECT_EQ(StatusLabel(VI_ERROR_TMO), "VI_ERROR_TMO, 0xBFFF0015");
    EXPECT_EQ(StatusLabel(VI_SUCCESS_TERM_CHAR), "VI_SUCCESS_TERM_CHAR, 0x3FFF0005");
    EXPECT_EQ(StatusLabel(-1), "0xFFFFFFFF");
}
