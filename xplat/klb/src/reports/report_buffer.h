#ifndef KLB_REPORTS_REPORT_BUFFER_H
#define KLB_REPORTS_REPORT_BUFFER_H

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace klb {

/// Writes a report into the host's buffer: as much of the text as it takes, and a NUL behind it.
/// Counts the rest, so that no copy of the text is needed. Also an output stream of RapidJSON's.
class ReportBuffer {
public:
    using Ch = char;

    /// \param buffer Null when the host asks for the size only.
    ReportBuffer(char* buffer, std::uint64_t bufferSize) noexcept
        : buffer_(buffer),
          bufferSize_(bufferSize),
          room_(buffer != nullptr && bufferSize > 0 ? bufferSize - 1 : 0) {}

    void Put(Ch c) noexcept {
        if (size_ < room_) {
            buffer_[size_] = c;
        }
        ++size_;
    }
    void Flush() noexcept {}
    friend void PutN(ReportBuffer& report, Ch c, std::size_t count) noexcept {
        report.fill(c, count);
    }
    void append(std::string_view text) noexcept;

    /// The size of the text so far.
    std::uint64_t size() const noexcept {
        return size_;
    }

    /// Ends the text. The size that the whole needs, its NUL included, when there is no buffer;
    /// else how many bytes were written.
    std::uint64_t finish() noexcept;

private:
    void fill(char c, std::size_t count) noexcept;
    /// How many of the next bytes still go into the buffer.
    std::size_t roomFor(std::size_t count) const noexcept;

    char* buffer_;
    std::uint64_t bufferSize_;
    std::uint64_t room_;
    std::uint64_t size_ = 0;
};

} // namespace klb

#endif
