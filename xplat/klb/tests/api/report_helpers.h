#ifndef KLB_TESTS_API_REPORT_HELPERS_H
#define KLB_TESTS_API_REPORT_HELPERS_H

#include "klb.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace klb::test {

/// A report as its export writes it.
using Report = std::function<unsigned long long(char* buffer, unsigned long long bufferSize)>;

/// The whole text, fetched as a host does: the size first, then the text.
inline std::string textOf(const Report& report) {
    const unsigned long long needed = report(nullptr, 0);
    if (needed == 0) {
        return "";
    }
    std::string text(static_cast<std::size_t>(needed), '#');
    EXPECT_EQ(report(text.data(), needed), needed);
    EXPECT_EQ(text.back(), '\0');
    text.pop_back();
    return text;
}

inline Report defaultToggleJsonReport(const char* moduleName, const char* moduleVersion) {
    return [=](char* buffer, unsigned long long bufferSize) {
        return KLB_GetDefaultToggleJson(moduleName, moduleVersion, buffer, bufferSize);
    };
}

inline std::string defaultToggleJson(const char* moduleName = nullptr,
                                     const char* moduleVersion = nullptr) {
    return textOf(defaultToggleJsonReport(moduleName, moduleVersion));
}

inline std::string overrideInfo() {
    return textOf(&KLB_GetOverrideInfoString);
}

inline KLB_ToggleFileType typeOf(int value) {
    return static_cast<KLB_ToggleFileType>(value);
}

/// A path as it stands between the quotes of a JSON string; for paths of temporary directories,
/// which need nothing but their backslashes escaped.
inline std::string inJson(std::string_view path) {
    std::string escaped;
    for (const char each : path) {
        escaped.append(each == '\\' ? 2 : 1, each);
    }
    return escaped;
}

} // namespace klb::test

#endif
