#ifndef KLB_TESTS_SUPPORT_SOURCE_TEXT_H
#define KLB_TESTS_SUPPORT_SOURCE_TEXT_H

#include <optional>
#include <string>

namespace klb::test {

/// A text as it is written in source code, so that a call can be repeated by hand.
std::string sourceText(const std::optional<std::string>& text);

/// "true" or "false".
std::string named(bool value);

} // namespace klb::test

#endif
