#include "core/redis_pipeline.h"

#include "core/secret.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr std::size_t LINE_END_SIZE = 2;
constexpr std::size_t MOST_GATHERED = 256 * std::size_t{1024};
constexpr std::size_t MOST_DIGITS = 20;
constexpr std::size_t MOST_HEAD = 1 + MOST_DIGITS + LINE_END_SIZE; // of a command or a word

std::size_t mostBytes(std::span<const std::string_view> words) {
    std::size_t most = 0;
    for (const std::string_view word : words) {
        most += MOST_HEAD + word.size() + LINE_END_SIZE;
    }
    return most;
}

// The following write at next, where there is room, and give back where they ended.

char* writeLineEnd(char* next) {
    *next++ = '\r';
    *next++ = '\n';
    return next;
}

char* writeHead(char* next, char kind, std::size_t number) {
    *next++ = kind;
    if (number < 10) { // a command has few words, and its name is short
        *next++ = static_cast<char>('0' + number);
    } else {
        next = std::to_chars(next, next + MOST_DIGITS, number).ptr;
    }
    return writeLineEnd(next);
}

char* writeWords(char* next, std::span<const std::string_view> words) {
    for (const std::string_view word : words) {
        next = writeHead(next, '$', word.size());
        next = std::copy(word.begin(), word.end(), next);
        next = writeLineEnd(next);
    }
    return next;
}

std::vector<std::string_view> cutAtNul(std::span<const std::string_view> words) {
    std::vector<std::string_view> cut;
    for (const std::string_view word : words) {
        cut.push_back(word.substr(0, word.find('\0')));
    }
    return cut;
}

// Hardly a word ever holds a NUL, so they are searched together, and written again when one does.
char* writeCutWords(char* start, std::span<const std::string_view> words) {
    char* end = writeWords(start, words);
    const bool hasNul = std::memchr(start, '\0', static_cast<std::size_t>(end - start)) != nullptr;
    return hasNul ? writeWords(start, cutAtNul(words)) : end;
}

} // namespace

void CommandStart::set(std::size_t words, CommandWords first) {
    const std::span some(first.begin(), first.size());
    const std::size_t most = MOST_HEAD + mostBytes(some);
    if (mBytes.size() < most) {
        mBytes.resize(most);
    }
    const char* end = writeCutWords(writeHead(mBytes.data(), '*', words), some);
    mLength = static_cast<std::size_t>(end - mBytes.data());
}

// The part's bytes are written before they are read.
RedisPipeline::RedisPipeline(redisContext* context) // NOLINT(*-member-init)
    : mContext(context) {}

RedisPipeline::~RedisPipeline() {
    explicit_bzero(mPart, mDirty);
}

void RedisPipeline::append(CommandWords words) {
    append(std::span(words.begin(), words.size()));
}

void RedisPipeline::append(std::span<const std::string_view> words) {
    put(MOST_HEAD + mostBytes(words),
        [&](char* next) { return writeCutWords(writeHead(next, '*', words.size()), words); });
}

void RedisPipeline::append(const CommandStart& start, CommandWords rest) {
    const std::string_view bytes = start.bytes();
    const std::span words(rest.begin(), rest.size());
    put(bytes.size() + mostBytes(words), [&](char* next) {
        return writeCutWords(std::copy(bytes.begin(), bytes.end(), next), words);
    });
}

// Has one command of at most so many bytes written where there is room for it.
template <typename Write>
void RedisPipeline::put(std::size_t most, Write write) {
    if (most > PART_SIZE - mUsed) {
        handOverPart();
    }
    if (most > PART_SIZE) {
        putLong(most, write);
    } else {
        mUsed = static_cast<std::size_t>(write(mPart + mUsed) - mPart);
        mDirty = std::max(mDirty, std::min(mUsed + most, PART_SIZE));
        ++mAppended;
    }
}

template <typename Write>
void RedisPipeline::putLong(std::size_t most, Write write) {
    std::string bytes(most, '\0');
    const char* end = write(bytes.data());
    ++mAppended;
    give({bytes.data(), end});
    wipeText(bytes);
}

std::size_t RedisPipeline::handOver() {
    handOverPart();
    return mTaken;
}

void RedisPipeline::handOverPart() {
    give({mPart, mUsed});
    mUsed = 0;
}

void RedisPipeline::give(std::string_view commands) {
    mFailed = mFailed ||
              redisAppendFormattedCommand(mContext, commands.data(), commands.size()) != REDIS_OK;
    if (mFailed) {
        return;
    }
    mTaken = mAppended;
    mGathered += commands.size();
    if (mGathered > MOST_GATHERED) {
        sendGathered();
    }
}

// The library's buffer would grow with the document, to twice its size.
void RedisPipeline::sendGathered() {
    int isDone = 0;
    while (isDone == 0 && redisBufferWrite(mContext, &isDone) == REDIS_OK) {
    }
    mGathered = 0; // a lost connection shows when the replies are asked for
}
