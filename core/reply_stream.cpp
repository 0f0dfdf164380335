#include "core/reply_stream.h"

#include <algorithm>
#include <exception>

namespace {

constexpr std::size_t MOST_ANNOUNCED = 65536;

// What the reader's functions work on. The reader hands it on to the tasks of a reply.
struct Stream {
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
    auto* stream = static_cast<Stream*>(task.privdata);
    if (stream == nullptr) {
        return nullptr;
    }
    try {
        work(*stream);
        return &gTaken;
    } catch (...) {
        stream->failure = std::current_exception();
        return nullptr;
    }
}

void take(Stream& stream, const redisReadTask& task, int type, std::string_view text) {
    if (isElement(task)) {
        stream.elements.add(text);
    } else if (isTop(task)) {
        stream.reply.type = type;
    }
}

void* takeText(const redisReadTask* task, char* bytes, std::size_t length) {
    return during(*task, [&](Stream& stream) {
        const std::string_view text(bytes, length);
        take(stream, *task, task->type, text);
        if (isTop(*task) && task->type == REDIS_REPLY_ERROR) {
            stream.reply.text = text;
        }
    });
}

// How the library counts the elements depends on its version.
template <typename Count>
void* takeArray(const redisReadTask* task, Count count) {
    return during(*task, [&](Stream& stream) {
        take(stream, *task, task->type, {});
        if (isTop(*task) && task->type == REDIS_REPLY_ARRAY) {
            stream.elements.begin(std::min(static_cast<std::size_t>(count), MOST_ANNOUNCED));
        }
    });
}

void* takeInteger(const redisReadTask* task, long long /*value*/) {
    return during(*task, [&](Stream& stream) { take(stream, *task, task->type, {}); });
}

void* takeNil(const redisReadTask* task) {
    return during(*task, [&](Stream& stream) { take(stream, *task, REDIS_REPLY_NIL, {}); });
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

// The reader's functions while one reply is taken.
class StreamingReader {
public:
    StreamingReader(redisReader& reader, Stream& stream)
        : mReader(reader), mFunctions(reader.fn), mData(reader.privdata) {
        mReader.fn = &gStreamFunctions;
        mReader.privdata = &stream;
    }
    // A reply that broke off leaves our object in the reader, which frees it with the functions
    // that it has then: they stay.
    ~StreamingReader() {
        const bool isBroken = mReader.reply != nullptr;
        mReader.fn = isBroken ? &gStreamFunctions : mFunctions;
        mReader.privdata = isBroken ? nullptr : mData;
    }
    StreamingReader(const StreamingReader&) = delete;
    StreamingReader& operator=(const StreamingReader&) = delete;

private:
    redisReader& mReader;
    redisReplyObjectFunctions* mFunctions;
    void* mData;
};

} // namespace

void ReplyElements::begin(std::size_t /*count*/) {}

void ReplyElements::add(std::string_view /*text*/) {}

bool streamRedisReply(redisContext* context, ReplyElements& elements, StreamedReply& reply) {
    reply = {};
    Stream stream = {elements, reply, nullptr};
    void* taken = nullptr;
    bool succeeded = false;
    {
        const StreamingReader reading(*context->reader, stream);
        succeeded = redisGetReply(context, &taken) == REDIS_OK;
    }
    if (stream.failure) {
        std::rethrow_exception(stream.failure);
    }
    reply.came = taken != nullptr;
    return succeeded;
}
