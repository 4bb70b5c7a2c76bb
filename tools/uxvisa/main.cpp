#include <csignal>
#include <cstdio>
#include <exception>

#include "tools/uxvisa/CommandLine.h"
#include "tools/uxvisa/Descriptor.h"
#include "tools/uxvisa/Driver.h"
#include "tools/uxvisa/Report.h"

using namespace uxvisa::tool;

namespace {

void Run(int argc, char** argv, Report& report) {
    const Invocation invocation = ParseCommandLine(argc, argv);
    if (!invocation.information.empty()) {
        StandardOutput().Write(invocation.information);
        return;
    }
    if (!invocation.options.driver.empty()) {
        BindDriver(invocation.options.driver);
    }
    invocation.options.run(invocation.options, report);
    report.Finish();
}

int Fail(const Failure& failure, Report& report) {
    if (!report.IsJson()) {
        PrintFailure(failure);
        return failure.Code();
    }
    report.AddFailure(failure);
    report.Finish();
    return failure.Code();
}

int RunToExitCode(int argc, char** argv) {
    Report report(AsksForJson(argc, argv));
    try {
        Run(argc, argv, report);
        return ExitOk;
    } catch (const Failure& failure) {
        return Fail(failure, report);
    }
}

} // namespace

int main(int argc, char** argv) {
    ReserveStandardDescriptors();
    // A reader that has gone shows as an error of write, which has a message.
    std::signal(SIGPIPE, SIG_IGN);
    try {
        return RunToExitCode(argc, argv);
    } catch (const Failure& failure) {
        PrintFailure(failure);
        return failure.Code();
    } catch (const std::exception& error) {
        Report::Note("", error.what());
        return ExitFailed;
    }
}
