#ifndef KLB_DOCUMENTS_DOCUMENT_INPUT_H
#define KLB_DOCUMENTS_DOCUMENT_INPUT_H

#include "documents/vectoristream.h"

#include <cstddef>

namespace klb {

/// RapidJSON's view of a vectoristream. The end of the bytes reads as NUL, so a NUL byte ends the
/// text as well. Walks the get area itself, because a stream's own reading functions cost more
/// than the parsing.
class DocumentInput {
public:
    using Ch = char;

    explicit DocumentInput(const vectoristream& bytes) noexcept
        : begin_(bytes.current()), current_(begin_), end_(bytes.end()) {}

    Ch Peek() const noexcept {
        return current_ != end_ ? *current_ : '\0';
    }
    Ch Take() noexcept {
        return current_ != end_ ? *current_++ : '\0';
    }
    /// How many characters were taken.
    std::size_t Tell() const noexcept {
        return static_cast<std::size_t>(current_ - begin_);
    }

    // RapidJSON compiles calls of these and makes them only when it parses in place.
    Ch* PutBegin() noexcept {
        return nullptr;
    }
    void Put(Ch) noexcept {}
    std::size_t PutEnd(Ch*) noexcept {
        return 0;
    }

private:
    const char* begin_;
    const char* current_;
    const char* end_;
};

} // namespace klb

#endif
