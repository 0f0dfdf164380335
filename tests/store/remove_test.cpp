// Removing resources with everything that belongs to them.

#include "store/resource_keys.h"
#include "store/resource_store.h"
#include "tests/store/store_fixture.h"

class RemoveResource : public StoreFixture {
protected:
    // A resource of two levels with a reference.
    void storeTree() {
        client.command("HSET", "/x", "N", "1", "&&Object O &&/x/O", "");
        client.command("HSET", "/x", "&&Array A &&/x/A", "", "&&ObjectRef R /y", "");
        client.command("HSET", "&&/x/O", "N", "1");
        client.command("RPUSH", "&&/x/A", "&&Object &&/x/A/1", "&&ObjectRef /y", "2");
        client.command("HSET", "&&/x/A/1", "N", "1");
        client.command("HSET", "/y", "N", "1");
    }
};

TEST_F(RemoveResource, UnlinksTheWholeTreeInOnePipeline) {
    storeTree();
    EXPECT_EQ(commandsOf([&] { EXPECT_EQ(removeResource(context(), "/x", true, true), 0); }),
              "TYPE /x\n"
              "HGETALL /x\n"
              "HGETALL &&/x/O\n"
              "LRANGE &&/x/A 0 -1\n"
              "HGETALL &&/x/A/1\n"
              "UNLINK /x\n"
              "UNLINK &&/x/O\n"
              "UNLINK &&/x/A\n"
              "UNLINK &&/x/A/1\n");
    EXPECT_EQ(client.keys(), std::vector<std::string>{"/y"});
}

TEST_F(RemoveResource, CanLeaveTheTop) {
    storeTree();
    EXPECT_EQ(removeResource(context(), "/x", true, false), 0);
    EXPECT_EQ(client.keys(), (std::vector<std::string>{"/x", "/y"}));
}

TEST_F(RemoveResource, CanLeaveWhatIsBelow) {
    storeTree();
    EXPECT_EQ(commandsOf([&] { EXPECT_EQ(removeResource(context(), "/x", false, true), 0); }),
              "TYPE /x\nUNLINK /x\n");
}

TEST_F(RemoveResource, SendsNothingForAMissingResource) {
    EXPECT_EQ(commandsOf([&] { EXPECT_EQ(removeResource(context(), "/x", true, true), -2); }),
              "TYPE /x\n");
    client.command("SET", "/text", "1");
    EXPECT_EQ(removeResource(context(), "/text", true, true), -2);
}

TEST_F(RemoveResource, UnlinksAKeyOfTwoMarkersOnce) {
    client.command("HSET", "/x", "&&Object A &&/k", "", "&&Object B &&/k", "");
    client.command("HSET", "&&/k", "N", "1");
    EXPECT_EQ(commandsOf([&] { EXPECT_EQ(removeResource(context(), "/x", true, true), 0); }),
              "TYPE /x\nHGETALL /x\nHGETALL &&/k\nUNLINK /x\nUNLINK &&/k\n");
}

TEST_F(RemoveResource, EndsWithMarkersThatNameEachOther) {
    client.command("HSET", "/x", "&&Object A &&/k", "");
    client.command("HSET", "&&/k", "&&Object B /x", "", "&&Array L /x", "", "&&Object C &&/k", "");
    EXPECT_EQ(commandsOf([&] { EXPECT_EQ(removeResource(context(), "/x", true, true), 0); }),
              "TYPE /x\nHGETALL /x\nHGETALL &&/k\nUNLINK /x\nUNLINK &&/k\n");
    EXPECT_TRUE(client.keys().empty());
}

TEST_F(RemoveResource, RemovesAKeyOfAnotherTypeBelow) {
    client.command("HSET", "/x", "&&Object A &&/k", "");
    client.command("SET", "&&/k", "text");
    EXPECT_EQ(removeResource(context(), "/x", true, true), 0);
    EXPECT_TRUE(client.keys().empty());
}

TEST_F(RemoveResource, WalksAKeyOfBothKindsAsTheKindThatItIs) {
    for (const bool objectFirst : {true, false}) {
        for (const bool isHash : {true, false}) {
            client.command("HSET", "/x", objectFirst ? "&&Object A &&/k" : "&&Array A &&/k", "");
            client.command("HSET", "/x", objectFirst ? "&&Array A &&/k" : "&&Object A &&/k", "");
            if (isHash) {
                client.command("HSET", "&&/k", "&&Object N &&/k/N", "");
            } else {
                client.command("RPUSH", "&&/k", "&&Object &&/k/N");
            }
            client.command("HSET", "&&/k/N", "M", "1");
            EXPECT_EQ(errorsOf([&] { EXPECT_EQ(removeResource(context(), "/x", true, true), 0); }),
                      "");
            EXPECT_TRUE(client.keys().empty());
        }
    }
}

TEST_F(RemoveResource, CollectsTheTopOnlyOrAll) {
    storeTree();
    KeyList top;
    EXPECT_EQ(collectResourceKeys(context(), "/x", false, top), 0);
    EXPECT_EQ(top.size(), 1U);
    KeyList keys;
    EXPECT_EQ(collectResourceKeys(context(), "/x", true, keys), 0);
    ASSERT_EQ(keys.size(), 4U);
    EXPECT_EQ(keys[2].key, "&&/x/A");
    EXPECT_EQ(keys[2].kind, KeyKind::LIST);
}
