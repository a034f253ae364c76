#include "documents/json_text.h"

#include <stdexcept>
#include <vector>

#include <rapidjson/prettywriter.h>

namespace klb {

namespace {

/// Gives the members of an object, and of the objects in it, to a handler of JSON events.
template <class Handler>
void walk(const JsonValue& object, Handler& handler) {
    struct Level {
        JsonValue::ConstMemberIterator next;
        JsonValue::ConstMemberIterator end;
    };
    std::vector<Level> levels;
    const auto open = [&](const JsonValue& opened) {
        handler.StartObject();
        levels.push_back({opened.MemberBegin(), opened.MemberEnd()});
    };
    open(object);
    while (!levels.empty()) {
        Level& level = levels.back();
        if (level.next == level.end) {
            handler.EndObject(0);
            levels.pop_back();
            continue;
        }
        const auto& [name, value] = *level.next++;
        handler.Key(name.GetString(), name.GetStringLength(), false);
        if (value.IsObject()) {
            open(value);
        } else if (value.IsBool()) {
            handler.Bool(value.GetBool());
        } else {
            handler.String(value.GetString(), value.GetStringLength(), false);
        }
    }
}

constexpr std::size_t kIndentation = 4;

/// A handler that adds up what the text can have at most.
class SizeBound {
public:
    std::size_t bytes() const noexcept {
        return bytes_;
    }

    void StartObject() noexcept {
        ++level_;
    }
    void Key(const char*, rapidjson::SizeType length, bool) noexcept {
        addLine();
        addText(length);
    }
    void String(const char*, rapidjson::SizeType length, bool) noexcept {
        addText(length);
    }
    void Bool(bool) noexcept {
        addText(0);
    }
    void EndObject(rapidjson::SizeType) noexcept {
        --level_;
        addLine();
    }

private:
    void addLine() noexcept {
        bytes_ += kIndentation * level_ + kPunctuation;
    }
    void addText(rapidjson::SizeType length) noexcept {
        bytes_ += kLongestEscape * length + kPunctuation;
    }

    static constexpr std::size_t kLongestEscape = 6;
    /// More than any quotes, brackets, separators and line ends, or the word false.
    static constexpr std::size_t kPunctuation = 8;

    std::size_t level_ = 0;
    std::size_t bytes_ = 0;
};

/// A stream that keeps nothing, and gives up on a text that is too long.
class LimitedStream {
public:
    using Ch = char;

    explicit LimitedStream(std::size_t maxSize) noexcept : maxSize_(maxSize) {}

    void Put(Ch) {
        add(1);
    }
    void Flush() noexcept {}

    friend void PutN(LimitedStream& stream, Ch, std::size_t count) {
        stream.add(count);
    }

private:
    void add(std::size_t count) {
        size_ += count;
        if (size_ > maxSize_) {
            throw std::length_error("The JSON text would be too long.");
        }
    }

    std::size_t maxSize_;
    std::size_t size_ = 0;
};

template <class Stream>
void writeTo(Stream& stream, const JsonValue& object) {
    JsonAllocator allocator;
    rapidjson::PrettyWriter<Stream, rapidjson::UTF8<>, rapidjson::UTF8<>, JsonAllocator> writer(
        stream, &allocator);
    writer.SetIndent(' ', kIndentation);
    walk(object, writer);
}

} // namespace

void writeIndented(const JsonValue& object, JsonText& text, std::size_t maxSize) {
    SizeBound bound;
    walk(object, bound);
    if (bound.bytes() > maxSize) {
        LimitedStream stream(maxSize);
        writeTo(stream, object);
    }
    writeTo(text, object);
}

} // namespace klb
