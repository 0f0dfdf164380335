// The small operations on lists and hashes.

#include "store/array_elements.h"
#include "store/resource_store.h"
#include "tests/store/store_fixture.h"

class ArrayElements : public StoreFixture {};

TEST_F(ArrayElements, LengthOfAList) {
    client.command("RPUSH", "/l", "1", "2");
    client.command("SET", "/text", "1");
    long long count = -1;
    EXPECT_EQ(commandsOf([&] { EXPECT_TRUE(getArrayLength(context(), "/l", count)); }),
              "LLEN /l\n");
    EXPECT_EQ(count, 2);
    EXPECT_TRUE(getArrayLength(context(), "/missing", count));
    EXPECT_EQ(count, 0);
    EXPECT_FALSE(getArrayLength(context(), "/text", count));
}

TEST_F(ArrayElements, DeletesAField) {
    client.command("HSET", "/h", "a b", "1", "c", "2");
    EXPECT_EQ(commandsOf([&] { EXPECT_EQ(deleteFields(context(), "/h", "a b"), 0); }),
              "HDEL /h \"a b\"\n");
    EXPECT_EQ(errorsOf([&] { EXPECT_EQ(deleteFields(context(), "/h", "a b"), -6); }),
              "[ERROR] Deletes fields failed. RESOURCE=/hFIELDS=a b\n");
    client.command("SET", "/text", "1");
    EXPECT_EQ(deleteFields(context(), "/text", "a"), 0);
}

TEST_F(ArrayElements, RemovesElements) {
    client.command("RPUSH", "/l", "a", "b", "a");
    EXPECT_EQ(commandsOf([&] { EXPECT_EQ(removeArrayElement(context(), "/l", 0, "a"), 0); }),
              "LREM /l 0 a\n");
    EXPECT_EQ(client.list("/l"), std::vector<std::string>{"b"});
    EXPECT_EQ(errorsOf([&] { EXPECT_EQ(removeArrayElement(context(), "/l", 0, "a"), -6); }),
              "[ERROR] Remove array element failed. RESOURCE=/l, ELEMENT=a\n");
}

TEST_F(ArrayElements, ClearsAnArrayWithWhatItsElementsHold) {
    client.command("HSET", "/x", "&&Array A &&/x/A", "");
    client.command("RPUSH", "&&/x/A", "&&Object &&/x/A/1", "2");
    client.command("HSET", "&&/x/A/1", "N", "1");
    EXPECT_EQ(commandsOf([&] { EXPECT_EQ(clearArrayElements(context(), "/x", "A", true), 0); }),
              "TYPE /x\n"
              "HGETALL /x\n"
              "LRANGE &&/x/A 0 -1\n"
              "HGETALL &&/x/A/1\n"
              "LLEN &&/x/A\n"
              "TYPE &&/x/A\n"
              "LRANGE &&/x/A 0 -1\n"
              "HGETALL &&/x/A/1\n"
              "UNLINK &&/x/A/1\n"
              "LTRIM &&/x/A 3 0\n");
    EXPECT_EQ(client.keys(), std::vector<std::string>{"/x"});
}

TEST_F(ArrayElements, ClearingCanLeaveWhatElementsHold) {
    client.command("HSET", "/x", "&&Array A &&/x/A", "");
    client.command("RPUSH", "&&/x/A", "&&Object &&/x/A/1");
    client.command("HSET", "&&/x/A/1", "N", "1");
    EXPECT_EQ(clearArrayElements(context(), "/x", "A", false), 0);
    EXPECT_EQ(client.keys(), (std::vector<std::string>{"&&/x/A/1", "/x"}));
}

TEST_F(ArrayElements, ClearingReportsWhatIsNotThere) {
    client.command("HSET", "/x", "N", "1");
    client.command("HSET", "/y", "&&Array A &&/y/A", "");
    client.command("SET", "&&/y/A", "text");
    client.command("SET", "/text", "1");
    EXPECT_EQ(errorsOf([&] { EXPECT_EQ(clearArrayElements(context(), "/no", "A", true), -2); }),
              "");
    EXPECT_EQ(errorsOf([&] { EXPECT_EQ(clearArrayElements(context(), "/text", "A", true), -3); }),
              "[ERROR] Gets the resource type failed.\n");
    EXPECT_EQ(errorsOf([&] { EXPECT_EQ(clearArrayElements(context(), "/x", "A", true), -5); }),
              "[ERROR] Gets array element count failed.\n");
    EXPECT_EQ(errorsOf([&] { EXPECT_EQ(clearArrayElements(context(), "/y", "A", true), -5); }),
              "[ERROR] Gets array element count failed.\n");
}

TEST_F(ArrayElements, EveryCommandReportsAMissingServer) {
    server.stop();
    long long count = 0;
    EXPECT_EQ(errorsOf([&] { EXPECT_FALSE(getArrayLength(context(), "/l", count)); }),
              "[ERROR] The redis LLEN command failed with NULL result. URI=/l\n");
    EXPECT_EQ(errorsOf([&] { EXPECT_EQ(deleteFields(context(), "/h", "a"), -2); }),
              "[ERROR] The redis HDEL command failed with NULL result.\n");
    EXPECT_EQ(errorsOf([&] { EXPECT_EQ(removeArrayElement(context(), "/l", 0, "a"), -2); }),
              "[ERROR] The redis LREM command failed with NULL result.\n");
}
