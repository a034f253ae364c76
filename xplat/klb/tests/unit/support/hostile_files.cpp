#include "support/hostile_files.h"

#include "support/protected_samples.h"
#include "support/sealed_envelope.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <string_view>

namespace klb::test {

namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;

// The encodings are made by hand: libcrypto would refuse to make some, and be slow to make others.

std::string element(unsigned char tag, std::string_view content) {
    std::string length;
    for (std::size_t rest = content.size(); rest != 0; rest >>= 8) {
        length.insert(length.begin(), static_cast<char>(rest & 0xFF));
    }
    std::string encoded(1, static_cast<char>(tag));
    if (content.size() < 0x80) {
        encoded += static_cast<char>(content.size());
    } else {
        encoded += static_cast<char>(0x80 | length.size());
        encoded += length;
    }
    return encoded.append(content);
}

std::string sequence(std::string_view content) {
    return element(0x30, content);
}
std::string set(std::string_view content) {
    return element(0x31, content);
}
std::string tagged(int number, std::string_view content) {
    return element(static_cast<unsigned char>(0xA0 + number), content);
}
std::string identifier(std::string_view content) {
    return element(0x06, content);
}
std::string octets(std::string_view content) {
    return element(0x04, content);
}
std::string bits(std::string_view content) {
    return element(0x03, std::string(1, '\0').append(content));
}
std::string integer(std::string_view content) {
    return element(0x02, content);
}
std::string text(std::string_view content) {
    return element(0x0C, content);
}

/// As many numbered pieces as go into so many bytes.
std::string numbered(std::size_t size, std::size_t maxCount,
                     const std::function<std::string(std::size_t number)>& make) {
    std::string all;
    for (std::size_t number = 0; number < maxCount; ++number) {
        const std::string piece = make(number);
        if (all.size() + piece.size() > size) {
            break;
        }
        all += piece;
    }
    return all;
}

std::string repeated(std::string_view piece, std::size_t size, std::size_t maxCount = SIZE_MAX) {
    std::string all;
    for (std::size_t count = 0; count < maxCount && all.size() + piece.size() <= size; ++count) {
        all += piece;
    }
    return all;
}

/// Six digits, whatever the number.
std::string digits(std::size_t number) {
    const std::string shortest = std::to_string(number);
    return std::string(6 - std::min<std::size_t>(6, shortest.size()), '0') + shortest;
}

const std::string kNull = element(0x05, "");
const std::string kSha256 = sequence(identifier("\x60\x86\x48\x01\x65\x03\x04\x02\x01"sv) + kNull);
const std::string kRsaWithSha256 =
    sequence(identifier("\x2A\x86\x48\x86\xF7\x0D\x01\x01\x0B"sv) + kNull);
const std::string kRsa = sequence(identifier("\x2A\x86\x48\x86\xF7\x0D\x01\x01\x01"sv) + kNull);
const std::string kEcKey = identifier("\x2A\x86\x48\xCE\x3D\x02\x01"sv);
const std::string kPrimeField = identifier("\x2A\x86\x48\xCE\x3D\x01\x01"sv);
const std::string kSecp224r1 = identifier("\x2B\x81\x04\x00\x21"sv);
const std::string kData = identifier("\x2A\x86\x48\x86\xF7\x0D\x01\x07\x01"sv);
const std::string kSignedData = identifier("\x2A\x86\x48\x86\xF7\x0D\x01\x07\x02"sv);
const std::string kAuthorityKeyIdentifier = identifier("\x55\x1D\x23"sv);
const std::string kDistributionPoints = identifier("\x55\x1D\x1F"sv);
const std::string kSubjectAlternativeName = identifier("\x55\x1D\x11"sv);
const std::string kNameConstraints = identifier("\x55\x1D\x1E"sv);
const std::string kSerialNumber = integer("\x01"sv);

std::string nameEntry(std::string_view value) {
    return set(sequence(identifier("\x55\x04\x03"sv) + text(value)));
}
std::string name(std::string_view value) {
    return sequence(nameEntry(value));
}

std::string rsaKey() {
    return sequence(kRsa + bits(sequence(integer(std::string(64, 'n')) + integer("\x03"sv))));
}

/// A key whose point libcrypto has to decompress, on the named curve that takes it longest.
std::string compressedKey() {
    return sequence(sequence(kEcKey + kSecp224r1) +
                    bits("\x02\xB7\x0E\x0C\xBD\x6B\xB4\xBF\x7F\x32\x13\x90\xB9\x4A\x03\xC1\xD3\x56"
                         "\xC2\x11\x22\x34\x32\x80\xD6\x11\x5C\x1D\x21"sv));
}

/// A key on a curve of its own over the field of 141 * 2^640 + 1, in which square roots take long.
std::string keyOnCurveOfItsOwn() {
    const std::string zeros(79, '\0');
    const std::string prime = "\x8D"s + zeros + "\x01";
    const std::string point = "\x02\x00"s + zeros + "\x02";
    const std::string curve =
        sequence(integer("\x01"sv) + sequence(kPrimeField + integer("\0"s + prime)) +
                 sequence(octets("\x01"sv) + octets("\x07"sv)) + octets(point) +
                 integer("\0"s + prime) + integer("\x01"sv));
    return sequence(sequence(kEcKey + curve) + bits(point));
}

struct Certificate {
    std::string issuer = name("issuer");
    std::string subject = name("subject");
    std::string key = rsaKey();
    std::string extensions = {};
    bool isExpired = false;
};

std::string encoded(const Certificate& certificate) {
    const std::string validity =
        certificate.isExpired ? element(0x17, "100101000000Z") + element(0x17, "110101000000Z")
                              : element(0x17, "200101000000Z") + element(0x17, "490101000000Z");
    std::string content = tagged(0, integer("\x02"sv)) + kSerialNumber + kRsaWithSha256 +
                          certificate.issuer + sequence(validity) + certificate.subject +
                          certificate.key;
    if (!certificate.extensions.empty()) {
        content += tagged(3, sequence(certificate.extensions));
    }
    return sequence(sequence(content) + kRsaWithSha256 + bits("signature"));
}

std::string extension(const std::string& type, const std::string& value) {
    return sequence(type + octets(value));
}

/// The distribution points of a certificate whose issuer's name they go on with.
std::string relativePoints(std::size_t size, std::size_t maxCount) {
    const std::string relativeName = sequence(identifier("\x55\x04\x03"sv) + text("x"));
    return extension(
        kDistributionPoints,
        sequence(repeated(sequence(tagged(0, tagged(1, relativeName))), size, maxCount)));
}

std::string manyEntries(std::size_t size) {
    return sequence(repeated(nameEntry("entry"), size));
}

struct SignedData {
    std::string digests = kSha256;
    std::string content = sequence(kData + tagged(0, octets("{\"features\":{}}")));
    std::string certificates = encoded({});
    std::string revocationLists = {};
    std::string signers = {};
};

std::string signerOf(const std::string& issuer) {
    return sequence(integer("\x01"sv) + sequence(issuer + kSerialNumber) + kSha256 + kRsa +
                    octets("signature"));
}

std::string encoded(const SignedData& data) {
    const std::string signers = data.signers.empty() ? signerOf(name("issuer")) : data.signers;
    std::string content =
        integer("\x01"sv) + set(data.digests) + data.content + tagged(0, data.certificates);
    if (!data.revocationLists.empty()) {
        content += tagged(1, data.revocationLists);
    }
    return sequence(kSignedData + tagged(0, sequence(content + set(signers))));
}

std::string messageOf(std::string_view encodedMessage, std::string_view headers = {}) {
    return "MIME-Version: 1.0\n" + std::string(headers) +
           "Content-Type: application/x-pkcs7-mime; smime-type=signed-data\n"
           "Content-Transfer-Encoding: base64\n\n" +
           inBase64Lines(encodedMessage);
}

std::string messageOf(const SignedData& data) {
    return messageOf(encoded(data));
}

std::string detachedMessageOf(std::string_view parts, std::string_view headersOfSignature = {}) {
    return "MIME-Version: 1.0\nContent-Type: multipart/signed; "
           "protocol=\"application/x-pkcs7-signature\"; boundary=\"part\"\n\n--part\n" +
           std::string(parts) + "{\"features\":{}}\n--part\n" + std::string(headersOfSignature) +
           "Content-Type: application/x-pkcs7-signature\n\n" +
           inBase64Lines(encoded(SignedData{})) + "\n--part--\n";
}

/// Beside the certificate of the signer whom the host trusts.
std::string trusted(const std::string& certificates = {}) {
    return test::kSignerCertificate + certificates;
}

HostileFiles withMessage(const SignedData& data) {
    return {messageOf(data), trusted()};
}
HostileFiles withCertificates(const std::string& pem) {
    return {messageOf(SignedData{}), trusted(pem)};
}

std::string header(std::size_t number) {
    return "h" + digits(number) + ":\n";
}
std::string parameter(std::size_t number) {
    return " p" + digits(number) + "=;\n";
}

const std::vector<HostileShape> kShapes = {
    {"general names of a signer times candidates for its issuer",
     [](std::size_t size, const Counts& most) {
         const std::string candidates =
             repeated(encoded(Certificate{.issuer = name("root"), .subject = name("issuer")}),
                      size / 2, most.certificates - 1);
         const std::string names = tagged(1, repeated("\x82\x00"sv, size - candidates.size()));
         SignedData data;
         data.certificates = encoded(
             Certificate{.extensions = extension(kAuthorityKeyIdentifier, sequence(names))});
         data.certificates += candidates;
         return withMessage(data);
     }},
    {"expired certificates that issue one another",
     [](std::size_t size, const Counts& most) {
         const std::string pair =
             encoded(Certificate{.isExpired = true}) +
             encoded(Certificate{
                 .issuer = name("subject"), .subject = name("issuer"), .isExpired = true});
         SignedData data;
         data.certificates = repeated(pair, size, most.certificates / 2);
         return withMessage(data);
     }},
    {"a chain of certificates",
     [](std::size_t size, const Counts& most) {
         SignedData data;
         data.certificates = numbered(size, most.certificates, [](std::size_t number) {
             const auto subject = [](std::size_t n) { return name(n == 1 ? "issuer" : digits(n)); };
             return encoded(Certificate{.issuer = subject(number + 1), .subject = subject(number)});
         });
         return withMessage(data);
     }},
    {"keys that are decompressed",
     [](std::size_t size, const Counts& most) {
         SignedData data;
         data.certificates =
             repeated(encoded(Certificate{.key = compressedKey()}), size, most.certificates);
         return withMessage(data);
     }},
    {"keys on curves of their own",
     [](std::size_t size, const Counts& most) {
         SignedData data;
         data.certificates =
             repeated(encoded(Certificate{.key = keyOnCurveOfItsOwn()}), size, most.certificates);
         return withMessage(data);
     }},
    {"distribution points of a signer times entries of its issuer's name",
     [](std::size_t size, const Counts& most) {
         const std::string points = relativePoints(size / 2, most.relativePoints);
         const std::string issuer = manyEntries((size - points.size()) / 2);
         SignedData data;
         data.certificates = encoded(Certificate{.issuer = issuer, .extensions = points});
         data.signers = signerOf(issuer);
         return withMessage(data);
     }},
    {"signers times certificates",
     [](std::size_t size, const Counts& most) {
         SignedData data;
         data.certificates = repeated(encoded(Certificate{.issuer = name("other")}), size / 2,
                                      most.certificates - 1) +
                             encoded(Certificate{});
         data.signers =
             repeated(signerOf(name("issuer")), size - data.certificates.size(), most.signers);
         return withMessage(data);
     }},
    {"certificates behind one whose end is disguised",
     [](std::size_t size, const Counts& most) {
         const std::string certificate = encoded(Certificate{});
         // An element of the type that marks an end, which libcrypto takes for any other.
         const std::string algorithm = "\x30\x80" +
                                       identifier("\x2A\x86\x48\x86\xF7\x0D\x01\x01\x0B"sv) +
                                       "\x00\x81\x00"s + "\0\0"s;
         const std::size_t signedSize =
             certificate.size() - 4 - kRsaWithSha256.size() - bits("signature").size();
         SignedData data;
         data.certificates =
             certificate + "\x30\x80" + certificate.substr(4, signedSize) + algorithm +
             bits("signature") + "\0\0"s +
             repeated(encoded(Certificate{.key = compressedKey()}), size, most.certificates - 2);
         return withMessage(data);
     }},
    {"names of a signer times constraints of its issuer",
     [](std::size_t size, const Counts&) {
         SignedData data;
         data.certificates = certificateWithNames(1, size / 10, 0);
         return HostileFiles{messageOf(data),
                             trusted(pemOf(certificateWithNames(1, 1, size / 10)))};
     }},
    {"certificates of signed and enveloped data",
     [](std::size_t size, const Counts&) {
         const std::string content =
             integer("\x01"sv) + set("") + set(kSha256) +
             sequence(kData + sequence(identifier("\x2A"sv)) + element(0x80, "")) +
             tagged(0, repeated(encoded(Certificate{.key = compressedKey()}), size)) +
             set(signerOf(name("issuer")));
         const std::string type = identifier("\x2A\x86\x48\x86\xF7\x0D\x01\x07\x04"sv);
         return HostileFiles{messageOf(sequence(type + tagged(0, sequence(content)))), trusted()};
     }},
    {"empty elements for certificates",
     [](std::size_t size, const Counts& most) {
         SignedData data;
         data.certificates = repeated(sequence(""), size, most.certificates);
         return withMessage(data);
     }},
    {"digests",
     [](std::size_t size, const Counts& most) {
         SignedData data;
         data.digests = repeated(kSha256, size, most.digests);
         return withMessage(data);
     }},
    {"signed data inside signed data",
     [](std::size_t size, const Counts&) {
         SignedData inner;
         inner.certificates = repeated(encoded(Certificate{.key = compressedKey()}), size);
         SignedData data;
         data.content = encoded(inner);
         return withMessage(data);
     }},
    {"content in pieces of one byte",
     [](std::size_t size, const Counts&) {
         SignedData data;
         data.content =
             sequence(kData + tagged(0, "\x24\x80"s + repeated(octets("x"), size) + "\0\0"s));
         return withMessage(data);
     }},
    {"headers of the message",
     [](std::size_t size, const Counts& most) {
         const std::string headers =
             numbered(std::min(size, most.bytesOfHeaders), SIZE_MAX, header);
         return HostileFiles{messageOf(encoded(SignedData{}), headers), trusted()};
     }},
    {"parameters of the message's type",
     [](std::size_t size, const Counts& most) {
         const std::string headers =
             "Content-Type: multipart/signed;\n" +
             numbered(std::min(size, most.bytesOfHeaders), SIZE_MAX, parameter);
         return HostileFiles{messageOf(encoded(SignedData{}), headers), trusted()};
     }},
    {"headers of the signature",
     [](std::size_t size, const Counts& most) {
         const std::string headers =
             numbered(std::min(size, most.bytesOfHeaders), SIZE_MAX, header);
         return HostileFiles{detachedMessageOf("", headers), trusted()};
     }},
    {"parts",
     [](std::size_t size, const Counts&) {
         return HostileFiles{detachedMessageOf(repeated("x\n--part\n", size)), trusted()};
     }},
    {"lines of content",
     [](std::size_t size, const Counts&) {
         return HostileFiles{detachedMessageOf(repeated("\n", size)), trusted()};
     }},
    {"trusted keys that are decompressed",
     [](std::size_t size, const Counts& most) {
         return withCertificates(repeated(pemOf(encoded(Certificate{.key = compressedKey()})), size,
                                          most.trustedCertificates));
     }},
    {"trusted keys on curves of their own",
     [](std::size_t size, const Counts& most) {
         return withCertificates(repeated(pemOf(encoded(Certificate{.key = keyOnCurveOfItsOwn()})),
                                          size, most.trustedCertificates));
     }},
    {"trusted certificates with names alike",
     [](std::size_t size, const Counts& most) {
         const std::string alike(size / 1500, 'n');
         return withCertificates(numbered(size, most.trustedCertificates, [&](std::size_t n) {
             return pemOf(encoded(Certificate{.subject = name(alike + digits(n))}));
         }));
     }},
    {"distribution points of a trusted certificate times entries of its issuer's name",
     [](std::size_t size, const Counts& most) {
         const std::string points = relativePoints(size / 2, most.relativePoints);
         return withCertificates(
             pemOf(encoded(Certificate{.issuer = manyEntries(size - points.size()),
                                       .subject = name("issuer"),
                                       .extensions = points})));
     }},
    {"general names of a signer times trusted candidates for its issuer",
     [](std::size_t size, const Counts& most) {
         const std::string names = tagged(1, repeated("\x82\x00"sv, size));
         SignedData data;
         data.certificates = encoded(
             Certificate{.extensions = extension(kAuthorityKeyIdentifier, sequence(names))});
         const std::string candidates =
             repeated(pemOf(encoded(Certificate{.subject = name("issuer")})), size,
                      most.trustedCertificates);
         return HostileFiles{messageOf(data), trusted(candidates)};
     }},
};

} // namespace

const std::vector<HostileShape>& hostileShapes() {
    return kShapes;
}

std::string certificateOfSize(std::size_t size) {
    const auto make = [](std::size_t nameSize) {
        return encoded(Certificate{.subject = name(std::string(nameSize, 'n'))});
    };
    const std::size_t rest = make(size).size() - size;
    return make(size - rest);
}

std::string certificateWithRelativePoints(std::size_t count) {
    return encoded(Certificate{.extensions = relativePoints(SIZE_MAX, count)});
}

std::string certificateWithNames(std::size_t entries, std::size_t otherNames,
                                 std::size_t constraints) {
    const std::string mailbox = element(0x81, "a@b");
    const std::string excluded = tagged(1, repeated(sequence(mailbox), SIZE_MAX, constraints));
    return encoded(
        Certificate{.subject = sequence(repeated(nameEntry("entry"), SIZE_MAX, entries)),
                    .extensions = extension(kSubjectAlternativeName,
                                            sequence(repeated(mailbox, SIZE_MAX, otherNames))) +
                                  extension(kNameConstraints, sequence(excluded))});
}

std::string certificateWithIssuerNames(std::size_t count) {
    const std::string names = tagged(1, repeated("\x82\x00"sv, SIZE_MAX, count));
    return encoded(Certificate{.extensions = extension(kAuthorityKeyIdentifier, sequence(names))});
}

std::string damagedMessageWithKeyOnCurveOfItsOwn() {
    SignedData data;
    data.certificates =
        encoded(Certificate{.key = keyOnCurveOfItsOwn()}) + "\x30\x84\x7F\xFF\xFF\xFF";
    return encoded(data);
}

std::string certificateOnCurveOfItsOwn() {
    return encoded(Certificate{.key = keyOnCurveOfItsOwn()});
}

std::string pemOf(std::string_view encodedCertificate) {
    return "-----BEGIN CERTIFICATE-----\n" + inBase64Lines(encodedCertificate) +
           "-----END CERTIFICATE-----\n";
}

std::string messageInPieces(std::size_t size) {
    SignedData data;
    data.content =
        sequence(kData + tagged(0, "\x24\x80"s + repeated(octets("x"), 3 * size) + "\0\0"s));
    return encoded(data);
}

} // namespace klb::test
