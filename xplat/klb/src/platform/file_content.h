#ifndef KLB_PLATFORM_FILE_CONTENT_H
#define KLB_PLATFORM_FILE_CONTENT_H

#include "platform/input_file.h"

#include <cstdint>
#include <vector>

namespace klb {

/// Fills the buffer with the whole file, in one read. False when the file's size is not known or
/// beyond `maxSize` bytes, and when fewer bytes arrive.
bool readWhole(InputFile& file, std::vector<char>& content, std::uint64_t maxSize);

} // namespace klb

#endif
