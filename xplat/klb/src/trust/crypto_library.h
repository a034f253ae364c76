#ifndef KLB_TRUST_CRYPTO_LIBRARY_H
#define KLB_TRUST_CRYPTO_LIBRARY_H

#include <cstddef>
#include <vector>

namespace klb {

/// Makes the crypto library's algorithms known; protected toggle files need them. May be called
/// more than once.
void initializeCryptoLibrary();

/// Overwrites bytes in a way that a compiler does not leave out.
void cleanse(void* bytes, std::size_t size) noexcept;

/// Overwrites bytes, when its scope ends, that nobody may find in memory afterwards.
class CleanseScope {
public:
    explicit CleanseScope(std::vector<char>& bytes) noexcept : bytes_(bytes) {}
    CleanseScope(const CleanseScope&) = delete;
    CleanseScope& operator=(const CleanseScope&) = delete;
    ~CleanseScope();

private:
    std::vector<char>& bytes_;
};

} // namespace klb

#endif
