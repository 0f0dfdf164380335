// The counter that names the nested keys of array elements.

#include "store/sequence_id.h"
#include "tests/store/store_fixture.h"

using SequenceId = StoreFixture;

TEST_F(SequenceId, IsAdvancedAtomically) {
    setCounter("41");
    std::int64_t id = 0;
    EXPECT_EQ(commandsOf([&] { id = nextArraySequenceId(context()); }),
              "INCR Array-Member-Sequence-ID\n");
    EXPECT_EQ(id, 42);
}

TEST_F(SequenceId, StartsAtOne) {
    EXPECT_EQ(nextArraySequenceId(context()), 1);
}

TEST_F(SequenceId, IsResetWhenItCannotBeAdvanced) {
    for (const char* counter : {"rubbish", "9223372036854775807"}) {
        setCounter(counter);
        EXPECT_EQ(commandsOf([&] { EXPECT_EQ(nextArraySequenceId(context()), 1); }),
                  "INCR Array-Member-Sequence-ID\nSET Array-Member-Sequence-ID 1\n");
        EXPECT_EQ(client.command("GET", "Array-Member-Sequence-ID").text, "1");
    }
}

TEST_F(SequenceId, IsMissingWhenEvenTheResetFails) {
    client.command("CONFIG", "SET", "min-replicas-to-write", "1");
    EXPECT_EQ(nextArraySequenceId(context()), NO_SEQUENCE_ID);
    EXPECT_FALSE(setArraySequenceId(context(), 5));
}

TEST_F(SequenceId, KeepsTheLastIdUsed) {
    EXPECT_EQ(commandsOf([&] { EXPECT_TRUE(setArraySequenceId(context(), 43)); }),
              "SET Array-Member-Sequence-ID 42\n");
}

TEST_F(SequenceId, StartsAgainOutsideItsRange) {
    for (const std::int64_t nextFree :
         {INT64_MAX, std::int64_t{1}, std::int64_t{0}, std::int64_t{-1}}) {
        EXPECT_EQ(commandsOf([&] { EXPECT_TRUE(setArraySequenceId(context(), nextFree)); }),
                  "SET Array-Member-Sequence-ID 1\n")
            << nextFree;
    }
    EXPECT_EQ(commandsOf([&] { EXPECT_TRUE(setArraySequenceId(context(), INT64_MAX - 1)); }),
              "SET Array-Member-Sequence-ID 9223372036854775805\n");
    EXPECT_EQ(commandsOf([&] { EXPECT_TRUE(setArraySequenceId(context(), 2)); }),
              "SET Array-Member-Sequence-ID 1\n");
}

TEST_F(SequenceId, WrapsBehindTheLargest) {
    EXPECT_EQ(followingSequenceId(41), 42);
    EXPECT_EQ(followingSequenceId(INT64_MAX - 1), INT64_MAX);
    EXPECT_EQ(followingSequenceId(INT64_MAX), 1);
}
