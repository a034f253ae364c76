#ifndef KLB_DOCUMENTS_JSON_TEXT_H
#define KLB_DOCUMENTS_JSON_TEXT_H

#include "core/json.h"

#include <cstddef>
#include <cstring>
#include <stdexcept>
#include <string_view>

#include <rapidjson/prettywriter.h>

namespace klb {

/// What a text may have at most: indentation grows with the square of the depth.
constexpr std::size_t kMaxJsonTextSize = std::size_t{1} << 30;

/// The stream that a text is written to. RapidJSON's own reserves six times the size of the next
/// string, which it counts in 32 bits.
class JsonText {
public:
    using Ch = char;

    JsonText() = default;
    JsonText(const JsonText&) = delete;
    JsonText& operator=(const JsonText&) = delete;
    ~JsonText() {
        JsonAllocator::Free(bytes_);
    }

    void Put(Ch c) {
        if (size_ == capacity_) {
            grow(1);
        }
        bytes_[size_++] = c;
    }
    void Flush() noexcept {}
    friend void PutN(JsonText& text, Ch c, std::size_t count) {
        if (text.capacity_ - text.size_ < count) {
            text.grow(count);
        }
        std::memset(text.bytes_ + text.size_, c, count);
        text.size_ += count;
    }

    std::string_view view() const noexcept {
        return {bytes_, size_};
    }
    std::size_t capacity() const noexcept {
        return capacity_;
    }

private:
    void grow(std::size_t count);

    char* bytes_ = nullptr;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
};

/// A stream that keeps nothing. \throws std::length_error when the text becomes too long.
class LimitedStream {
public:
    using Ch = char;

    explicit LimitedStream(std::size_t maxSize = kMaxJsonTextSize) noexcept : maxSize_(maxSize) {}

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

/// Turns JSON events into an indented text.
template <class Stream>
class IndentingWriter
    : public rapidjson::PrettyWriter<Stream, rapidjson::UTF8<>, rapidjson::UTF8<>, JsonAllocator> {
public:
    static constexpr unsigned kIndentation = 4;

    explicit IndentingWriter(Stream& stream)
        : rapidjson::PrettyWriter<Stream, rapidjson::UTF8<>, rapidjson::UTF8<>, JsonAllocator>(
              stream) {
        this->SetIndent(' ', kIndentation);
    }
};

/// Takes JSON events and adds up what their indented text can have at most.
class JsonSizeBound {
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
        bytes_ += IndentingWriter<JsonText>::kIndentation * level_ + kPunctuation;
    }
    void addText(std::size_t length) noexcept {
        bytes_ += kLongestEscape * length + kPunctuation;
    }

    static constexpr std::size_t kLongestEscape = 6;
    /// More than any quotes, brackets, separators and line ends, or the word false.
    static constexpr std::size_t kPunctuation = 8;

    std::size_t level_ = 0;
    std::size_t bytes_ = 0;
};

/// Writes an object of objects, texts and truth values as RapidJSON's PrettyWriter does, at any
/// depth without recursion.
void writeIndented(const JsonValue& object, JsonText& text);

} // namespace klb

#endif
