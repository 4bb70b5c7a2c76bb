#include "tools/emulator/ErrorCode.h"

#include <gtest/gtest.h>

using emulator::ErrorCode;
using emulator::ErrorText;
using emulator::EventBit;

TEST(ErrorCode, TextsAreThoseOfTheStandardErrors) {
    EXPECT_EQ(ErrorText(ErrorCode::NoError), "No error");
    EXPECT_EQ(ErrorText(ErrorCode::InvalidCharacter), "Invalid character");
    EXPECT_EQ(ErrorText(ErrorCode::SyntaxError), "Syntax error");
    EXPECT_EQ(ErrorText(ErrorCode::DataTypeError), "Data type error");
    EXPECT_EQ(ErrorText(ErrorCode::ParameterNotAllowed), "Parameter not allowed");
    EXPECT_EQ(ErrorText(ErrorCode::MissingParameter), "Missing parameter");
    EXPECT_EQ(ErrorText(ErrorCode::HeaderSeparatorError), "Header separator error");
    EXPECT_EQ(ErrorText(ErrorCode::UndefinedHeader), "Undefined header");
    EXPECT_EQ(ErrorText(ErrorCode::InvalidStringData), "Invalid string data");
    EXPECT_EQ(ErrorText(ErrorCode::DataOutOfRange), "Data out of range");
    EXPECT_EQ(ErrorText(ErrorCode::IllegalParameterValue), "Illegal parameter value");
    EXPECT_EQ(ErrorText(ErrorCode::DataCorruptOrStale), "Data corrupt or stale");
    EXPECT_EQ(ErrorText(ErrorCode::QueueOverflow), "Queue overflow");
    EXPECT_EQ(ErrorText(ErrorCode::InputBufferOverrun), "Input buffer overrun");
    EXPECT_EQ(ErrorText(ErrorCode::QueryInterrupted), "Query INTERRUPTED");
    EXPECT_EQ(ErrorText(ErrorCode::QueryUnterminated), "Query UNTERMINATED");
}

TEST(ErrorCode, ClassDecidesTheEventBit) {
    EXPECT_EQ(EventBit(ErrorCode::NoError), 0);
    EXPECT_EQ(EventBit(ErrorCode::UndefinedHeader), 32);
    EXPECT_EQ(EventBit(ErrorCode::InvalidStringData), 32);
    EXPECT_EQ(EventBit(ErrorCode::DataOutOfRange), 16);
    EXPECT_EQ(EventBit(ErrorCode::InputBufferOverrun), 8);
    EXPECT_EQ(EventBit(ErrorCode::QueryInterrupted), 4);
    EXPECT_EQ(EventBit(ErrorCode::QueryUnterminated), 4);
}
