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

TEST(SignedData, LeavesNoContentInFreedMemory) {
    initializeCryptoLibrary();
    const test::FreedMemoryWatch watch(kContent, test::WatchedMemory::OfCryptoLibraryToo);
    messageWithContent().reset();
    EXPECT_EQ(watch.sightings(), 0);

    // Without the owner's care it would be there.
    PKCS7_free(messageWithContent().release());
    EXPECT_EQ(watch.sightings(), 1);
}

TEST(SignedData, MayBeOfAnyKind) {
    initializeCryptoLibrary();
    SignedDataPtr(PKCS7_new()).reset();
    for (const int kind : {NID_pkcs7_signed, NID_pkcs7_data, NID_pkcs7_digest}) {
        const SignedDataPtr message(PKCS7_new());
        EXPECT_EQ(PKCS7_set_type(message.get(), kind), 1);
    }
}

} // namespace
} // namespace klb
