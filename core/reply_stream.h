#pragma once

// Replies read as they arrive: the elements of an array are passed on one by one, straight from the
// connection's read buffer, and nothing is kept or allocated for them.

#include <hiredis/hiredis.h>

#include <cstddef>
#include <string>
#include <string_view>

// Takes the elements of an array. This one ignores them.
class ReplyElements {
public:
    ReplyElements() = default;
    virtual ~ReplyElements() = default;
    ReplyElements(const ReplyElements&) = delete;
    ReplyElements& operator=(const ReplyElements&) = delete;

    // An array of so many elements comes, as the server says; of more than 65,536 just that is
    // said, since nothing has come of them yet.
    virtual void begin(std::size_t count);

    // The next element; empty for one that carries no text. The text does not outlive the call.
    virtual void add(std::string_view text);
};

// What a reply was, apart from its elements.
struct StreamedReply {
    bool came = false;
    int type = 0;     // as hiredis numbers them, of a reply that came
    std::string text; // of an error
};

// Takes replies of a blocking connection that way, as long as it lives; nobody else takes one
// meanwhile.
class RedisReplyStream {
public:
    explicit RedisReplyStream(redisContext* context);
    ~RedisReplyStream();
    RedisReplyStream(const RedisReplyStream&) = delete;
    RedisReplyStream& operator=(const RedisReplyStream&) = delete;

    // Takes the next reply. False when the connection has failed; elements may have been passed on
    // until then. An exception of the elements' owner fails the connection and is passed on.
    [[nodiscard]] bool take(ReplyElements& elements, StreamedReply& reply);

private:
    [[nodiscard]] bool takeNext(void** taken);

    redisContext& mContext;
    redisReplyObjectFunctions* mFunctions; // the reader's own
    void* mData;
};
