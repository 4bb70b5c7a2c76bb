#include "companions/protodesc/Sessions.h"

#include <gtest/gtest.h>

#include <memory>
#include <set>

using namespace protodesc;

namespace {

std::shared_ptr<const ProtocolDescription> Knowing(const char* name) {
    ProtocolDescription description;
    description.commands.Add(1, {1, name});
    return std::make_shared<const ProtocolDescription>(std::move(description));
}

} // namespace

TEST(Sessions, NewOnesKnowNothing) {
    Sessions sessions;
    const int handle = sessions.Open();
    ASSERT_NE(sessions.Find(handle), nullptr);
    EXPECT_TRUE(sessions.Find(handle)->commands.Entries().empty());
    sessions.Close(handle);
}

TEST(Sessions, HandlesArePositiveAndDifferent) {
    Sessions sessions;
    std::set<int> handles;
    for (int i = 0; i < 100; ++i) {
        const int handle = sessions.Open();
        EXPECT_GT(handle, 0);
        EXPECT_TRUE(handles.insert(handle).second);
    }
    for (const int handle : handles) {
        sessions.Close(handle);
    }
}

TEST(Sessions, AClosedHandleDoesNotComeBackAtOnce) {
    Sessions sessions;
    const int kept = sessions.Open();
    const int closed = sessions.Open();
    sessions.Close(closed);
    const int next = sessions.Open();
    EXPECT_NE(next, closed);
    EXPECT_EQ(sessions.Find(closed), nullptr);
    sessions.Close(kept);
    sessions.Close(next);
    // Neither when all were closed in between.
    const int later = sessions.Open();
    EXPECT_NE(later, kept);
    EXPECT_NE(later, next);
    sessions.Close(later);
}

TEST(Sessions, ReplacesWhatASessionKnows) {
    Sessions sessions;
    const int one = sessions.Open();
    const int other = sessions.Open();
    EXPECT_TRUE(sessions.Replace(one, Knowing("FIRST")));
    const auto held = sessions.Find(one);
    EXPECT_TRUE(sessions.Replace(one, Knowing("SECOND")));
    EXPECT_EQ(sessions.Find(one)->commands.Find(1)->name, "SECOND");
    EXPECT_TRUE(sessions.Find(other)->commands.Entries().empty());
    EXPECT_EQ(held->commands.Find(1)->name, "FIRST");
    sessions.Close(one);
    sessions.Close(other);
    EXPECT_EQ(held->commands.Find(1)->name, "FIRST");
}

TEST(Sessions, UnknownHandlesHaveNothing) {
    Sessions sessions;
    const auto check = [&](int handle) {
        EXPECT_EQ(sessions.Find(handle), nullptr);
        EXPECT_FALSE(sessions.Replace(handle, Knowing("X")));
        sessions.Close(handle);
        EXPECT_EQ(sessions.Find(handle), nullptr);
    };
    check(1);
    const int handle = sessions.Open();
    for (const int unknown : {0, -1, handle + 1, -handle}) {
        check(unknown);
    }
    EXPECT_NE(sessions.Find(handle), nullptr);
    sessions.Close(handle);
    check(handle);
}
