#include "brix/Head.h"

#include <gtest/gtest.h>

#include <cstring>
#include <new>

namespace {

constexpr int Mismatch = -32765;
constexpr int TooShort = -32763;
constexpr int BadLength = -32755;
constexpr int BadSignature = -32754;

CHead Head(std::uint16_t command, std::uint16_t bodyLen) {
    CHead head;
    head.Command = command;
    head.BodyLen = bodyLen;
    head.Dummy = 0;
    head.ID = 0;
    return head;
}

CHead WithFlags(short num, short len, short frac, std::uint16_t bodyLen) {
    CHead head = Head(3, bodyLen);
    head.SetFlags(num, len, frac);
    return head;
}

} // namespace

TEST(Head, StartsWithTheSignatureAndNothingElse) {
    CHead head;
    EXPECT_EQ(head.Signature, 0x55AA);
    EXPECT_EQ(head.Status, 0);
    EXPECT_EQ(head.BodyLen, 0);
    EXPECT_EQ(head.Flags, 0);
}

TEST(Head, LeavesCommandDummyAndIdUnsetOnPurpose) {
    alignas(CHead) unsigned char memory[sizeof(CHead)];
    std::memset(memory, 0x5A, sizeof memory);
    new (memory) CHead;
    for (const int offset : {2, 3, 10, 11, 16, 23}) {
        EXPECT_EQ(memory[offset], 0x5A) << offset;
    }
}

TEST(Head, AssignmentLeavesDummyOnPurpose) {
    CHead from = WithFlags(1, 2, 1, 4);
    from.Signature = 1;
    from.Command = 2;
    from.Status = -3;
    from.Dummy = 77;
    from.ID = -1234567890123;
    CHead to = Head(9, 9);
    to.Dummy = 5;
    EXPECT_EQ(&(to = from), &to);
    EXPECT_EQ(to.Signature, 1);
    EXPECT_EQ(to.Command, 2);
    EXPECT_EQ(to.Status, -3);
    EXPECT_EQ(to.BodyLen, 4);
    EXPECT_EQ(to.Flags, from.Flags);
    EXPECT_EQ(to.ID, -1234567890123);
    EXPECT_EQ(to.Dummy, 5);
}

TEST(Head, FlagsHoldNumberSizeAndFraction) {
    CHead head;
    head.SetFlags(255, 15, 14);
    EXPECT_EQ(head.Flags, 0xFEFF);
    EXPECT_EQ(head.NumParam(), 255);
    EXPECT_EQ(head.LenParam(), 15);
    EXPECT_EQ(head.FracParam(), 14);
}

TEST(Head, WhatDoesNotFitTheFlagsIsCutOff) {
    CHead head;
    head.SetFlags(0x1FF, 0x14, 0x12);
    EXPECT_EQ(head.NumParam(), 255);
    EXPECT_EQ(head.LenParam(), 4);
    EXPECT_EQ(head.FracParam(), 2);
    head.SetFlags(-1, -1, -1);
    EXPECT_EQ(head.Flags, 0xFFFF);
}

TEST(HeadCheckLength, SignatureComesFirst) {
    CHead head = Head(3, 1);
    head.Signature = 0x55AB;
    EXPECT_EQ(head.Check(0), BadSignature);
}

TEST(HeadCheckLength, OddBodiesAreRefused) {
    EXPECT_EQ(Head(1, 3).Check(1000), BadLength);
    EXPECT_EQ(Head(1, 4).Check(1000), 0);
}

TEST(HeadCheckLength, CountsAHeaderOf24BytesOnPurpose) {
    EXPECT_EQ(Head(1, 4).Check(27), BadLength);
    EXPECT_EQ(Head(1, 4).Check(28), 0);
    EXPECT_EQ(Head(1, 0).Check(16), BadLength);
    EXPECT_EQ(Head(1, 65534).Check(65535), BadLength);
}

TEST(HeadCheckLength, ParameterCommandsNeedTheirBodies) {
    EXPECT_EQ(Head(3, 0).Check(100), TooShort);
    EXPECT_EQ(Head(3, 2).Check(100), TooShort);
    EXPECT_EQ(Head(3, 4).Check(100), 0);
    EXPECT_EQ(Head(4, 0).Check(100), TooShort);
    EXPECT_EQ(Head(4, 2).Check(100), 0);
    EXPECT_EQ(Head(7, 0).Check(100), 0);
    EXPECT_EQ(Head(6, 0).Check(100), 0);
}

TEST(HeadCheckValues, NothingIsComparedWithNegativeNumbers) {
    EXPECT_EQ(Head(0, 0).Check(-1, -1, -1, false), 0);
    EXPECT_EQ(WithFlags(7, 3, 1, 0).Check(-1, -1, -1, false), 0);
}

TEST(HeadCheckValues, SizeAndFractionMustMatch) {
    CHead head = WithFlags(1, 4, 2, 6);
    EXPECT_EQ(head.Check(-1, 4, 2, true), 0);
    EXPECT_EQ(head.Check(-1, 3, 2, true), Mismatch);
    EXPECT_EQ(head.Check(-1, 4, 1, true), Mismatch);
    EXPECT_EQ(head.Check(-1, 0, -1, false), Mismatch);
}

TEST(HeadCheckValues, TheBodyMustHoldIdentifierAndValuesRoundedUp) {
    EXPECT_EQ(WithFlags(3, 1, 0, 4).Check(-1, -1, -1, true), TooShort);
    EXPECT_EQ(WithFlags(3, 1, 0, 6).Check(-1, -1, -1, true), 0);
    EXPECT_EQ(WithFlags(0, 0, 0, 1).Check(-1, -1, -1, true), TooShort);
    EXPECT_EQ(WithFlags(0, 0, 0, 2).Check(-1, -1, -1, true), 0);
    EXPECT_EQ(WithFlags(255, 15, 0, 3826).Check(-1, -1, -1, true), TooShort);
    EXPECT_EQ(WithFlags(255, 15, 0, 3828).Check(-1, -1, -1, true), 0);
    EXPECT_EQ(WithFlags(255, 15, 0, 0).Check(-1, -1, -1, false), 0);
}

TEST(HeadCheckValues, CountsAreComparedLast) {
    CHead head = WithFlags(3, 2, 0, 8);
    EXPECT_EQ(head.Check(3, 2, 0, true), 0);
    EXPECT_EQ(head.Check(4, 2, 0, true), Mismatch);
    EXPECT_EQ(head.Check(2, 2, 0, true), 2);
    EXPECT_EQ(head.Check(0, 2, 0, true), 2);
    head.BodyLen = 6;
    EXPECT_EQ(head.Check(4, 2, 0, true), TooShort);
}
