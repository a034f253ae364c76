#ifndef KLB_TESTS_LIMITS_LIMIT_HELPERS_H
#define KLB_TESTS_LIMITS_LIMIT_HELPERS_H

#include "limit_row.h"
#include "paths.h"
#include "temp_directory.h"
#include "toggle_helpers.h"

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>

namespace klb::test {

constexpr std::uint64_t kGiB = std::uint64_t{1} << 30;
/// The first size that 32 bits do not hold, and one more.
constexpr std::uint64_t kBeyond32Bits = (std::uint64_t{1} << 32) + 1;
/// What a toggle file has at most.
constexpr std::uint64_t kLargestFile = INT32_MAX;

/// A text with a number at its end that counts up: quicker than making each text anew, so that a
/// row's time is the library's.
class NumberedText {
public:
    explicit NumberedText(const std::string& prefix)
        : text_(prefix + "00000000"), first_(prefix.size()) {}

    const char* c_str() const noexcept {
        return text_.c_str();
    }
    const std::string& text() const noexcept {
        return text_;
    }
    void set(std::uint64_t number) {
        for (std::size_t place = text_.size(); place-- > first_; number /= 10) {
            text_[place] = static_cast<char>('0' + number % 10);
        }
    }
    NumberedText& operator++() {
        std::size_t place = text_.size() - 1;
        while (place > first_ && text_[place] == '9') {
            text_[place--] = '0';
        }
        ++text_[place];
        return *this;
    }

private:
    std::string text_;
    std::size_t first_;
};

/// Writes a file that is too large to lie in memory first.
class FileWriter {
public:
    FileWriter(const TempDirectory& directory, const std::string& name)
        : path_(directory.pathOf(name)), file_(fromUtf8(path_), std::ios::binary) {}

    FileWriter& add(std::string_view text) {
        pending_ += text;
        if (pending_.size() >= kPieceSize) {
            flush();
        }
        return *this;
    }
    FileWriter& add(std::string_view text, std::uint64_t times) {
        for (std::uint64_t i = 0; i < times; ++i) {
            add(text);
        }
        return *this;
    }
    FileWriter& add(char c, std::uint64_t times) {
        const std::string piece(kPieceSize, c);
        for (; times > piece.size(); times -= piece.size()) {
            add(piece);
        }
        return add(std::string_view(piece).substr(0, static_cast<std::size_t>(times)));
    }
    /// Ends the file and gives its full path.
    std::string finish() {
        flush();
        file_.close();
        if (!file_) {
            throw std::runtime_error("cannot write " + path_);
        }
        return path_;
    }

private:
    static constexpr std::size_t kPieceSize = 1 << 20;

    void flush() {
        file_.write(pending_.data(), static_cast<std::streamsize>(pending_.size()));
        pending_.clear();
    }

    std::string path_;
    std::ofstream file_;
    std::string pending_;
};

/// Every third one of many toggles is on.
inline bool isOn(std::uint64_t number) noexcept {
    return number % 3 == 0;
}

/// Members that say so: "t00000000":true,"t00000001":false and so on.
inline void addMembers(FileWriter& file, std::uint64_t count) {
    NumberedText name("\"t");
    for (std::uint64_t i = 0; i < count; ++i, ++name) {
        file.add(i == 0 ? "" : ",").add(name.text()).add(isOn(i) ? "\":true" : "\":false");
    }
}

/// A file with one byte more than it may have is refused as a whole. Other tests state the same of
/// files without content.
inline void expectFileTooLarge(const std::string& path) {
    if (!LimitRow::isWhole()) {
        return;
    }
    std::filesystem::resize_file(fromUtf8(path), kLargestFile + 1);
    inBothErrorModes([&](ErrorObserver& observer) {
        KLB_Init("TestSystem", false);
        observer.expectError<std::domain_error>(loadErrorText("UnableToReadFile", path),
                                                [&] { registerPlainFile("core", path); });
        EXPECT_FALSE(registeredValue("/a", false, "core"));
        KLB_Term();
    });
}

} // namespace klb::test

#endif
