#include "tools/uxvisa/MonitoredMessage.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <cstdlib>
#include <ctime>

using namespace uxvisa::tool;
using Kind = MonitoredMessage::Kind;
using testing::IsEmpty;

namespace {

constexpr std::chrono::system_clock::time_point Moment(std::chrono::milliseconds(1234567890123));

MonitorReading Piece(std::string_view data, bool written, bool continues, bool goesOn,
                     ViStatus status = VI_SUCCESS) {
    return {Moment, status, {written, continues, goesOn}, data};
}

MonitorReading Nothing(ViStatus status) {
    return {Moment, status, {}, {}};
}

// "->abc", one after the other; "!" behind one that is cut short.
std::string Shown(const std::vector<MonitoredMessage>& messages) {
    std::string text;
    for (const MonitoredMessage& message : messages) {
        text += message.kind == Kind::Cleared   ? "clear"
                : message.kind == Kind::Written ? "->"
                                                : "<-";
        text += message.data + (message.isCutShort ? "!" : "");
    }
    return text;
}

} // namespace

TEST(MessageAssembler, PassesOnWholeMessages) {
    MessageAssembler assembler;
    EXPECT_EQ(Shown(assembler.Take(Piece("a", true, false, false))), "->a");
    EXPECT_EQ(Shown(assembler.Take(Piece("b", false, false, false))), "<-b");
    EXPECT_FALSE(assembler.Rest());
}

TEST(MessageAssembler, JoinsPieces) {
    MessageAssembler assembler;
    EXPECT_EQ(Shown(assembler.Take(Piece("a", true, false, true))), "");
    EXPECT_EQ(Shown(assembler.Take(Piece("b", true, true, true))), "");
    EXPECT_EQ(Shown(assembler.Take(Piece("c", true, true, false))), "->abc");
}

TEST(MessageAssembler, MarksAMessageWhoseEndWasDropped) {
    MessageAssembler assembler;
    assembler.Take(Piece("a", true, false, true));
    EXPECT_EQ(Shown(assembler.Take(Piece("b", false, false, false))), "->a!<-b");
}

TEST(MessageAssembler, MarksAMessageThatHadBegunBefore) {
    MessageAssembler assembler;
    EXPECT_EQ(Shown(assembler.Take(Piece("b", true, true, false))), "->b!");
}

TEST(MessageAssembler, DoesNotWaitForeverForAnEnd) {
    MessageAssembler assembler;
    assembler.Take(Piece("a", true, false, true));
    std::string shown;
    for (int i = 0; i < 10; ++i) {
        shown += Shown(assembler.Take(Nothing(VI_ERROR_RSRC_BUSY)));
    }
    EXPECT_EQ(shown, "->a!");
}

TEST(MessageAssembler, HasARestAtTheEnd) {
    MessageAssembler assembler;
    assembler.Take(Piece("a", true, false, true));
    EXPECT_EQ(Shown({*assembler.Rest()}), "->a!");
    EXPECT_FALSE(assembler.Rest());
}

TEST(MessageAssembler, ShowsAClear) {
    MessageAssembler assembler;
    EXPECT_EQ(Shown(assembler.Take(Nothing(VI_ERROR_ABORT))), "clear");
    EXPECT_EQ(Shown(assembler.Take(Nothing(VI_ERROR_ABORT))), "clear");
}

TEST(MessageAssembler, ShowsARepeatedFailureOnce) {
    MessageAssembler assembler;
    EXPECT_EQ(Shown(assembler.Take(Nothing(VI_ERROR_CONN_LOST))), "<-");
    EXPECT_EQ(Shown(assembler.Take(Nothing(VI_ERROR_CONN_LOST))), "");
    assembler.Take(Piece("a", true, false, false));
    EXPECT_EQ(Shown(assembler.Take(Nothing(VI_ERROR_CONN_LOST))), "<-");
}

TEST(MessageAssembler, OverlooksTheTurnOfTheDirection) {
    MessageAssembler assembler;
    assembler.Take(Piece("a", true, false, true));
    EXPECT_THAT(assembler.Take(Nothing(VI_ERROR_TMO)), IsEmpty());
    EXPECT_EQ(Shown(assembler.Take(Piece("b", true, true, false))), "->ab");
}

TEST(MonitoredMessage, IsALineWithTheLocalTime) {
    ::setenv("TZ", "UTC+1", 1);
    ::tzset();
    EXPECT_EQ(TextOf({Kind::Written, Moment, "a\n", VI_SUCCESS, false}, MessageForm::Text),
              "22:31:30.123 -> 2 \"a\\n\"\n");
    ::unsetenv("TZ");
    ::tzset();
}

TEST(MonitoredMessage, ShowsFailuresAndWhatIsMissing) {
    const auto text = [](const MonitoredMessage& message) {
        return TextOf(message, MessageForm::Text).substr(12);
    };
    EXPECT_EQ(text({Kind::Read, Moment, "a", VI_ERROR_TMO, true}),
              " <- 1 \"a\" VI_ERROR_TMO (not all of it)\n");
    EXPECT_EQ(text({Kind::Read, Moment, "a", VI_SUCCESS_TERM_CHAR, false}), " <- 1 \"a\"\n");
    EXPECT_EQ(text({Kind::Cleared, Moment, "", VI_SUCCESS, false}), " -> clear\n");
    EXPECT_EQ(text({Kind::Read, Moment, "", -1, false}), " <- 0 \"\" 0xFFFFFFFF\n");
}

TEST(MonitoredMessage, IsAJsonLine) {
    const std::string line =
        JsonOf({Kind::Read, Moment, "\xFF\n", VI_ERROR_TMO, true}, MessageForm::Text);
    EXPECT_EQ(line.find('\n'), line.size() - 1);
    const auto fields = nlohmann::json::parse(line);
    EXPECT_EQ(fields["time"], "2009-02-13T23:31:30.123Z");
    EXPECT_EQ(fields["direction"], "read");
    EXPECT_EQ(fields["length"], 2);
    EXPECT_EQ(fields["base64"], "/wo=");
    EXPECT_EQ(fields["code"], "0xBFFF0015");
    EXPECT_EQ(fields["complete"], false);
}

TEST(MonitoredMessage, IsHexadecimalWhenAsked) {
    const MonitoredMessage message{Kind::Written, Moment, "AB", VI_SUCCESS, false};
    EXPECT_EQ(nlohmann::json::parse(JsonOf(message, MessageForm::Hex))["hex"], "4142");
    EXPECT_EQ(TextOf(message, MessageForm::Hex).substr(12),
              " -> 2\n  00000000  41 42" + std::string(44, ' ') + "AB\n");
}
