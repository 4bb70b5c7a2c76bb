#include "tools/uxvisa/LineInput.h"

#include <gtest/gtest.h>

#include <deque>
#include <string>

using namespace uxvisa::tool;

namespace {

struct Step {
    ViStatus status;
    std::string data;
};

// A session that answers its reads from a list, and then with the last status.
class ScriptedReads {
public:
    ScriptedReads(std::deque<Step> steps, ViStatus last)
        : m_steps(std::move(steps)), m_last(last) {}

    LineInput Input(LineInput::Silence silence) {
        return {[this](char* buffer, std::size_t size) { return Next(buffer, size); }, silence};
    }

private:
    Transfer Next(char* buffer, std::size_t size) {
        if (m_steps.empty()) {
            return {m_last, 0};
        }
        const Step step = m_steps.front();
        m_steps.pop_front();
        EXPECT_LE(step.data.size(), size);
        step.data.copy(buffer, step.data.size());
        // Room that the buffer promises.
        buffer[step.data.size()] = '\0';
        return {step.status, step.data.size()};
    }

    std::deque<Step> m_steps;
    ViStatus m_last;
};

Step Read(LineInput& input, std::size_t size, bool endsAtLineFeed, ViUInt32 timeoutMs = 50) {
    std::string data(size, '\0');
    const Transfer piece = input.Read(data.data(), size, timeoutMs, endsAtLineFeed);
    data.resize(piece.count);
    return {piece.status, data};
}

void Expect(const Step& step, ViStatus status, const std::string& data) {
    EXPECT_EQ(step.status, status);
    EXPECT_EQ(step.data, data);
}

constexpr auto Polled = LineInput::Silence::IsPolled;
constexpr auto Ends = LineInput::Silence::Ends;

} // namespace

TEST(LineInput, SplitsLinesThatArriveTogether) {
    ScriptedReads reads({{VI_SUCCESS, "a\nbc\nd"}}, VI_ERROR_CONN_LOST);
    LineInput input = reads.Input(Polled);
    Expect(Read(input, 100, true), VI_SUCCESS_TERM_CHAR, "a\n");
    Expect(Read(input, 100, true), VI_SUCCESS_TERM_CHAR, "bc\n");
    Expect(Read(input, 100, true), VI_ERROR_TMO, "d");
}

TEST(LineInput, JoinsALineThatArrivesInPieces) {
    ScriptedReads reads({{VI_SUCCESS, "a"},
                         {VI_ERROR_CONN_LOST, ""},
                         {VI_ERROR_CONN_LOST, ""},
                         {VI_SUCCESS, "b\n"}},
                        VI_ERROR_CONN_LOST);
    LineInput input = reads.Input(Polled);
    Expect(Read(input, 100, true, 20000), VI_SUCCESS_TERM_CHAR, "ab\n");
}

TEST(LineInput, EndsAtTheSizeBeforeTheLine) {
    ScriptedReads reads({{VI_SUCCESS, "abcd\n"}}, VI_ERROR_CONN_LOST);
    LineInput input = reads.Input(Polled);
    Expect(Read(input, 2, true), VI_SUCCESS, "ab");
    Expect(Read(input, 3, true), VI_SUCCESS_TERM_CHAR, "cd\n");
}

TEST(LineInput, OverlooksLineFeedsWhenTheyMeanNothing) {
    ScriptedReads reads({{VI_SUCCESS, "a\nb"}, {VI_SUCCESS, "\nc"}}, VI_ERROR_CONN_LOST);
    LineInput input = reads.Input(Polled);
    Expect(Read(input, 5, false), VI_SUCCESS, "a\nb\nc");
    Expect(Read(input, 5, false), VI_ERROR_TMO, "");
}

TEST(LineInput, TakesOneReadWhenATimeOutIsAll) {
    ScriptedReads reads({{VI_SUCCESS, "a"}, {VI_SUCCESS, "b"}}, VI_ERROR_CONN_LOST);
    LineInput input = reads.Input(Polled);
    Expect(Read(input, 5, false, 0), VI_ERROR_TMO, "a");
    Expect(Read(input, 5, false, 0), VI_ERROR_TMO, "b");
}

TEST(LineInput, PassesOnOtherErrors) {
    ScriptedReads reads({{VI_SUCCESS, "a"}}, VI_ERROR_IO);
    LineInput input = reads.Input(Polled);
    Expect(Read(input, 5, true), VI_ERROR_IO, "a");
}

TEST(LineInput, AsksASessionThatIsNotPolledOnce) {
    ScriptedReads reads({{VI_SUCCESS, "FREQ"}, {VI_ERROR_TMO, " = "}, {VI_SUCCESS, "1\n"}},
                        VI_ERROR_CONN_LOST);
    LineInput input = reads.Input(Ends);
    Expect(Read(input, 100, true), VI_SUCCESS, "FREQ");
    Expect(Read(input, 100, true), VI_ERROR_TMO, " = ");
    Expect(Read(input, 100, true), VI_SUCCESS_TERM_CHAR, "1\n");
    Expect(Read(input, 100, true), VI_ERROR_CONN_LOST, "");
}

TEST(LineInput, GivesWhatIsLeftWithoutAskingAgain) {
    ScriptedReads reads({{VI_SUCCESS, "a\n#14data"}}, VI_ERROR_CONN_LOST);
    LineInput input = reads.Input(Ends);
    Expect(Read(input, 100, true), VI_SUCCESS_TERM_CHAR, "a\n");
    Expect(Read(input, 3, false), VI_SUCCESS, "#14");
    Expect(Read(input, 100, false), VI_SUCCESS, "data");
}
