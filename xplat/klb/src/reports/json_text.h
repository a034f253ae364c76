#ifndef KLB_REPORTS_JSON_TEXT_H
#define KLB_REPORTS_JSON_TEXT_H

#include "core/json.h"
#include "reports/report_buffer.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <stdexcept>

#include <rapidjson/prettywriter.h>

namespace klb {

/// What a text may have at most: indentation grows with the square of the depth.
constexpr std::size_t kMaxJsonTextSize = std::size_t{1} << 30;

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

/// How many spaces a level is indented by.
constexpr unsigned kIndentation = 4;

/// Turns JSON events into an indented text. Up to the given depth it needs no memory once the first
/// byte has been written.
template <class Stream>
class IndentingWriter
    : public rapidjson::PrettyWriter<Stream, rapidjson::UTF8<>, rapidjson::UTF8<>, JsonAllocator> {
    using Writer =
        rapidjson::PrettyWriter<Stream, rapidjson::UTF8<>, rapidjson::UTF8<>, JsonAllocator>;

public:
    explicit IndentingWriter(Stream& stream, std::size_t depth = Writer::kDefaultLevelDepth)
        : Writer(stream, nullptr, depth) {
        this->SetIndent(' ', kIndentation);
    }
};

/// Takes JSON events, adds up what their indented text can have at most, and measures how deep it
/// is.
class JsonSizeBound {
public:
    std::uint64_t bytes() const noexcept {
        return bytes_;
    }
    std::size_t depth() const noexcept {
        return depth_;
    }

    void StartObject() noexcept {
        ++level_;
        depth_ = std::max(depth_, level_);
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
        bytes_ += std::uint64_t{kIndentation} * level_ + kPunctuation;
    }
    void addText(std::size_t length) noexcept {
        bytes_ += std::uint64_t{kLongestEscape} * length + kPunctuation;
    }

    static constexpr std::size_t kLongestEscape = 6;
    /// More than any quotes, brackets, separators and line ends, or the word false.
    static constexpr std::size_t kPunctuation = 8;

    std::size_t level_ = 0;
    std::size_t depth_ = 0;
    std::uint64_t bytes_ = 0;
};

/// Writes an object of objects, texts and truth values as RapidJSON's PrettyWriter does, without
/// recursion. When memory runs out it has not written anything, as long as no object lies deeper
/// than `depth`, where the outermost one is 1 deep.
void writeIndented(const JsonValue& object, std::size_t depth, ReportBuffer& report);

} // namespace klb

#endif
