#include "trust/message_limits.h"

#include "trust/crypto_objects.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

#include <openssl/asn1.h>
#include <openssl/objects.h>
#include <openssl/x509v3.h>

namespace klb {

namespace {

constexpr std::size_t kMaxHeaderSize = 16 * 1024;
constexpr std::size_t kMaxBoundaries = 8;
constexpr int kMaxParts = 8;
constexpr std::size_t kMaxSizeAroundContent = 128 * 1024;
constexpr int kMaxCertificates = 64;
constexpr int kMaxSigners = 6;
constexpr int kMaxDigests = 16;
constexpr int kMaxRelativePoints = 2;
constexpr int kMaxNames = 32;
constexpr int kMaxIssuerNames = 32;
constexpr int kMaxNameConstraints = 16;
constexpr int kMaxDepth = 8;
// Those of content and of certificates: libcrypto verifies the chain of each signer anew.
constexpr int kMaxVerifications = 12;
// Anything other than signed data.
constexpr std::size_t kMaxUnknownSize = 8 * 1024;

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

    /// Goes on with what is inside the next element; false when there is none.
    bool enter() noexcept {
        Header header;
        if (isAtEnd() || !readHeader(at_, header)) {
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
            if (openElements > 0 && isAtEndMark()) {
                --openElements;
                at_ += kEndMark.size();
            } else if (isAtEnd() || !readHeader(at_, header)) {
                return 0;
            } else if (header.endIsMarked) {
                ++openElements;
            } else {
                at_ += header.length;
            }
        } while (openElements > 0);
        return static_cast<std::size_t>(at_ - begin);
    }

    bool enter(int tag, int tagClass) noexcept {
        return isNext(tag, tagClass) && enter();
    }
    bool skip(int tag, int tagClass) noexcept {
        return isNext(tag, tagClass) && skip() != 0;
    }

    /// Whether there is no further element where the reader is.
    bool isAtEnd() const noexcept {
        return at_ == end_ || isAtEndMark();
    }

private:
    struct Header {
        int tag = 0;
        int tagClass = 0;
        long length = 0;
        bool endIsMarked = false;
    };

    static constexpr std::array<unsigned char, 2> kEndMark{};

    bool isAtEndMark() const noexcept {
        return static_cast<std::size_t>(end_ - at_) >= kEndMark.size() &&
               std::equal(kEndMark.begin(), kEndMark.end(), at_);
    }

    bool readHeader(const unsigned char*& at, Header& header) const noexcept {
        const int form = ASN1_get_object(&at, &header.length, &header.tag, &header.tagClass,
                                         static_cast<long>(end_ - at));
        header.endIsMarked = (form & 1) != 0;
        return (form & 0x80) == 0;
    }

    const unsigned char* at_;
    const unsigned char* end_;
};

/// What a line of a text is to libcrypto, which takes the rest of a long one for a line of its own.
class LineReader {
public:
    explicit LineReader(std::string_view text) noexcept : rest_(text) {}

    bool next() noexcept {
        beginsLine_ = line_.empty() || line_.ends_with('\n');
        const std::size_t end = rest_.substr(0, kMaxLineSize).find('\n');
        line_ = rest_.substr(0, end != std::string_view::npos ? end + 1 : kMaxLineSize);
        rest_.remove_prefix(line_.size());
        return !line_.empty();
    }
    std::string_view line() const noexcept {
        return line_;
    }
    /// Whether libcrypto ends the headers of the text here.
    bool endsHeaders() const noexcept {
        return line_[0] == '\r' || line_[0] == '\n' || line_[0] == '\0';
    }
    /// Whether libcrypto ends the headers of a part here, whose lines it has put together anew. It
    /// also ends them at other lines.
    bool endsHeadersOfPart() const noexcept {
        const bool isEmpty =
            line_.ends_with('\n') && line_.find_first_not_of('\r') == line_.size() - 1;
        return beginsLine_ && (isEmpty || line_[0] == '\0');
    }
    /// Whether libcrypto may make a header or a parameter of the line.
    bool isHeader() const noexcept {
        return line_.find(':') != std::string_view::npos ||
               std::string_view(" \t\v\f").find(line_[0]) != std::string_view::npos;
    }

private:
    std::string_view rest_;
    std::string_view line_;
    bool beginsLine_ = true;
};

char lowerCase(char c) noexcept {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// Adds what the boundary that a line of headers names begins with. What is quoted may go on.
void addBoundaries(std::string_view line, std::vector<std::string_view>& boundaries) {
    constexpr std::string_view kName = "boundary";
    constexpr std::string_view kSpace = " \t\v\f";
    constexpr std::string_view kEnd(" \t\v\f\";\r\n\0", 9);
    const auto skip = [&line](std::string_view characters) {
        line.remove_prefix(std::min(line.find_first_not_of(characters), line.size()));
    };
    while (true) {
        const auto found =
            std::search(line.begin(), line.end(), kName.begin(), kName.end(),
                        [](char one, char other) { return lowerCase(one) == other; });
        if (found == line.end()) {
            return;
        }
        line.remove_prefix(static_cast<std::size_t>(found - line.begin()) + kName.size());
        skip(" \t\v\f\"");
        if (line.starts_with('=')) {
            line.remove_prefix(1);
            skip(kSpace);
            line.remove_prefix(line.starts_with('"') ? 1 : 0);
            boundaries.push_back(line.substr(0, line.find_first_of(kEnd)));
        }
    }
}

template <class Extension, void (*freeExtension)(Extension*)>
auto extensionOf(X509* certificate, int type) noexcept {
    return std::unique_ptr<Extension, CryptoDeleter<freeExtension>>(
        static_cast<Extension*>(X509_get_ext_d2i(certificate, type, nullptr, nullptr)));
}

/// What libcrypto decodes of a message.
struct Outline {
    std::size_t contentSize = 0;
    int certificates = 0;
    /// The content is something to decode itself.
    bool isNested = false;
};

/// None of what does not look like signed data.
std::optional<Outline> outlineOf(std::string_view message) noexcept {
    ElementReader reader(message);
    const bool isSigned = reader.enter(V_ASN1_SEQUENCE, V_ASN1_UNIVERSAL) &&
                          reader.skip(V_ASN1_OBJECT, V_ASN1_UNIVERSAL) &&
                          reader.enter(0, V_ASN1_CONTEXT_SPECIFIC) &&
                          reader.enter(V_ASN1_SEQUENCE, V_ASN1_UNIVERSAL) &&
                          reader.skip(V_ASN1_INTEGER, V_ASN1_UNIVERSAL) &&
                          reader.skip(V_ASN1_SET, V_ASN1_UNIVERSAL) && // digests
                          reader.isNext(V_ASN1_SEQUENCE, V_ASN1_UNIVERSAL);
    if (!isSigned) {
        return std::nullopt;
    }
    Outline outline;
    ElementReader content = reader;
    if (content.enter() && content.skip() != 0 && content.enter()) {
        outline.isNested = !content.isNext(V_ASN1_OCTET_STRING, V_ASN1_UNIVERSAL);
        outline.contentSize = content.skip();
    }
    if (reader.skip() != 0 && reader.enter(0, V_ASN1_CONTEXT_SPECIFIC)) {
        while (reader.skip() != 0) {
            ++outline.certificates;
        }
        if (!reader.isAtEnd()) {
            return std::nullopt;
        }
    }
    return outline;
}

} // namespace

Fitness fitnessOfText(std::string_view text) {
    LineReader reader(text);
    std::vector<std::string_view> boundaries;
    std::size_t headerSize = 0;
    bool isInHeaders = true;
    int parts = 0;
    while (reader.next()) {
        const std::string_view line = reader.line();
        if (isInHeaders && (parts == 0 ? reader.endsHeaders() : reader.endsHeadersOfPart())) {
            if (headerSize > kMaxHeaderSize || boundaries.size() > kMaxBoundaries) {
                return Fitness::kTooLarge;
            }
            if (boundaries.empty()) {
                return Fitness::kFit;
            }
            isInHeaders = false;
            headerSize = 0;
        } else if (isInHeaders) {
            headerSize += reader.isHeader() ? line.size() : 0;
            if (parts == 0) {
                addBoundaries(line, boundaries);
            }
        }
        const bool beginsPart =
            (parts > 0 || !isInHeaders) && line.starts_with("--") &&
            std::any_of(boundaries.begin(), boundaries.end(), [&](std::string_view boundary) {
                return line.substr(2).starts_with(boundary);
            });
        if (beginsPart) {
            // The content follows on the first one.
            isInHeaders = ++parts > 1;
        }
        if (parts > kMaxParts) {
            return Fitness::kUnreadable;
        }
    }
    return headerSize > kMaxHeaderSize ? Fitness::kUnreadable : Fitness::kFit;
}

Fitness fitnessOfMessage(std::string_view message) noexcept {
    if (!namesItsCurves(message)) {
        return Fitness::kTooLarge;
    }
    const std::optional<Outline> outline = outlineOf(message);
    if (!outline) {
        return message.size() > kMaxUnknownSize ? Fitness::kUnreadable : Fitness::kFit;
    }
    const bool isFit = !outline->isNested && outline->certificates <= kMaxCertificates &&
                       message.size() - outline->contentSize <= kMaxSizeAroundContent;
    return isFit ? Fitness::kFit : Fitness::kTooLarge;
}

bool namesItsCurves(std::string_view encoding) noexcept {
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
        if (!isFitToVerify(sk_X509_value(data.cert, i))) {
            return false;
        }
    }
    return true;
}

bool isFitToVerify(X509* certificate) noexcept {
    const auto points = extensionOf<CRL_DIST_POINTS, CRL_DIST_POINTS_free>(
        certificate, NID_crl_distribution_points);
    int relativePoints = 0;
    for (int i = 0; i < sk_DIST_POINT_num(points.get()); ++i) {
        const DIST_POINT_NAME* name = sk_DIST_POINT_value(points.get(), i)->distpoint;
        if (name != nullptr && name->type == 1) {
            ++relativePoints;
        }
    }
    const auto otherNames =
        extensionOf<GENERAL_NAMES, GENERAL_NAMES_free>(certificate, NID_subject_alt_name);
    const int names = X509_NAME_entry_count(X509_get_subject_name(certificate)) +
                      std::max(0, sk_GENERAL_NAME_num(otherNames.get()));
    const auto constraints =
        extensionOf<NAME_CONSTRAINTS, NAME_CONSTRAINTS_free>(certificate, NID_name_constraints);
    const auto authority = extensionOf<AUTHORITY_KEYID, AUTHORITY_KEYID_free>(
        certificate, NID_authority_key_identifier);
    const int issuerNames = authority ? sk_GENERAL_NAME_num(authority->issuer) : 0;
    const int nameConstraints =
        !constraints ? 0
                     : std::max(0, sk_GENERAL_SUBTREE_num(constraints->permittedSubtrees)) +
                           std::max(0, sk_GENERAL_SUBTREE_num(constraints->excludedSubtrees));
    return relativePoints <= kMaxRelativePoints && names <= kMaxNames &&
           issuerNames <= kMaxIssuerNames && nameConstraints <= kMaxNameConstraints;
}

int maxDepthFor(PKCS7* message) noexcept {
    // The content's verification and that of the signer's own certificate come on top.
    const int signers = std::max(1, sk_PKCS7_SIGNER_INFO_num(PKCS7_get_signer_info(message)));
    return std::min(kMaxDepth, kMaxVerifications / signers - 2);
}

} // namespace klb
