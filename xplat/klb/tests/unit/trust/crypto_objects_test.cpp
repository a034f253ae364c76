#include "trust/crypto_objects.h"

#include "support/failing_allocation.h"
#include "trust/crypto_library.h"

#include <gtest/gtest.h>

#include <openssl/objects.h>

namespace klb {
namespace {

constexpr std::string_view kContent = "a document inside its signature";

SignedDataPtr messageWithContent() {
    SignedDataPtr message(PKCS7_new());
    EXPECT_EQ(PKCS7_set_type(message.get(), NID_pkcs7_signed), 1);
    EXPECT_EQ(PKCS7_content_new(message.get(), NID_pkcs7_data), 1);
    EXPECT_EQ(ASN1_OCTET_STRING_set(message->d.sign->contents->d.data,
                                    reinterpret_cast<const unsigned char*>(kContent.data()),
                                    static_cast<int>(kContent.size())),
              1);
    return message;
}

/// The same content under two signatures, as data of a type that OpenSSL does not know.
SignedDataPtr nestedMessage() {
    SignedDataPtr outer(PKCS7_new());
    EXPECT_EQ(PKCS7_set_type(outer.get(), NID_pkcs7_signed), 1);
    PKCS7* inner = PKCS7_new();
    EXPECT_EQ(PKCS7_set_type(inner, NID_pkcs7_signed), 1);
    PKCS7* content = PKCS7_new();
    EXPECT_EQ(PKCS7_set0_type_other(content, NID_commonName, ASN1_TYPE_new()), 1);
    ASN1_OCTET_STRING* text = ASN1_OCTET_STRING_new();
    EXPECT_EQ(ASN1_OCTET_STRING_set(text, reinterpret_cast<const unsigned char*>(kContent.data()),
                                    static_cast<int>(kContent.size())),
              1);
    ASN1_TYPE_set(content->d.other, V_ASN1_OCTET_STRING, text);
    EXPECT_EQ(PKCS7_set_content(inner, content), 1);
    EXPECT_EQ(PKCS7_set_content(outer.get(), inner), 1);
    return outer;
}

TEST(SignedData, LeavesNoContentInFreedMemory) {
    initializeCryptoLibrary();
    const test::FreedMemoryWatch watch(kContent, test::WatchedMemory::OfCryptoLibraryToo);
    messageWithContent().reset();
    nestedMessage().reset();
    EXPECT_EQ(watch.sightings(), 0);

    // Without the owner's care it would be there.
    PKCS7_free(messageWithContent().release());
    EXPECT_EQ(watch.sightings(), 1);
}

TEST(SignedData, MayBeOfAnyKind) {
    initializeCryptoLibrary();
    SignedDataPtr(PKCS7_new()).reset();
    for (const int kind : {NID_pkcs7_signed, NID_pkcs7_data, NID_pkcs7_digest, NID_pkcs7_enveloped,
                           NID_pkcs7_signedAndEnveloped, NID_pkcs7_encrypted}) {
        const SignedDataPtr message(PKCS7_new());
        EXPECT_EQ(PKCS7_set_type(message.get(), kind), 1);
    }
    const SignedDataPtr unknownKind(PKCS7_new());
    EXPECT_EQ(PKCS7_set0_type_other(unknownKind.get(), NID_commonName, ASN1_TYPE_new()), 1);
    ASN1_TYPE_set(unknownKind->d.other, V_ASN1_NULL, nullptr);
}

} // namespace
} // namespace klb
