#include "documents/exponents.h"

#include <algorithm>
#include <charconv>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <system_error>

namespace klb {

namespace {

// The numbers in a text of this size have too few decimals to matter without a long exponent.
constexpr std::size_t kMaxSizeOfQuickLook = std::size_t{1} << 30;
constexpr std::ptrdiff_t kLongExponent = 10;

constexpr int kMaxExponentOfDouble = 308;

bool isDigit(char c) noexcept {
    return c >= '0' && c <= '9';
}

char* endOfDigits(char* digits, char* end) noexcept {
    return std::find_if_not(digits, end, isDigit);
}

char* startOfDigits(char* begin, char* digitsEnd) noexcept {
    while (digitsEnd != begin && isDigit(digitsEnd[-1])) {
        --digitsEnd;
    }
    return digitsEnd;
}

bool isExponentLetter(char c) noexcept {
    return c == 'e' || c == 'E';
}

bool isSign(char c) noexcept {
    return c == '-' || c == '+';
}

bool followExponentLetter(const char* begin, const char* digits) noexcept {
    if (digits != begin && isSign(digits[-1])) {
        --digits;
    }
    return digits != begin && isExponentLetter(digits[-1]);
}

/// Also says so of what looks like one in a string. Exponents matter behind decimals only, and most
/// documents have no point at all; behind the first one, one character in ten is enough to meet
/// every run of ten digits.
bool mayHaveLongExponent(char* begin, char* end) noexcept {
    const std::string_view text(begin, static_cast<std::size_t>(end - begin));
    const std::size_t point = text.find('.');
    if (point == std::string_view::npos) {
        return false;
    }
    char* at = begin + point;
    while (end - at >= kLongExponent) {
        char* const sample = at + kLongExponent - 1;
        if (!isDigit(*sample)) {
            at = sample + 1;
            continue;
        }
        char* const digits = startOfDigits(at, sample);
        at = endOfDigits(sample, end);
        if (at - digits >= kLongExponent && followExponentLetter(begin, digits)) {
            return true;
        }
    }
    return false;
}

void limitExponent(char* begin, char* letter, char* end) noexcept {
    char* const decimals = startOfDigits(begin, letter);
    if (decimals == begin || decimals[-1] != '.') {
        // RapidJSON limits an exponent without decimals itself.
        return;
    }
    char* digits = letter + 1;
    const bool isNegative = digits != end && *digits == '-';
    if (digits != end && isSign(*digits)) {
        ++digits;
    }
    char* const digitsEnd = endOfDigits(digits, end);
    int exponent = 0;
    const bool isTooLong =
        std::from_chars(digits, digitsEnd, exponent).ec == std::errc::result_out_of_range;
    const std::int64_t decimalCount = letter - decimals;
    if (isNegative && (isTooLong || exponent + decimalCount > INT_MAX)) {
        std::fill(digits, digitsEnd, '0');
    } else if (!isNegative && (isTooLong || decimalCount > INT_MAX - kMaxExponentOfDouble)) {
        // The number is too big, for no file has as many decimals as its exponent says, or it has
        // so many that its exponent cannot be judged. Decimals behind the seventeenth that is not
        // a leading 0 do not count.
        *decimals = '1';
    }
}

} // namespace

void limitExponents(std::vector<char>& text) noexcept {
    char* const begin = text.data();
    char* const end = begin + text.size();
    if (text.size() <= kMaxSizeOfQuickLook && !mayHaveLongExponent(begin, end)) {
        return;
    }
    bool isInString = false;
    for (char* c = begin; c < end; ++c) {
        if (*c == '"') {
            isInString = !isInString;
        } else if (*c == '\\' && isInString) {
            ++c;
        } else if (!isInString && isExponentLetter(*c) && c != begin && isDigit(c[-1])) {
            limitExponent(begin, c, end);
        }
    }
}

} // namespace klb
