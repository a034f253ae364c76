#include "trust/message_limits.h"

#include <algorithm>
#include <cstddef>
#include <memory>

#include <openssl/asn1.h>
#include <openssl/objects.h>
#include <openssl/x509v3.h>

namespace klb {

namespace {

constexpr std::size_t kMaxHeaderSize = 16 * 1024;
constexpr int kMaxBoundaries = 8;
constexpr std::size_t kMaxSizeAroundContent = 128 * 1024;
constexpr int kMaxCertificates = 64;
constexpr int kMaxSigners = 64;
constexpr int kMaxDigests = 16;
constexpr int kMaxRelativePoints = 2;

// libcrypto takes the rest of a longer line for a line of its own.
constexpr std::size_t kMaxLineSize = 1023;

/// 1.2.840.10045.1, the field of a curve that a key describes instead of naming it.
constexpr std::string_view kFieldType = "\x2A\x86\x48\xCE\x3D\x01";

/// Goes over the elements of a BER encoding and decodes none.
class ElementReader {
public:
    explicit ElementReader(std::string_view encoding) noexcept
        : at_(reinterpret_cast<const unsigned char*>(encoding.data())),
          end_(at_ + encoding.size()) {}

    bool isNext(int tag, int tagClass) const noexcept {
        const unsigned char* at = at_;
        Header header;
        return readHeader(at, header) && header.tag == tag && header.tagClass == tagClass;
    }

    /// Goes on with what is inside the next element.
    bool enter() noexcept {
        Header header;
        if (!readHeader(at_, header)) {
            return false;
        }
        if (!header.endIsMarked) {
            end_ = at_ + header.length;
        }
        return true;
    }

    /// Goes behind the next element and gives its size; 0 when there is none.
    std::size_t skip() noexcept {
        const unsigned char* const begin = at_;
        std::size_t openElements = 0;
        do {
            Header header;
            if (!readHeader(at_, header)) {
                return 0;
            }
            if (header.endIsMarked) {
                ++openElements;
            } else if (!header.isEndMark()) {
                at_ += header.length;
            } else if (openElements == 0) {
                return 0;
            } else {
                --openElements;
            }
        } while (openElements > 0);
        return static_cast<std::size_t>(at_ - begin);
    }

private:
    struct Header {
        int tag = 0;
        int tagClass = 0;
        long length = 0;
        bool endIsMarked = false;

        bool isEndMark() const noexcept {
            return tag == V_ASN1_EOC && tagClass == V_ASN1_UNIVERSAL && length == 0;
        }
    };

    bool readHeader(const unsigned char*& at, Header& header) const noexcept {
        const int form = ASN1_get_object(&at, &header.length, &header.tag, &header.tagClass,
                                         static_cast<long>(end_ - at));
        header.endIsMarked = (form & 1) != 0;
        return (form & 0x80) == 0;
    }

    const unsigned char* at_;
    const unsigned char* end_;
};

/// What libcrypto decodes of a message.
struct Outline {
    std::size_t contentSize = 0;
    int certificates = 0;
    /// The content is something to decode itself.
    bool isNested = false;
};

Outline outlineOf(std::string_view message) noexcept {
    Outline outline;
    ElementReader reader(message);
    const bool isSigned = reader.enter() && reader.skip() != 0 &&                   // type
                          reader.enter() && reader.enter() && reader.skip() != 0 && // version
                          reader.skip() != 0;                                       // digests
    if (!isSigned) {
        return outline;
    }
    ElementReader content = reader;
    if (content.enter() && content.skip() != 0 && content.enter()) {
        outline.isNested = !content.isNext(V_ASN1_OCTET_STRING, V_ASN1_UNIVERSAL);
        outline.contentSize = content.skip();
    }
    if (reader.skip() != 0 && reader.isNext(0, V_ASN1_CONTEXT_SPECIFIC) && reader.enter()) {
        while (reader.skip() != 0) {
            ++outline.certificates;
        }
    }
    return outline;
}

} // namespace

bool hasShortHeaders(std::string_view text) noexcept {
    bool isInHeaders = true;
    bool beginsLine = true;
    std::size_t size = 0;
    int boundaries = 0;
    while (!text.empty()) {
        const std::size_t lineEnd = text.substr(0, kMaxLineSize).find('\n');
        const std::string_view line =
            text.substr(0, lineEnd != std::string_view::npos ? lineEnd + 1 : kMaxLineSize);
        text.remove_prefix(line.size());
        if (line.starts_with("--")) {
            // The content follows the first one, headers may follow any other.
            if (++boundaries > 1 && !isInHeaders) {
                isInHeaders = true;
                size = 0;
            }
        } else if (beginsLine && (line == "\n" || line == "\r\n")) {
            isInHeaders = false;
        }
        size += line.size();
        if (boundaries > kMaxBoundaries || (isInHeaders && size > kMaxHeaderSize)) {
            return false;
        }
        beginsLine = line.ends_with('\n');
    }
    return true;
}

bool isFitToDecode(std::string_view message) noexcept {
    const Outline outline = outlineOf(message);
    return !outline.isNested && message.size() - outline.contentSize <= kMaxSizeAroundContent &&
           outline.certificates <= kMaxCertificates && namesItsCurve(message);
}

bool namesItsCurve(std::string_view encoding) noexcept {
    return encoding.find(kFieldType) == std::string_view::npos;
}

bool isFitToVerify(PKCS7* message) noexcept {
    if (!PKCS7_type_is_signed(message) || message->d.sign == nullptr) {
        return false;
    }
    const PKCS7_SIGNED& data = *message->d.sign;
    // Each digest becomes a filter that all content runs through, and the filters call one another:
    // many of them take the time and then the stack. Without any libcrypto frees the detached
    // content that is not its own.
    const int digests = sk_X509_ALGOR_num(data.md_algs);
    if (digests < 1 || digests > kMaxDigests ||
        sk_PKCS7_SIGNER_INFO_num(data.signer_info) > kMaxSigners) {
        return false;
    }
    for (int i = 0; i < sk_X509_num(data.cert); ++i) {
        if (!hasFewRelativePoints(sk_X509_value(data.cert, i))) {
            return false;
        }
    }
    return true;
}

bool hasFewRelativePoints(X509* certificate) noexcept {
    struct Deleter {
        void operator()(CRL_DIST_POINTS* points) const noexcept {
            CRL_DIST_POINTS_free(points);
        }
    };
    const std::unique_ptr<CRL_DIST_POINTS, Deleter> points(static_cast<CRL_DIST_POINTS*>(
        X509_get_ext_d2i(certificate, NID_crl_distribution_points, nullptr, nullptr)));
    int relativePoints = 0;
    for (int i = 0; i < sk_DIST_POINT_num(points.get()); ++i) {
        const DIST_POINT_NAME* name = sk_DIST_POINT_value(points.get(), i)->distpoint;
        if (name != nullptr && name->type == 1) {
            ++relativePoints;
        }
    }
    return relativePoints <= kMaxRelativePoints;
}

} // namespace klb
