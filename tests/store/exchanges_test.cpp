// How often the store waits for the server: the commands of one level, or of one document, go out
// together. The server counts how often it has read from a connection.

#include "store/resource_store.h"
#include "tests/store/store_fixture.h"

using nlohmann::json;

class Exchanges : public StoreFixture {
protected:
    // Three levels of keys, with several keys on the second and the third.
    const json document = json::parse(
        R"({"A":{"N":1},"B":[{"N":1},{"N":2},[3]],"C":{"D":{"N":1},"E":[1,2]},"S":"text"})");
};

TEST_F(Exchanges, AReadCostsOneForTheTypeAndOneForEachLevel) {
    ASSERT_EQ(writeResource(context(), "/x", document), STORE_OK);
    json value;
    EXPECT_EQ(exchangesOf([&] { EXPECT_EQ(getResource(context(), "/x", value), STORE_OK); }), 4);
    EXPECT_EQ(value, document);
    EXPECT_EQ(exchangesOf([&] { EXPECT_NE(getResource(context(), "/no", value), STORE_OK); }), 1);
}

TEST_F(Exchanges, ARemovalCostsOneMoreThanAReadForAllKeys) {
    ASSERT_EQ(writeResource(context(), "/x", document), STORE_OK);
    EXPECT_EQ(exchangesOf([&] { EXPECT_EQ(removeResource(context(), "/x", true, true), 0); }), 5);
}

TEST_F(Exchanges, ARemovalOfTheTopAloneReadsNoLevel) {
    ASSERT_EQ(writeResource(context(), "/x", document), STORE_OK);
    EXPECT_EQ(exchangesOf([&] { EXPECT_EQ(removeResource(context(), "/x", false, true), 0); }), 2);
}

TEST_F(Exchanges, AWholeDocumentIsWrittenInOne) {
    // The type, the counter, the document, the counter again.
    EXPECT_EQ(exchangesOf([&] { EXPECT_EQ(writeResource(context(), "/x", document), 0); }), 4);
    json value;
    EXPECT_EQ(getResource(context(), "/x", value), STORE_OK);
    EXPECT_EQ(value, document);
}

TEST_F(Exchanges, AWriteWithoutElementKeysWritesNoCounter) {
    EXPECT_EQ(exchangesOf([&] {
                  EXPECT_EQ(writeResource(context(), "/x", {{"A", 1}, {"B", {{"C", 2}}}}), 0);
              }),
              3);
    EXPECT_EQ(exchangesOf([&] { EXPECT_EQ(writeResource(context(), "/y", json::object()), 0); }),
              2);
}

TEST_F(Exchanges, AnUpdateWithoutConfigurationWritesInOne) {
    EXPECT_EQ(
        exchangesOf([&] {
            EXPECT_EQ(updateResource(context(), "/x", {{"A", 1}, {"B", {{"C", 2}}}}, nullptr), 0);
        }),
        2);
}

TEST_F(Exchanges, AnUpdateWithConfigurationSendsEachCommandByItself) {
    const json styled = {{"ArrayStyle", 2}, {"ArrayMaxSize", 0}, {"ArrayNullElement", false}};
    const long exchanges = exchangesOf([&] {
        // INCR, HSET of the marker, LRANGE, and one for each element.
        EXPECT_EQ(updateResource(context(), "/x", {{"L", {1, 2, 3}}}, styled), 0);
    });
    EXPECT_EQ(exchanges, 6);
}
