#include "source_text.h"

namespace klb::test {

std::string sourceText(const std::optional<std::string>& text) {
    if (!text) {
        return "nullptr";
    }
    const std::string hexDigits = "0123456789ABCDEF";
    std::string out = "\"";
    bool isAfterHex = false;
    for (const char each : *text) {
        const auto byte = static_cast<unsigned char>(each);
        if (byte < 0x20 || byte >= 0x7F) {
            out += "\\x";
            out += hexDigits[byte / 16];
            out += hexDigits[byte % 16];
            isAfterHex = true;
            continue;
        }
        if (isAfterHex) {
            out += "\" \"";
            isAfterHex = false;
        }
        if (each == '"' || each == '\\') {
            out += '\\';
        }
        out += each;
    }
    return out + '"';
}

std::string named(bool value) {
    return value ? "true" : "false";
}

} // namespace klb::test
