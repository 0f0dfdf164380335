// The document is walked with a stack of its own, depth first, so that its depth costs heap and not
// thread stack. All keys are put together in one text, which grows and shrinks with the way down: a
// key costs its last segment, however deep it is.

#include "store/write_commands.h"

#include "core/protocol/keys.h"
#include "core/redis_pipeline.h"
#include "store/markers.h"
#include "store/resource_encoding.h"
#include "store/sequence_id.h"
#include "store/value_text.h"

#include <nlohmann/json.hpp>

#include <vector>

namespace {

using nlohmann::json;

// An object or array on the way down.
struct Frame {
    const json::object_t* object; // null for an array
    const json::array_t* array;
    std::size_t keyLength;
    std::size_t index = 0; // of the array's next element
    json::object_t::const_iterator next = {};
};

Frame makeFrame(const json& value, std::size_t keyLength) {
    Frame frame = {value.get_ptr<const json::object_t*>(), value.get_ptr<const json::array_t*>(),
                   keyLength};
    if (frame.object != nullptr) {
        frame.next = frame.object->begin();
    }
    return frame;
}

bool isDone(const Frame& frame) {
    return frame.object != nullptr ? frame.next == frame.object->end()
                                   : frame.index == frame.array->size();
}

class Writer {
public:
    Writer(redisContext* context, const std::string& key, std::int64_t& sequenceId);

    // How many commands the connection has taken.
    std::size_t write(const json& document);

private:
    void writeNext();
    void writeMember(const std::string& name, const json& value);
    void writeElement(std::size_t index, const json& value);
    void writeScalarMember(const std::string& name, const json& value);
    void writeScalarElement(const json& value);
    void enter(const json& value);
    void leave();
    [[nodiscard]] std::string_view key() const;
    const CommandStart& scalarStart();
    void nameNestedKey(std::string_view segment);

    RedisPipeline mCommands;
    std::int64_t& mSequenceId;
    std::vector<Frame> mStack;
    std::string mNestedKey; // in the making, below the innermost object or array
    std::size_t mTopStart;  // the top key as it was given: "&&" may stand before it
    std::string mText;      // in the making

    // Of the commands that store the scalars of the innermost object or array, once it has one.
    CommandStart mScalarStart;
    bool mHasScalarStart = false;
};

Writer::Writer(redisContext* context, const std::string& key, std::int64_t& sequenceId)
    : mCommands(context), mSequenceId(sequenceId), mNestedKey(key) {
    addMarkerPrefix(mNestedKey);
    mTopStart = mNestedKey.size() - key.size();
}

std::size_t Writer::write(const json& document) {
    if (document.is_structured()) {
        enter(document);
    }
    while (!mStack.empty()) {
        writeNext();
    }
    return mCommands.handOver();
}

void Writer::writeNext() {
    Frame& frame = mStack.back();
    if (isDone(frame)) {
        leave();
    } else if (frame.object != nullptr) {
        const auto& [name, value] = *frame.next++;
        writeMember(name, value);
    } else {
        const std::size_t index = frame.index++;
        writeElement(index, (*frame.array)[index]);
    }
}

void Writer::writeMember(const std::string& name, const json& value) {
    if (!value.is_structured()) {
        writeScalarMember(name, value);
        return;
    }
    nameNestedKey(name);
    setMarker(mText, MarkerMode::OBJECT_MEMBER, value, mNestedKey, name);
    mCommands.append({"HSET", key(), mText, ""});
    if (!isHashReference(mText)) {
        enter(value);
    }
}

void Writer::writeElement(std::size_t index, const json& value) {
    if (!value.is_structured()) {
        writeScalarElement(value);
        return;
    }
    const bool isNumbered = mSequenceId != NO_SEQUENCE_ID;
    nameNestedKey(isNumbered ? std::to_string(mSequenceId) : std::to_string(index));
    setMarker(mText, MarkerMode::ARRAY_ELEMENT, value, mNestedKey, {});
    mCommands.append({"RPUSH", key(), mText});
    if (isListReference(mText)) {
        return; // nothing is stored under a reference, so it takes no id
    }
    mSequenceId = isNumbered ? followingSequenceId(mSequenceId) : NO_SEQUENCE_ID;
    enter(value);
}

void Writer::writeScalarMember(const std::string& name, const json& value) {
    setJsonText(mText, value);
    if (const auto text = fieldText(name, value, mText)) {
        mCommands.append(scalarStart(), {name, *text});
    }
}

void Writer::writeScalarElement(const json& value) {
    setJsonText(mText, value);
    if (!mText.empty()) {
        mCommands.append(scalarStart(), {elementText(value, mText)});
    }
}

// The nested key is complete and names the value.
void Writer::enter(const json& value) {
    mStack.push_back(makeFrame(value, mNestedKey.size()));
    mHasScalarStart = false;
}

void Writer::leave() {
    mStack.pop_back();
    mHasScalarStart = false;
}

// The key of the innermost object or array.
std::string_view Writer::key() const {
    const std::size_t start = mStack.size() == 1 ? mTopStart : 0;
    return std::string_view(mNestedKey).substr(start, mStack.back().keyLength - start);
}

const CommandStart& Writer::scalarStart() {
    if (!mHasScalarStart) {
        const bool isHash = mStack.back().object != nullptr;
        mScalarStart.set(isHash ? 4 : 3, {isHash ? "HSET" : "RPUSH", key()});
        mHasScalarStart = true;
    }
    return mScalarStart;
}

void Writer::nameNestedKey(std::string_view segment) {
    mNestedKey.resize(mStack.back().keyLength);
    mNestedKey += '/';
    mNestedKey += segment;
}

} // namespace

int appendWriteCommands(redisContext* context, const std::string& key, const json& value,
                        std::int64_t& sequenceId) {
    return static_cast<int>(Writer(context, key, sequenceId).write(value));
}
