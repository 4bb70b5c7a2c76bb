// One run of the uxvisa program, as from a shell.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <sys/types.h>

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
    // Where the program runs; the test's own directory when empty.
    std::string directory;
    // A file for its standard input.
    std::string inputPath;
};

ToolResult RunTool(const std::vector<std::string>& arguments, const ToolStreams& streams = {});

// A run that goes on beside the test; killed when it is still there at the end.
class RunningTool {
public:
    explicit RunningTool(const std::vector<std::string>& arguments,
                         const ToolStreams& streams = {});
    ~RunningTool();
    RunningTool(const RunningTool&) = delete;
    RunningTool& operator=(const RunningTool&) = delete;

    void Signal(int number) const;
    // Until the captured stream holds the text; false when it does not within 20 s.
    bool AwaitOutput(const std::string& text) const;
    bool AwaitError(const std::string& text) const;
    ToolResult Wait();

private:
    struct Streams;

    std::unique_ptr<Streams> m_streams;
    pid_t m_child;
};
