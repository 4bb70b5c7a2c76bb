#include "tools/emulator/Options.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

using emulator::Options;
using emulator::ParseOptions;
using std::chrono::milliseconds;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

constexpr int Untouched = -1;

struct Outcome {
    std::optional<Options> options;
    int exit_code = Untouched;
    std::string output;
    std::string errors;
};

Outcome Parse(std::vector<const char*> arguments) {
    arguments.insert(arguments.begin(), "uxvisa-emulator");
    Outcome outcome;
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    outcome.options =
        ParseOptions(static_cast<int>(arguments.size()), arguments.data(), outcome.exit_code);
    outcome.output = testing::internal::GetCapturedStdout();
    outcome.errors = testing::internal::GetCapturedStderr();
    return outcome;
}

} // namespace

TEST(Options, DefaultsServeTheLoopbackAtFullSpeed) {
    const Outcome outcome = Parse({});
    ASSERT_TRUE(outcome.options);
    EXPECT_EQ(outcome.options->bind, "127.0.0.1");
    EXPECT_EQ(outcome.options->port, 8888);
    EXPECT_FALSE(outcome.options->quiet);
    EXPECT_EQ(outcome.options->usock, "");
    EXPECT_EQ(outcome.options->pty, "");
    EXPECT_FALSE(outcome.options->discoverable);
    EXPECT_EQ(outcome.options->instrument.identity.model, "Emulator");
    EXPECT_EQ(outcome.options->instrument.identity.serial, "0");
    EXPECT_EQ(outcome.options->vxi11, std::nullopt);
    EXPECT_EQ(outcome.options->portmapper, std::nullopt);
    EXPECT_EQ(outcome.options->pacing.close_after, 0U);
    EXPECT_EQ(outcome.options->pacing.delay, milliseconds(0));
    EXPECT_EQ(outcome.options->pacing.idle_drop, milliseconds(0));
    EXPECT_EQ(outcome.options->pacing.chunk, 0U);
    EXPECT_EQ(outcome.options->pacing.chunk_interval, milliseconds(10));
    EXPECT_EQ(outcome.options->instrument.seed, 1U);
    EXPECT_EQ(outcome.options->instrument.curve_length, 1000U);
    EXPECT_EQ(outcome.options->instrument.trace_points, 100U);
    EXPECT_EQ(outcome.exit_code, Untouched);
    EXPECT_EQ(outcome.output + outcome.errors, "");
}

TEST(Options, EveryOptionIsTaken) {
    const Outcome outcome =
        Parse({"--port", "0", "--bind", "::1", "--delay", "5", "--idle-drop", "6", "--chunk", "7",
               "--chunk-interval", "8", "--seed", "18446744073709551615", "--curve-length", "10",
               "--trace-points", "11", "--quiet"});
    ASSERT_TRUE(outcome.options) << outcome.errors;
    EXPECT_EQ(outcome.options->bind, "::1");
    EXPECT_EQ(outcome.options->port, 0);
    EXPECT_TRUE(outcome.options->quiet);
    EXPECT_EQ(outcome.options->pacing.delay, milliseconds(5));
    EXPECT_EQ(outcome.options->pacing.idle_drop, milliseconds(6));
    EXPECT_EQ(outcome.options->pacing.chunk, 7U);
    EXPECT_EQ(outcome.options->pacing.chunk_interval, milliseconds(8));
    EXPECT_EQ(outcome.options->instrument.seed, 18446744073709551615U);
    EXPECT_EQ(outcome.options->instrument.curve_length, 10U);
    EXPECT_EQ(outcome.options->instrument.trace_points, 11U);
}

TEST(Options, EveryServiceIsTaken) {
    const Outcome outcome = Parse({"--usock", "/tmp/x", "--pty", "/tmp/y", "--vxi11", "0",
                                   "--portmapper", "111", "--discoverable", "--identity-model",
                                   "KX 10", "--identity-serial", "SN/1", "--close-after", "12"});
    ASSERT_TRUE(outcome.options) << outcome.errors;
    EXPECT_EQ(outcome.options->usock, "/tmp/x");
    EXPECT_EQ(outcome.options->pty, "/tmp/y");
    EXPECT_EQ(outcome.options->vxi11, 0);
    EXPECT_EQ(outcome.options->portmapper, 111);
    EXPECT_TRUE(outcome.options->discoverable);
    EXPECT_EQ(outcome.options->instrument.identity.model, "KX 10");
    EXPECT_EQ(outcome.options->instrument.identity.serial, "SN/1");
    EXPECT_EQ(outcome.options->pacing.close_after, 12U);
}

TEST(Options, ADiscoverableInstrumentListensEverywhereUnlessToldOtherwise) {
    EXPECT_EQ(Parse({"--discoverable"}).options->bind, "0.0.0.0");
    EXPECT_EQ(Parse({"--discoverable", "--bind", "127.0.0.1"}).options->bind, "127.0.0.1");
}

TEST(Options, VersionEndsTheProgram) {
    const Outcome outcome = Parse({"--version"});
    EXPECT_FALSE(outcome.options);
    EXPECT_EQ(outcome.exit_code, 0);
    EXPECT_EQ(outcome.output, "uxvisa-emulator " UXVISA_VERSION "\n");
    EXPECT_EQ(outcome.errors, "");
}

TEST(Options, HelpNamesEveryOption) {
    const Outcome outcome = Parse({"--help"});
    EXPECT_FALSE(outcome.options);
    EXPECT_EQ(outcome.exit_code, 0);
    for (const char* name : {"--port",
                             "--bind",
                             "--delay",
                             "--idle-drop",
                             "--chunk",
                             "--chunk-interval",
                             "--seed",
                             "--curve-length",
                             "--trace-points",
                             "--quiet",
                             "--usock",
                             "--vxi11",
                             "--portmapper",
                             "--close-after",
                             "--pty",
                             "--discoverable",
                             "--identity-model",
                             "--identity-serial",
                             "--version",
                             "--help"}) {
        EXPECT_THAT(outcome.output, HasSubstr(name));
    }
    EXPECT_EQ(outcome.errors, "");
}

TEST(Options, UsageErrorsAreReportedOnStandardError) {
    const std::vector<std::vector<const char*>> wrong = {
        {"--nonsense"},
        {"nonsense"},
        {"--port"},
        {"--port", "65536"},
        {"--port", "-1"},
        {"--port", "http"},
        {"--delay", "-1"},
        {"--delay", "1000000000000"},
        {"--idle-drop", "soon"},
        {"--chunk", "-1"},
        {"--chunk-interval", "-1"},
        {"--seed", "x"},
        {"--seed", "-1"},
        {"--curve-length", "268435457"},
        {"--curve-length", "-1"},
        {"--trace-points", "0"},
        {"--trace-points", "1000001"},
        {"--usock"},
        {"--usock", ""},
        {"--vxi11", "65536"},
        {"--vxi11", "x"},
        {"--portmapper", "111"},
        {"--vxi11", "0", "--portmapper", "-1"},
        {"--close-after", "-1"},
        {"--pty"},
        {"--pty", ""},
        {"--identity-model", ""},
        {"--identity-model", "a,b"},
        {"--identity-model", "a\tb"},
        {"--identity-model", " a"},
        {"--identity-model", "\xC3\xA9"},
        {"--identity-serial", ""},
        {"--identity-serial", "a b"},
        {"--identity-serial", "a,b"},
    };
    for (const auto& arguments : wrong) {
        const Outcome outcome = Parse(arguments);
        EXPECT_FALSE(outcome.options) << arguments[0];
        EXPECT_EQ(outcome.exit_code, 2) << arguments[0];
        EXPECT_EQ(outcome.output, "");
        EXPECT_THAT(outcome.errors, StartsWith("uxvisa-emulator: ")) << arguments[0];
    }
}
