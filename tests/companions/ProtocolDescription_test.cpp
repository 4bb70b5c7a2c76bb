#include "companions/protodesc/ProtocolDescription.h"

#include <gtest/gtest.h>

#include <string>

using namespace protodesc;

TEST(UpperCased, ChangesAsciiLettersOnly) {
    EXPECT_EQ(UpperCased("azAZ09_"), "AZAZ09_");
    EXPECT_EQ(UpperCased("`{@["), "`{@[");
    EXPECT_EQ(UpperCased("\xC3\xA4\xE4\xFF"), "\xC3\xA4\xE4\xFF");
    EXPECT_EQ(UpperCased(""), "");
}

TEST(Table, FindsByNumberAndByNameInAnyCase) {
    Table<Command> table;
    table.Add(3, {3, "Set"});
    table.Add(0, {0, "NOTHING"});
    ASSERT_NE(table.Find(3), nullptr);
    EXPECT_EQ(table.Find(3)->name, "Set");
    for (const std::string_view name : {"SET", "set", "Set", "sEt"}) {
        ASSERT_NE(table.Find(name), nullptr) << name;
        EXPECT_EQ(table.Find(name)->id, 3) << name;
    }
    EXPECT_EQ(table.Find("nothing")->id, 0);
}

TEST(Table, HasNothingElse) {
    Table<Command> table;
    EXPECT_EQ(table.Find(0), nullptr);
    EXPECT_EQ(table.Find(std::string_view()), nullptr);
    table.Add(3, {3, "SET"});
    for (const int number : {0, 2, 4, -3, 0x10003}) {
        EXPECT_EQ(table.Find(number), nullptr) << number;
    }
    for (const std::string_view name : {"", "SE", "SETS", " SET", "SET "}) {
        EXPECT_EQ(table.Find(name), nullptr) << name;
    }
}

TEST(Table, KeepsTheOrderOfTheFile) {
    Table<Command> table;
    table.Add(9, {9, "B"});
    table.Add(1, {1, "A"});
    ASSERT_EQ(table.Entries().size(), 2U);
    EXPECT_EQ(table.Entries()[0].name, "B");
    EXPECT_EQ(table.Entries()[1].name, "A");
}

TEST(ProtocolDescription, FindsErrorsByTheirLow16Bits) {
    ProtocolDescription description;
    description.errors.Add(0x8005, {0x8005, "SHORT", "SHORT=too short"});
    for (const int code : {0x8005, -32763, 0x18005, 0x7FFF8005}) {
        ASSERT_NE(description.FindError(code), nullptr) << code;
        EXPECT_EQ(description.FindError(code)->label, "SHORT=too short");
    }
    for (const int code : {0, 5, 0x8004, -0x8005}) {
        EXPECT_EQ(description.FindError(code), nullptr) << code;
    }
}
