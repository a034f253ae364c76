#ifndef KLB_TESTS_BOUNDARY_MSVC_HOST_TEXT_H
#define KLB_TESTS_BOUNDARY_MSVC_HOST_TEXT_H

namespace host {

inline bool equal(const char* left, const char* right) {
    while (*left != '\0' && *left == *right) {
        ++left;
        ++right;
    }
    return *left == *right;
}

inline unsigned lengthOf(const char* text) {
    unsigned length = 0;
    while (text[length] != '\0') {
        ++length;
    }
    return length;
}

/// A text of bounded length; what goes beyond shows as a difference from whatever is expected.
class Text {
public:
    static constexpr unsigned kCapacity = 2048;

    Text() = default;
    Text(const char* text) {
        append(text);
    }

    Text& append(const char* text) {
        while (*text != '\0' && length_ + 1 < kCapacity) {
            bytes_[length_++] = *text++;
        }
        bytes_[length_] = '\0';
        return *this;
    }
    Text& append(const Text& text) {
        return append(text.bytes_);
    }
    Text& append(unsigned number, unsigned base = 10) {
        char digits[33];
        char* first = digits + sizeof digits - 1;
        *first = '\0';
        do {
            *--first = "0123456789abcdef"[number % base];
            number /= base;
        } while (number != 0);
        return append(first);
    }
    void clear() {
        length_ = 0;
        bytes_[0] = '\0';
    }

    const char* get() const {
        return bytes_;
    }
    unsigned length() const {
        return length_;
    }

private:
    char bytes_[kCapacity] = {};
    unsigned length_ = 0;
};

} // namespace host

#endif
