// Stored trees and documents that were made to do harm.

#include "store/array_elements.h"
#include "store/resource_store.h"
#include "tests/store/store_fixture.h"

#include <pthread.h>

using nlohmann::json;

namespace {

constexpr int DEEP = 10000;

json nestedObjects(int depth) {
    json value = {{"End", 1}};
    for (int i = 0; i < depth; ++i) {
        json outer = json::object();
        outer["a"] = std::move(value);
        value = std::move(outer);
    }
    return value;
}

json nestedArrays(int depth) {
    json value = json::array({1});
    for (int i = 0; i < depth; ++i) {
        json outer = json::array();
        outer.push_back(std::move(value));
        value = std::move(outer);
    }
    return value;
}

int depthOf(const json& document) {
    int depth = 0;
    for (const json* value = &document; value->is_structured() && !value->empty();
         value = &*value->begin()) {
        ++depth;
    }
    return depth;
}

// Runs the work on a thread with a stack of 256 KiB, far less than the daemon's threads have.
void onSmallStack(const std::function<void()>& work) {
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, std::size_t{256} << 10), 0);
    pthread_t thread{};
    const auto body = [](void* argument) -> void* {
        (*static_cast<const std::function<void()>*>(argument))();
        return nullptr;
    };
    std::function<void()> copy = work;
    ASSERT_EQ(pthread_create(&thread, &attributes, body, &copy), 0);
    ASSERT_EQ(pthread_join(thread, nullptr), 0);
    (void)pthread_attr_destroy(&attributes);
}

} // namespace

class HostileStore : public StoreFixture {
protected:
    // Reading fails, and the connection is in step with the server afterwards.
    void expectRefused(const std::string& reason) {
        json value;
        EXPECT_EQ(errorsOf([&] { EXPECT_EQ(getResource(context(), "/x", value), -2); }),
                  "[ERROR] " + reason + "\n");
        EXPECT_EQ(client.command("ECHO", "in step").text, "in step");
    }
};

TEST_F(HostileStore, AResourceThatHoldsItselfIsRefused) {
    client.command("HSET", "/x", "&&Object Self /x", "", "Other", "1");
    expectRefused("The resource holds itself. RESOURCE=/x");
}

TEST_F(HostileStore, ALongWayRoundIsRefusedToo) {
    client.command("HSET", "/x", "&&Object A &&/a", "", "&&Object Z &&/z", "");
    client.command("HSET", "&&/a", "&&Array B &&/b", "");
    client.command("RPUSH", "&&/b", "1", "&&Object &&/c", "&&Object &&/d");
    client.command("HSET", "&&/c", "&&Object A &&/a", "");
    expectRefused("The resource holds itself. RESOURCE=&&/a");
}

TEST_F(HostileStore, KeysThatNameEachOtherTwiceAreRefused) {
    for (int i = 0; i < 64; ++i) {
        const std::string next = "&&/k" + std::to_string(i + 1);
        client.command("HSET", i == 0 ? "/x" : "&&/k" + std::to_string(i), "&&Object A " + next, "",
                       "&&Object B " + next, "");
    }
    client.command("HSET", "&&/k64", "N", "1");
    expectRefused("The resource repeats too many of its keys. RESOURCE=&&/k13");
    EXPECT_EQ(removeResource(context(), "/x", true, true), 0);
    EXPECT_TRUE(client.keys().empty());
}

TEST_F(HostileStore, DeepObjectsNeedNoStack) {
    const json document = nestedObjects(DEEP);
    onSmallStack([&] {
        EXPECT_EQ(writeResource(context(), "/x", document), 0);
        json value;
        EXPECT_EQ(getResource(context(), "/x", value), 0);
        EXPECT_EQ(depthOf(value), DEEP + 1);
        EXPECT_EQ(updateResource(context(), "/x", document, nullptr), 0);
        EXPECT_EQ(removeResource(context(), "/x", true, true), 0);
    });
    EXPECT_EQ(client.keys(), std::vector<std::string>{"Array-Member-Sequence-ID"});
}

TEST_F(HostileStore, DeepArraysNeedNoStack) {
    const json document = nestedArrays(DEEP / 10);
    const json styled = arrayStyle(2);
    onSmallStack([&] {
        EXPECT_EQ(writeResource(context(), "/x", document), 0);
        json value;
        EXPECT_EQ(getResource(context(), "/x", value), 0);
        EXPECT_EQ(depthOf(value), DEEP / 10 + 1);
        EXPECT_EQ(updateResource(context(), "/x", document, styled), 0);
        EXPECT_EQ(removeResource(context(), "/x", true, true), 0);
    });
    EXPECT_EQ(client.keys(), std::vector<std::string>{"Array-Member-Sequence-ID"});
}

TEST_F(HostileStore, WideArraysComeBackWhole) {
    json list = json::array();
    for (int i = 0; i < 100000; ++i) {
        list.push_back(i % 10 == 0 ? json{{"N", i}} : json(i));
    }
    EXPECT_EQ(writeResource(context(), "/x", {{"L", list}}), 0);
    json value;
    EXPECT_EQ(getResource(context(), "/x", value), 0);
    EXPECT_EQ(value["L"], list);
}

TEST_F(HostileStore, LongTextsComeBackWhole) {
    const std::string megabyte(1 << 20, '1');
    const json document = {{"Text", megabyte}, {"&&Raw", megabyte}, {"List", {"&&a " + megabyte}}};
    EXPECT_EQ(writeResource(context(), "/x", document), 0);
    client.command("HSET", "/x", "&&" + megabyte + " b", "1", "Digits", megabyte, "Point",
                   megabyte + ".5");
    json value;
    EXPECT_EQ(getResource(context(), "/x", value), 0);
    EXPECT_EQ(value["Text"], megabyte);
    EXPECT_EQ(value["&&Raw"], megabyte);
    EXPECT_EQ(value["List"][0], "&&a " + megabyte);
    EXPECT_EQ(value["Digits"], megabyte);
}

TEST_F(HostileStore, AnyBytesAreReadAndNothingIsAFormat) {
    client.command("HSET", "/x", "N\n%s", "\xff%n", "&&", "&& && &&", "&&Object  k", "");
    client.command("HSET", "/x", std::string("a\0b", 3), std::string("c\0d", 3));
    json value;
    EXPECT_EQ(getResource(context(), "/x", value), 0);
    EXPECT_EQ(value["N\n%s"], "\xff%n");
    EXPECT_EQ(value["&&"], "&& && &&");
    EXPECT_EQ(value[std::string("a\0b", 3)], std::string("c\0d", 3));
}

TEST_F(HostileStore, AKeyWithControlCharactersIsLoggedOnOneLine) {
    const std::string errors = errorsOf([&] {
        EXPECT_EQ(deleteFields(context(), "/x\n[ERROR] \x1b\x7f\xff", "a\r\n"), STORE_NOT_THERE);
    });
    EXPECT_EQ(errors, "[ERROR] Deletes fields failed. RESOURCE=/x?[ERROR] ??\xff"
                      "FIELDS=a??\n");
}

TEST_F(HostileStore, AListThatHoldsItselfIsFilledOnce) {
    client.command("RPUSH", "/x", "&&Array /x", "1");
    const json styled = arrayStyle(1, 4, true);
    EXPECT_EQ(updateResource(context(), "/x", {json::object(), 2}, styled), 0);
    EXPECT_EQ(client.list("/x"), (std::vector<std::string>{"&&Array /x", "2", "null", "null"}));
}

TEST_F(HostileStore, AnUpdateOfAResourceThatHoldsItselfEnds) {
    client.command("HSET", "/x", "&&Array L /x/list", "", "&&Object O /x", "");
    client.command("RPUSH", "/x/list", "&&Object /x", "&&Array /x/list");
    EXPECT_EQ(updateResource(context(), "/x", {{"O", {{"L", {1}}}}, {"L", {2}}}, nullptr), 0);
    EXPECT_EQ(client.command("ECHO", "in step").text, "in step");
    EXPECT_EQ(writeResource(context(), "/x", {{"N", 1}}), 0);
    EXPECT_EQ(client.hash("/x"), (std::map<std::string, std::string>{{"N", "1"}}));
}

TEST_F(HostileStore, DeepObjectsAreMergedWithoutStack) {
    const json document = nestedObjects(DEEP / 10);
    const json styled = arrayStyle(1);
    onSmallStack([&] { EXPECT_EQ(updateResource(context(), "/x", document, styled), 0); });
    json value;
    EXPECT_EQ(getResource(context(), "/x", value), 0);
    EXPECT_EQ(depthOf(value), DEEP / 10 + 1);
}
