#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

#include "tools/InstrumentPeer.h"
#include "tools/TemporaryDirectory.h"
#include "tools/ToolRun.h"

using Json = nlohmann::ordered_json;

namespace {

// One object on one line, and nothing on standard error.
Json RunForJson(std::vector<std::string> arguments, int expectedCode = 0) {
    arguments.emplace_back("--json");
    const ToolResult result = RunTool(arguments);
    EXPECT_EQ(result.exitCode, expectedCode);
    EXPECT_EQ(result.error, "");
    EXPECT_EQ(result.output.find('\n'), result.output.size() - 1);
    return Json::parse(result.output);
}

// Checks and removes the one value that no test can know.
Json WithoutTime(Json object) {
    EXPECT_TRUE(object.at("elapsed_ms").is_number_float());
    EXPECT_GT(object.at("elapsed_ms"), 0);
    object.erase("elapsed_ms");
    return object;
}

} // namespace

TEST(Json, OfAQuery) {
    InstrumentPeer peer(Answering("\"q\"\t\xC2\xB5V\r\n"));
    const Json object = WithoutTime(RunForJson({"query", peer.Resource(), "V?"}));
    EXPECT_EQ(object, Json({{"resource", peer.Resource()},
                            {"command", "V?"},
                            {"response", "\"q\"\t\xC2\xB5V"},
                            {"bytes", 9}}));
}

TEST(Json, GivesBytesThatAreNoTextUntouchedToo) {
    InstrumentPeer peer(Answering("\xB5V\n"));
    const Json object = RunForJson({"query", peer.Resource(), "V?"});
    EXPECT_EQ(object.at("response"), "\xEF\xBF\xBDV");
    EXPECT_EQ(object.at("base64"), "tVY=");
}

TEST(Json, OfAWrite) {
    InstrumentPeer peer([](PeerConnection&) {});
    const Json object = WithoutTime(RunForJson({"write", peer.Resource(), "*RST"}));
    EXPECT_EQ(object, Json({{"resource", peer.Resource()}, {"command", "*RST"}, {"bytes", 5}}));
}

TEST(Json, OfARead) {
    InstrumentPeer peer([](PeerConnection& connection) { connection.Send("ab\n"); });
    const Json object = WithoutTime(RunForJson({"read", peer.Resource()}));
    EXPECT_EQ(object, Json({{"resource", peer.Resource()}, {"response", "ab"}, {"bytes", 3}}));
}

TEST(Json, OfACountKeepsTheLineFeed) {
    InstrumentPeer peer([](PeerConnection& connection) { connection.Send("ab\n"); });
    const Json object = RunForJson({"read", peer.Resource(), "--count", "3"});
    EXPECT_EQ(object.at("response"), "ab\n");
}

TEST(Json, OfABlock) {
    InstrumentPeer peer(Answering(std::string("#13\0\xFF\n\n", 7)));
    const Json object = WithoutTime(RunForJson({"query", peer.Resource(), "C?", "--block"}));
    EXPECT_EQ(
        object,
        Json({{"resource", peer.Resource()}, {"command", "C?"}, {"base64", "AP8K"}, {"bytes", 3}}));
}

TEST(Json, OfAnAnswerInAFile) {
    const TemporaryDirectory directory;
    const std::string path = directory.File("answer");
    InstrumentPeer peer(Answering("#15abcde\n"));
    const Json object =
        WithoutTime(RunForJson({"query", peer.Resource(), "C?", "--block", "-o", path}));
    EXPECT_EQ(
        object,
        Json({{"resource", peer.Resource()}, {"command", "C?"}, {"file", path}, {"bytes", 5}}));
    EXPECT_EQ(FileContents(path), "abcde");
}

TEST(Json, OfATimeOutHasWhatArrived) {
    InstrumentPeer peer(Answering("+1."));
    const Json object =
        WithoutTime(RunForJson({"query", peer.Resource(), "V?", "--timeout", "1000"}, 3));
    EXPECT_EQ(object.at("response"), "+1.");
    EXPECT_EQ(object.at("bytes"), 3);
    const Json& error = object.at("error");
    EXPECT_EQ(error.at("status"), "VI_ERROR_TMO");
    EXPECT_EQ(error.at("code"), "0xBFFF0015");
    EXPECT_EQ(error.at("text"), "Timeout expired before operation completed");
    EXPECT_NE(error.at("hint").get<std::string>().find("--timeout"), std::string::npos);
}

TEST(Json, OfARefusedPort) {
    const std::string resource = RefusedResource();
    const Json object = RunForJson({"query", resource, "V?"}, 1);
    EXPECT_EQ(object.at("resource"), resource);
    EXPECT_EQ(object.at("command"), "V?");
    EXPECT_EQ(object.at("error").at("status"), "VI_ERROR_RSRC_NFOUND");
    EXPECT_FALSE(object.contains("response"));
}

TEST(Json, OfAnErrorWithoutAStatus) {
    InstrumentPeer peer(Answering("none\n"));
    const Json object = RunForJson({"query", peer.Resource(), "C?", "--block"}, 1);
    EXPECT_TRUE(object.at("error").at("status").is_null());
    EXPECT_TRUE(object.at("error").at("code").is_null());
    EXPECT_EQ(object.at("error").at("text"), "the answer is not a block but \"none\\n\"");
}

TEST(Json, OfACommandLineThatCannotBeUnderstood) {
    const Json object = RunForJson({"query", "R", "C", "--bogus"}, 2);
    EXPECT_EQ(object.at("error").at("text"), "unexpected argument '--bogus'");
}

TEST(Json, OfAResourceThatIsNoText) {
    const Json object = RunForJson({"query", "\xFF", "V?"}, 1);
    EXPECT_EQ(object.at("resource"), "\xEF\xBF\xBD");
}

TEST(Json, OfAStatus) {
    EXPECT_EQ(RunForJson({"status", "0xBFFF0015"}),
              Json({{"status", "VI_ERROR_TMO"},
                    {"code", "0xBFFF0015"},
                    {"value", -1073807339},
                    {"text", "Timeout expired before operation completed"},
                    {"library_text", true}}));
    EXPECT_EQ(RunForJson({"status", "VI_ERROR_ALLOC"}).at("library_text"), false);
}

TEST(Json, OfAStatusThatDoesNotExist) {
    EXPECT_EQ(RunForJson({"status", "0x12345678"}, 1).at("error").at("text"),
              "there is no status 0x12345678");
}

TEST(Json, KeepsTheTimeOnStandardError) {
    InstrumentPeer peer(Answering("1\n"));
    const ToolResult result = RunTool({"query", peer.Resource(), "V?", "--json", "--time"});
    EXPECT_TRUE(Json::accept(result.output));
    EXPECT_NE(result.error.find(" 2 bytes, "), std::string::npos) << result.error;
}
