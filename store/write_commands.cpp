// The document is walked with a stack of its own, depth first, so that its depth costs heap and not
// thread stack; each object or array on the way is one Frame.

#include "store/write_commands.h"

#include "core/redis_reply.h"
#include "store/markers.h"
#include "store/resource_encoding.h"
#include "store/sequence_id.h"

#include <nlohmann/json.hpp>

#include <optional>
#include <utility>
#include <vector>

namespace {

using nlohmann::json;

struct Frame {
    Frame(std::string frameKey, const json& value)
        : key(std::move(frameKey)), isObject(value.is_object()), next(value.begin()),
          end(value.end()) {}

    std::string key;
    bool isObject;
    json::const_iterator next;
    json::const_iterator end;
    std::size_t index = 0; // of next, in an array
};

struct Writer {
    redisContext* context;
    std::int64_t& sequenceId;
    int commands = 0; // for which a reply will come
};

// What one member or element leaves to be written below it, if anything.
using Below = std::optional<Frame>;

void appendField(Writer& writer, const std::string& key, const std::string& field,
                 const std::string& text) {
    const bool appended = appendRedisCommand(writer.context, "HSET %s %s %s", key.c_str(),
                                             field.c_str(), text.c_str());
    writer.commands += appended ? 1 : 0;
}

void appendEntry(Writer& writer, const std::string& key, const std::string& text) {
    const bool appended =
        appendRedisCommand(writer.context, "RPUSH %s %s", key.c_str(), text.c_str());
    writer.commands += appended ? 1 : 0;
}

Below appendStructuredMember(Writer& writer, const std::string& key, MemberEntry entry,
                             const json& value) {
    const std::string marker =
        makeMarker(MarkerMode::OBJECT_MEMBER, value, entry.nestedKey, entry.memberName);
    appendField(writer, key, marker, "");
    return isHashReference(marker) ? Below() : Frame(std::move(entry.nestedKey), value);
}

Below appendMember(Writer& writer, const Frame& frame, const std::string& name, const json& value) {
    MemberEntry entry = makeObjectMember(frame.key, name, value);
    if (!entry.nestedKey.empty()) {
        return appendStructuredMember(writer, frame.key, std::move(entry), value);
    }
    if (const auto text = fieldText(name, value, std::move(entry.valueText))) {
        appendField(writer, frame.key, name, *text);
    }
    return std::nullopt;
}

Below appendElement(Writer& writer, const Frame& frame, std::size_t index, const json& value) {
    std::int64_t nextId = writer.sequenceId;
    MemberEntry entry = makeMemberEntry(frame.key, nextId, std::to_string(index), value);
    if (entry.nestedKey.empty()) {
        if (!entry.valueText.empty()) {
            appendEntry(writer, frame.key, elementText(value, std::move(entry.valueText)));
        }
        return std::nullopt;
    }
    const std::string marker =
        makeMarker(MarkerMode::ARRAY_ELEMENT, value, entry.nestedKey, entry.memberName);
    appendEntry(writer, frame.key, marker);
    if (isListReference(marker)) {
        return std::nullopt; // nothing is stored under a reference, so it takes no id
    }
    writer.sequenceId = nextId;
    return Frame(std::move(entry.nestedKey), value);
}

} // namespace

int appendWriteCommands(redisContext* context, const std::string& key, const json& value,
                        std::int64_t& sequenceId) {
    Writer writer = {context, sequenceId};
    std::vector<Frame> stack;
    if (value.is_structured()) {
        stack.emplace_back(key, value);
    }
    while (!stack.empty()) {
        Frame& frame = stack.back();
        if (frame.next == frame.end) {
            stack.pop_back();
            continue;
        }
        const auto item = frame.next++;
        Below below = frame.isObject ? appendMember(writer, frame, item.key(), *item)
                                     : appendElement(writer, frame, frame.index++, *item);
        if (below) {
            stack.push_back(*std::move(below)); // moves the frames: `frame` ends here
        }
    }
    return writer.commands;
}
