// How libFuzzer changes texts that have DER in lines of base64: S/MIME messages and PEM. A change
// of the text alone rarely leaves anything that can be decoded.
#include "der_mutation.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <openssl/evp.h>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* bytes, std::size_t size, std::size_t maxSize);

namespace klb::fuzz {
namespace {

constexpr std::size_t kMaxDecodedSize = 16384;

struct Block {
    std::size_t begin = 0;
    std::size_t size = 0;
};

bool isBase64(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '+' ||
           c == '/' || c == '=';
}

/// Runs of lines of nothing but base64.
std::vector<Block> blocksOf(std::string_view text) {
    std::vector<Block> blocks;
    bool joins = false;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size() - 1) + 1;
        std::string_view line = text.substr(begin, end - begin);
        while (line.ends_with('\n') || line.ends_with('\r')) {
            line.remove_suffix(1);
        }
        const bool isPart = !line.empty() && std::all_of(line.begin(), line.end(), isBase64);
        if (isPart && !joins) {
            blocks.push_back({begin, 0});
        }
        if (isPart) {
            blocks.back().size = end - blocks.back().begin;
        }
        joins = isPart;
        begin = end;
    }
    return blocks;
}

std::string decoded(std::string_view text) {
    std::string digits;
    std::copy_if(text.begin(), text.end(), std::back_inserter(digits), isBase64);
    digits.resize(digits.size() / 4 * 4);
    std::string bytes(digits.size() / 4 * 3, '\0');
    const int size = EVP_DecodeBlock(reinterpret_cast<unsigned char*>(bytes.data()),
                                     reinterpret_cast<const unsigned char*>(digits.data()),
                                     static_cast<int>(digits.size()));
    // It counts what the padding stands for.
    const auto padding = static_cast<std::size_t>(std::count(digits.begin(), digits.end(), '='));
    bytes.resize(size < 0 ? 0 : static_cast<std::size_t>(size) - std::min<std::size_t>(padding, 2));
    return bytes;
}

std::string encoded(const std::string& bytes) {
    constexpr std::size_t kBytesPerLine = 48;
    std::string text;
    for (std::size_t at = 0; at < bytes.size(); at += kBytesPerLine) {
        const std::string piece = bytes.substr(at, kBytesPerLine);
        char line[kBytesPerLine / 3 * 4 + 1];
        EVP_EncodeBlock(reinterpret_cast<unsigned char*>(line),
                        reinterpret_cast<const unsigned char*>(piece.data()),
                        static_cast<int>(piece.size()));
        text.append(line).append("\n");
    }
    return text;
}

std::string mutatedBytes(std::string bytes) {
    const std::size_t size = bytes.size();
    bytes.resize(std::max(kMaxDecodedSize, size));
    bytes.resize(
        LLVMFuzzerMutate(reinterpret_cast<std::uint8_t*>(bytes.data()), size, bytes.size()));
    return bytes;
}

std::string mutatedInside(std::string text, std::minstd_rand& random) {
    const std::vector<Block> blocks = blocksOf(text);
    if (blocks.empty()) {
        return mutatedBytes(std::move(text));
    }
    const Block block = blocks[random() % blocks.size()];
    const std::string der = decoded(std::string_view(text).substr(block.begin, block.size));
    return text.replace(block.begin, block.size, encoded(mutatedDer(der, mutatedBytes, random)));
}

} // namespace
} // namespace klb::fuzz

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* bytes, std::size_t size,
                                               std::size_t maxSize, unsigned int seed) {
    std::minstd_rand random(seed);
    if (random() % 4 == 0) {
        return LLVMFuzzerMutate(bytes, size, maxSize);
    }
    const std::string text =
        klb::fuzz::mutatedInside({reinterpret_cast<const char*>(bytes), size}, random);
    if (text.size() > maxSize) {
        return LLVMFuzzerMutate(bytes, size, maxSize);
    }
    std::memcpy(bytes, text.data(), text.size());
    return text.size();
}
