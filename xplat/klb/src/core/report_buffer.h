#ifndef KLB_CORE_REPORT_BUFFER_H
#define KLB_CORE_REPORT_BUFFER_H

#include <cstdint>
#include <string_view>

namespace klb {

/// Gives a report to the host: as much of the text as the buffer takes, and always a NUL behind it.
/// The size that the whole text needs, its NUL included, when there is no buffer; else how many
/// bytes were written.
std::uint64_t copyReport(std::string_view text, char* buffer, std::uint64_t bufferSize) noexcept;

} // namespace klb

#endif
