// The functions that carry place and text through both series are deprecated in the later one.
#define OPENSSL_SUPPRESS_DEPRECATED

#include "trust/error_queue.h"

#include <cstring>

namespace klb {

namespace {

// Only the earlier series knows codes of functions.
#if defined(ERR_GET_FUNC)
[[maybe_unused]] int functionOf(unsigned long code) noexcept {
    return ERR_GET_FUNC(code);
}
#else
[[maybe_unused]] int functionOf(unsigned long) noexcept {
    return 0;
}
#endif

/// The later series owns the file names in its queue, the earlier one only refers to them.
constexpr bool kQueueOwnsFileNames = OPENSSL_VERSION_NUMBER >= 0x30000000L;

/// Null when memory runs out: an error without its text is better than none.
CryptoMemoryPtr copyOf(const char* text) noexcept {
    const std::size_t size = std::strlen(text) + 1;
    CryptoMemoryPtr copy(OPENSSL_malloc(size));
    if (copy) {
        std::memcpy(copy.get(), text, size);
    }
    return copy;
}

} // namespace

ErrorQueueScope::ErrorQueueScope() noexcept {
    for (; count_ < entries_.size(); ++count_) {
        Entry& entry = entries_[count_];
        const char* text = nullptr;
        int flags = 0;
        entry.code = ERR_get_error_line_data(&entry.file, &entry.line, &text, &flags);
        if (entry.code == 0) {
            break;
        }
        if (kQueueOwnsFileNames) {
            entry.fileCopy = copyOf(entry.file);
            entry.file = static_cast<const char*>(entry.fileCopy.get());
        }
        if ((flags & ERR_TXT_STRING) != 0) {
            entry.text = copyOf(text);
        }
    }
}

ErrorQueueScope::~ErrorQueueScope() {
    ERR_clear_error();
    for (std::size_t i = 0; i < count_; ++i) {
        Entry& entry = entries_[i];
        ERR_put_error(ERR_GET_LIB(entry.code), functionOf(entry.code), ERR_GET_REASON(entry.code),
                      entry.file, entry.line);
        if (entry.text) {
            ERR_set_error_data(static_cast<char*>(entry.text.release()),
                               ERR_TXT_MALLOCED | ERR_TXT_STRING);
        }
    }
}

} // namespace klb
