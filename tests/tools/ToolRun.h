// One run of the uxvisa program, as from a shell.
#pragma once

#include <string>
#include <vector>

struct ToolResult {
    int exitCode = -1;
    std::string output;
    std::string error;
    long maxResidentKiB = 0;
    double seconds = 0;
};

// What the program gets in place of standard streams that are captured.
struct ToolStreams {
    std::string outputPath;
    bool closesOutput = false;
    bool closesInput = false;
    // Descriptors of the test; -1 for none.
    int output = -1;
    int error = -1;
};

ToolResult RunTool(const std::vector<std::string>& arguments, const ToolStreams& streams = {});
