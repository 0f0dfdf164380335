#include "core/reply_stream.h"

#include <algorithm>
#include <exception>

namespace {

constexpr std::size_t MOST_ANNOUNCED = 65536;

// What the reader's functions work on. The reader hands it on to the tasks of a reply.
struct Taking {
    ReplyElements& elements;
    StreamedReply& reply;
    std::exception_ptr failure;
};

// The one object that the reader is ever given: it only asks whether there is one, and newer
// versions of the library which type it has.
redisReply gTaken = {};

bool isTop(const redisReadTask& task) {
    return task.parent == nullptr;
}

bool isElement(const redisReadTask& task) {
    return !isTop(task) && isTop(*task.parent) && task.parent->type == REDIS_REPLY_ARRAY;
}

// Null stands for a lack of memory and fails the connection.
template <typename Work>
void* during(const redisReadTask& task, Work work) noexcept {
    auto* taking = static_cast<Taking*>(task.privdata);
    if (taking == nullptr) {
        return nullptr;
    }
    try {
        work(*taking);
        return &gTaken;
    } catch (...) {
        taking->failure = std::current_exception();
        return nullptr;
    }
}

void take(Taking& taking, const redisReadTask& task, int type, std::string_view text) {
    if (isElement(task)) {
        taking.elements.add(text);
    } else if (isTop(task)) {
        taking.reply.type = type;
        if (type == REDIS_REPLY_ERROR) {
            taking.reply.text = text;
        }
    }
}

void* takeText(const redisReadTask* task, char* bytes, std::size_t length) {
    return during(*task, [&](Taking& taking) { take(taking, *task, task->type, {bytes, length}); });
}

// How the library counts the elements depends on its version.
template <typename Count>
void* takeArray(const redisReadTask* task, Count count) {
    return during(*task, [&](Taking& taking) {
        take(taking, *task, task->type, {});
        if (isTop(*task) && task->type == REDIS_REPLY_ARRAY) {
            taking.elements.begin(std::min(static_cast<std::size_t>(count), MOST_ANNOUNCED));
        }
    });
}

void* takeInteger(const redisReadTask* task, long long /*value*/) {
    return during(*task, [&](Taking& taking) { take(taking, *task, task->type, {}); });
}

void* takeNil(const redisReadTask* task) {
    return during(*task, [&](Taking& taking) { take(taking, *task, REDIS_REPLY_NIL, {}); });
}

void freeNothing(void* /*taken*/) {}

constexpr redisReplyObjectFunctions makeFunctions() {
    redisReplyObjectFunctions functions = {};
    functions.createString = takeText;
    functions.createArray = takeArray;
    functions.createInteger = takeInteger;
    functions.createNil = takeNil;
    functions.freeObject = freeNothing;
    return functions;
}

constinit redisReplyObjectFunctions gStreamFunctions = makeFunctions();

} // namespace

void ReplyElements::begin(std::size_t /*count*/) {}

void ReplyElements::add(std::string_view /*text*/) {}

RedisReplyStream::RedisReplyStream(redisContext* context)
    : mContext(*context), mFunctions(context->reader->fn), mData(context->reader->privdata) {
    mContext.reader->fn = &gStreamFunctions;
}

// A reply that broke off leaves our object in the reader, which frees it with the functions that it
// has then: they stay.
RedisReplyStream::~RedisReplyStream() {
    redisReader& reader = *mContext.reader;
    const bool isBroken = reader.reply != nullptr;
    reader.fn = isBroken ? &gStreamFunctions : mFunctions;
    reader.privdata = isBroken ? nullptr : mData;
}

// Mostly the reply has been read along with those before it: then only the reader need be asked. It
// stays at what went wrong, and the connection is told by the library's own function.
bool RedisReplyStream::takeNext(void** taken) {
    const bool isRead =
        redisReaderGetReply(mContext.reader, taken) == REDIS_OK && *taken != nullptr;
    return isRead || redisGetReply(&mContext, taken) == REDIS_OK;
}

bool RedisReplyStream::take(ReplyElements& elements, StreamedReply& reply) {
    reply.came = false;
    reply.type = 0;
    reply.text.clear();
    Taking taking = {elements, reply, nullptr};
    mContext.reader->privdata = &taking;
    void* taken = nullptr;
    const bool succeeded = takeNext(&taken);
    mContext.reader->privdata = nullptr;
    if (taking.failure) {
        std::rethrow_exception(taking.failure);
    }
    reply.came = taken != nullptr;
    return succeeded;
}
