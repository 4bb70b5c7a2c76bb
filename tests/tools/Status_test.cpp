#include <gtest/gtest.h>

#include "tools/ToolRun.h"

TEST(Status, IsNamedAndExplainedForEveryForm) {
    for (const auto* code : {"0xBFFF0015", "0xFFFFFFFFBFFF0015", "-1073807339", "3221159957",
                             "VI_ERROR_TMO", "vi_error_tmo"}) {
        const ToolResult result = RunTool({"status", code});
        EXPECT_EQ(result.exitCode, 0) << code;
        EXPECT_EQ(result.output,
                  "VI_ERROR_TMO (0xBFFF0015): Timeout expired before operation completed\n");
        EXPECT_EQ(result.error, "");
    }
}

TEST(Status, OfSuccess) {
    EXPECT_EQ(RunTool({"status", "0"}).output,
              "VI_SUCCESS (0x00000000): Operation completed successfully\n");
}

TEST(Status, WithoutATextInTheLibraryIsExplainedAllTheSame) {
    EXPECT_EQ(RunTool({"status", "0x3FFF0005"}).output,
              "VI_SUCCESS_TERM_CHAR (0x3FFF0005): The termination character ended the read (the "
              "library has no text for it)\n");
}

TEST(Status, ThatDoesNotExist) {
    for (const auto* code : {"0xBFFF0BAD", "VI_ERROR_BAD", "-1", "0x1BFFF0015"}) {
        const ToolResult result = RunTool({"status", code});
        EXPECT_EQ(result.exitCode, 1) << code;
        EXPECT_EQ(result.output, "");
        EXPECT_EQ(result.error, std::string("uxvisa: there is no status ") + code + "\n");
    }
}

TEST(Status, ThatIsNoneAtAll) {
    for (const auto* code : {"BFFF0015", "timeout", "1.5", ""}) {
        const ToolResult result = RunTool({"status", code});
        EXPECT_EQ(result.exitCode, 2) << code;
        EXPECT_EQ(result.error, std::string("uxvisa: \"") + code +
                                    "\" is neither a status number nor a name\n"
                                    "hint: write 0xBFFF0015, -1073807339 or VI_ERROR_TMO\n");
    }
}
