#include "tools/emulator/ErrorQueue.h"

#include <gtest/gtest.h>

using emulator::ErrorCode;
using emulator::ErrorQueue;

namespace {

ErrorQueue FullQueue() {
    ErrorQueue queue;
    for (std::size_t i = 0; i < ErrorQueue::Depth; ++i) {
        queue.Push(i % 2 == 0 ? ErrorCode::SyntaxError : ErrorCode::UndefinedHeader);
    }
    return queue;
}

} // namespace

TEST(ErrorQueue, EmptyQueueGivesNoError) {
    ErrorQueue queue;
    EXPECT_TRUE(queue.Empty());
    EXPECT_EQ(queue.Count(), 0U);
    EXPECT_EQ(queue.Pop(), ErrorCode::NoError);
}

TEST(ErrorQueue, OldestErrorComesFirst) {
    ErrorQueue queue;
    queue.Push(ErrorCode::UndefinedHeader);
    queue.Push(ErrorCode::DataOutOfRange);
    EXPECT_EQ(queue.Count(), 2U);
    EXPECT_EQ(queue.Pop(), ErrorCode::UndefinedHeader);
    EXPECT_EQ(queue.Pop(), ErrorCode::DataOutOfRange);
    EXPECT_EQ(queue.Pop(), ErrorCode::NoError);
}

TEST(ErrorQueue, HoldsAsManyErrorsAsItsDepth) {
    ErrorQueue queue = FullQueue();
    EXPECT_EQ(queue.Count(), 20U);
    for (std::size_t i = 0; i < ErrorQueue::Depth; ++i) {
        EXPECT_EQ(queue.Pop(), i % 2 == 0 ? ErrorCode::SyntaxError : ErrorCode::UndefinedHeader);
    }
    EXPECT_TRUE(queue.Empty());
}

TEST(ErrorQueue, OverflowReplacesTheNewestEntry) {
    ErrorQueue queue = FullQueue();
    queue.Push(ErrorCode::DataOutOfRange);
    queue.Push(ErrorCode::DataOutOfRange);
    EXPECT_EQ(queue.Count(), ErrorQueue::Depth);
    for (std::size_t i = 0; i + 1 < ErrorQueue::Depth; ++i) {
        EXPECT_NE(queue.Pop(), ErrorCode::QueueOverflow);
    }
    EXPECT_EQ(queue.Pop(), ErrorCode::QueueOverflow);
    EXPECT_EQ(queue.Pop(), ErrorCode::NoError);
}

TEST(ErrorQueue, TakesErrorsAgainAfterOverflow) {
    ErrorQueue queue = FullQueue();
    queue.Push(ErrorCode::DataOutOfRange);
    queue.Pop();
    queue.Push(ErrorCode::DataTypeError);
    for (std::size_t i = 0; i + 1 < ErrorQueue::Depth; ++i) {
        queue.Pop();
    }
    EXPECT_EQ(queue.Pop(), ErrorCode::DataTypeError);
}

TEST(ErrorQueue, ClearEmptiesIt) {
    ErrorQueue queue = FullQueue();
    queue.Clear();
    EXPECT_TRUE(queue.Empty());
    EXPECT_EQ(queue.Pop(), ErrorCode::NoError);
}
