#pragma once

// Commands put together as the bytes of the Redis protocol (RESP2: an array of bulk strings for
// each), without a format to read for every word.

#include <hiredis/hiredis.h>

#include <cstddef>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>

using CommandWords = std::initializer_list<std::string_view>;

// What many commands begin with, put together once.
class CommandStart {
public:
    // So many words the commands have in all, and these are the first of them.
    void set(std::size_t words, CommandWords first);

    [[nodiscard]] std::string_view bytes() const {
        return {mBytes.data(), mLength};
    }

private:
    std::string mBytes; // only grows
    std::size_t mLength = 0;
};

// Gathers commands for one blocking connection and hands them over in parts of at most 16 KiB, a
// longer command by itself. No reply is waited for, so that all of them are one exchange. They are
// sent when the next reply is asked for, and before that whenever more than 256 KiB have gathered.
// What it held is overwritten at its end.
class RedisPipeline {
public:
    explicit RedisPipeline(redisContext* context);
    ~RedisPipeline();
    RedisPipeline(const RedisPipeline&) = delete;
    RedisPipeline& operator=(const RedisPipeline&) = delete;

    // Appends one command. Every word is one argument, blanks included, up to its first NUL.
    void append(CommandWords words);
    void append(std::span<const std::string_view> words);

    // Appends one command that begins like that and ends with these words.
    void append(const CommandStart& start, CommandWords rest);

    // Hands over the rest. How many commands the connection has taken since the beginning: exactly
    // so many replies will come. Once there was no memory for a part, it and all later ones are
    // lost.
    [[nodiscard]] std::size_t handOver();

private:
    template <typename Write>
    void put(std::size_t most, Write write);
    template <typename Write>
    void putLong(std::size_t most, Write write);
    void handOverPart();
    void give(std::string_view commands);
    void sendGathered();

    static constexpr std::size_t PART_SIZE = 16 * std::size_t{1024};

    redisContext* mContext;
    std::size_t mAppended = 0; // commands
    std::size_t mTaken = 0;    // of them by the connection
    bool mFailed = false;
    std::size_t mGathered = 0; // bytes that the connection has taken and may not have sent
    std::size_t mUsed = 0;     // bytes of the part
    std::size_t mDirty = 0;    // bytes that may ever have been written
    char mPart[PART_SIZE];     // whole commands
};
