#include "tools/emulator/RecordAssembler.h"

#include "emulator/RpcRecords.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

using emulator::RecordAssembler;
using Outcome = RecordAssembler::Outcome;
using rpc_records::Marked;
using rpc_records::Word;
using rpc_records::Zeros;
using testing::ElementsAre;

namespace {

// Every record in the input, which arrives in pieces; "overrun" ends them.
std::vector<std::string> Records(const std::string& input, std::size_t piece,
                                 RecordAssembler assembler = RecordAssembler()) {
    std::vector<std::string> records;
    for (std::size_t at = 0; at < input.size(); at += piece) {
        std::string_view rest = std::string_view(input).substr(at, piece);
        for (;;) {
            std::string_view record;
            const Outcome outcome = assembler.Take(rest, record);
            if (outcome == Outcome::NeedMore) {
                EXPECT_EQ(rest, "");
                break;
            }
            if (outcome == Outcome::Overrun) {
                records.emplace_back("overrun");
                return records;
            }
            records.emplace_back(record);
        }
    }
    return records;
}

} // namespace

TEST(RecordAssembler, FindsRecordsHoweverTheyAreSplit) {
    const std::string input = Marked("abcd") + Marked("") + Marked("0123456789");
    for (std::size_t piece = 1; piece <= input.size(); ++piece) {
        EXPECT_THAT(Records(input, piece), ElementsAre("abcd", "", "0123456789")) << piece;
    }
}

TEST(RecordAssembler, JoinsFragments) {
    const std::string input =
        Word(2) + "ab" + Word(0) + Word(3) + "cde" + Marked("f") + Marked("g");
    EXPECT_THAT(Records(input, 1), ElementsAre("abcdef", "g"));
    EXPECT_THAT(Records(input, input.size()), ElementsAre("abcdef", "g"));
}

// The sessions of the library send 24 zeros behind every device_read.
TEST(RecordAssembler, SurplusZerosAreEmptyFragmentsOfTheNextRecordOnPurpose) {
    const std::string input = Marked("read") + Zeros(24) + Marked("next");
    EXPECT_THAT(Records(input, 5), ElementsAre("read", "next"));
    EXPECT_THAT(Records(input, input.size()), ElementsAre("read", "next"));
}

TEST(RecordAssembler, WaitsForTheRestOfARecord) {
    EXPECT_THAT(Records(Marked("abcd").substr(0, 7), 3), ElementsAre());
    EXPECT_THAT(Records(Zeros(24), 24), ElementsAre());
}

TEST(RecordAssembler, LongestRecordIsTaken) {
    const std::string longest(RecordAssembler::MaxLength, 'x');
    const std::string mark = Word(0x80000000U | RecordAssembler::MaxLength);
    EXPECT_THAT(Records(mark + longest, 16384), ElementsAre(longest));
}

TEST(RecordAssembler, NothingIsTakenAfterARecordThatIsTooLong) {
    const RecordAssembler small(8);
    EXPECT_THAT(Records(Word(0x80000009U) + "123456789" + Marked("ab"), 100, small),
                ElementsAre("overrun"));
    EXPECT_THAT(Records(Word(0xFFFFFFFFU), 1, small), ElementsAre("overrun"));
    EXPECT_THAT(Records(Word(4) + "abcd" + Word(5), 1, small), ElementsAre("overrun"));
    EXPECT_THAT(Records(Word(4) + "abcd" + Marked("efgh"), 1, small), ElementsAre("abcdefgh"));
}

TEST(RecordAssembler, AnOverrunStays) {
    RecordAssembler assembler(4);
    std::string_view record;
    const std::string first = Word(5);
    const std::string second = Marked("ab");
    std::string_view input = first;
    EXPECT_EQ(assembler.Take(input, record), Outcome::Overrun);
    input = second;
    EXPECT_EQ(assembler.Take(input, record), Outcome::Overrun);
}
