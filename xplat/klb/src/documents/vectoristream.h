#ifndef KLB_DOCUMENTS_VECTORISTREAM_H
#define KLB_DOCUMENTS_VECTORISTREAM_H

#include <streambuf>
#include <vector>

namespace klb {

/// A read-only stream buffer whose get area is the caller's bytes: nothing is copied. The bytes
/// must stay where they are while it is in use.
class vectoristream : public std::streambuf {
public:
    explicit vectoristream(std::vector<char>& bytes) {
        setg(bytes.data(), bytes.data(), bytes.data() + bytes.size());
    }

    /// The bytes not read yet.
    const char* current() const noexcept {
        return gptr();
    }
    const char* end() const noexcept {
        return egptr();
    }
};

} // namespace klb

#endif
