#include "documents/document_loader.h"

#include "support/failing_allocation.h"
#include "support/fake_platform.h"
#include "support/protected_samples.h"
#include "trust/crypto_objects.h"

#include <gtest/gtest.h>

namespace klb {
namespace {

constexpr const char* kPath = "C:\\toggles.json";
constexpr const char* kText = R"({"header":{"systemId":"S"},"features":{"a":true}})";

using test::FakeFile;

class LoadToggleDocument : public testing::Test {
protected:
    LoadToggleDocument() {
        platform.files[kPath].bytes = kText;
    }

    LoadResult load(std::string_view systemId = "S") {
        return loadToggleDocument(kPath, isProtected, systemId, signers, platform.services());
    }

    FakeFile& file() {
        return platform.files[kPath];
    }

    test::FakePlatform platform;
    bool isProtected = false;
    SignerCheck signers;
};

TEST_F(LoadToggleDocument, ReadsAndParses) {
    const LoadResult result = load();
    EXPECT_NE(result.document, nullptr);
    EXPECT_EQ(result.error, "");
    EXPECT_FALSE(result.fileMissing);
    EXPECT_TRUE(result.isFinal());
}

TEST_F(LoadToggleDocument, AMissingFileIsFinal) {
    platform.files.clear();
    const LoadResult result = load();
    EXPECT_EQ(result.document, nullptr);
    EXPECT_TRUE(result.fileMissing);
    EXPECT_EQ(result.error, "");
    EXPECT_TRUE(result.isFinal());
}

TEST_F(LoadToggleDocument, AnyShortReadIsAnError) {
    const std::string text = kText;
    for (std::size_t length = 0; length < text.size(); ++length) {
        SCOPED_TRACE("of " + std::to_string(text.size()) + " bytes arrive " +
                     std::to_string(length));
        file().bytes = text.substr(0, length);
        file().claimedSize = text.size();
        const LoadResult result = load();
        EXPECT_EQ(result.document, nullptr);
        EXPECT_EQ(result.error, "UnableToReadFile");
        EXPECT_EQ(result.errorOffset, 0U);
        EXPECT_FALSE(result.fileMissing);
    }
}

TEST_F(LoadToggleDocument, AFileThatGrowsIsReadAsFarAsItsSizeSaid) {
    file().claimedSize = file().bytes.size();
    file().bytes += " and more";
    EXPECT_NE(load().document, nullptr);
}

TEST_F(LoadToggleDocument, SizesBeyondASigned32BitNumberAreRefusedBeforeMemoryIsTaken) {
    for (const std::uint64_t size : {0x80000000ULL, 0x100000008ULL, ~0ULL}) {
        SCOPED_TRACE(size);
        file().claimedSize = size;
        EXPECT_EQ(load().error, "UnableToReadFile");
    }
}

TEST_F(LoadToggleDocument, AnUnknownSizeIsAnError) {
    file().sizeUnknown = true;
    EXPECT_EQ(load().error, "UnableToReadFile");
}

TEST_F(LoadToggleDocument, TenBytesAreEnough) {
    for (const bool ofProtected : {false, true}) {
        isProtected = ofProtected;
        for (const std::size_t size : {0U, 1U, 9U}) {
            file().bytes = std::string(R"({"a":true})").substr(0, size);
            EXPECT_EQ(load().error, "FileTooSmall");
        }
    }
    isProtected = false;
    file().bytes = R"({"a":true})";
    ASSERT_EQ(file().bytes.size(), 10U);
    EXPECT_NE(load().document, nullptr);
}

TEST_F(LoadToggleDocument, AnErrorIsFinal) {
    file().bytes = R"({"a":tru })";
    const LoadResult result = load();
    EXPECT_EQ(result.document, nullptr);
    EXPECT_EQ(result.error, "ParseErrorValueInvalid");
    EXPECT_EQ(result.errorOffset, 8U);
    EXPECT_TRUE(result.isFinal());
}

TEST_F(LoadToggleDocument, AFileThatIsNoPlainDocumentMayBeAnotherOneLater) {
    file().bytes = std::string(" ") + kText;
    const LoadResult result = load();
    EXPECT_EQ(result.document, nullptr);
    EXPECT_EQ(result.error, "");
    EXPECT_FALSE(result.isFinal());
}

TEST_F(LoadToggleDocument, AFileThatIsNoPlainDocumentIsReadNoFurtherThanItsFirstByte) {
    file() = {.bytes = "x", .claimedSize = INT32_MAX};
    EXPECT_FALSE(load().isFinal());
    EXPECT_FALSE(load().isFinal());
    EXPECT_EQ(file().opened, 2);
    EXPECT_EQ(file().bytesRead, 2U);
}

TEST_F(LoadToggleDocument, AFileTooLargeOrTooSmallIsAnErrorWhateverItBeginsWith) {
    const struct {
        FakeFile file;
        const char* error;
    } cases[] = {
        {{.bytes = "x", .claimedSize = std::uint64_t{INT32_MAX} + 1}, "UnableToReadFile"},
        {{.bytes = "", .claimedSize = 10}, "UnableToReadFile"},
        {{.bytes = "{", .claimedSize = 10}, "UnableToReadFile"},
        {{.bytes = "", .claimedSize = 9}, "UnableToReadFile"},
        {{.bytes = "xxxxxxxxx"}, "FileTooSmall"},
        {{.bytes = "{\"a\":0}"}, "FileTooSmall"},
        {{.bytes = ""}, "FileTooSmall"},
    };
    for (const auto& c : cases) {
        file() = c.file;
        EXPECT_EQ(load().error, c.error);
    }
}

TEST_F(LoadToggleDocument, TheTreeIsFeaturesOrElseTheRoot) {
    const LoadResult withFeatures = load();
    ASSERT_NE(withFeatures.document, nullptr);
    EXPECT_EQ(withFeatures.document->toggleTree, &withFeatures.document->root["features"]);

    file().bytes = R"({"a":true,"b":false})";
    const LoadResult flat = load();
    ASSERT_NE(flat.document, nullptr);
    EXPECT_EQ(flat.document->toggleTree, &flat.document->root);
}

TEST_F(LoadToggleDocument, SystemIdentifiersCompareByLengthAndBytes) {
    struct Case {
        const char* inFile;
        std::string_view ofSystem;
        bool accepted;
    };
    const Case cases[] = {
        {R"("AB")", "AB", true},
        {R"("ab")", "AB", false},
        {R"("AB ")", "AB", false},
        {R"("A")", "AB", false},
        {R"("")", "", true},
        {R"("A\u0000B")", "A", false},
        {R"("A\u0000B")", std::string_view("A\0B", 3), true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.inFile);
        file().bytes = std::string(R"({"header":{"systemId":)") + c.inFile + "}}";
        const LoadResult result = load(c.ofSystem);
        EXPECT_EQ(result.document != nullptr, c.accepted);
        EXPECT_EQ(result.error, c.accepted ? "" : "ErrorSystemIdDoesNotMatch");
    }
}

TEST_F(LoadToggleDocument, LeavesNoDecryptedTextInFreedMemory) {
    initializeCryptoLibrary();
    file().bytes = test::kProtectedFile;
    platform.files["C:\\mosk.cert.pem"].bytes = test::kSignerCertificate;
    isProtected = true;
    const std::string document = test::kSampleDocument;
    const std::string signedDocument = test::kSignedDocument;
    const std::string ofDocument = document.substr(document.find("\"features"));
    const std::string ofSignature = signedDocument.substr(signedDocument.size() - 40);
    for (const std::string& text : {ofDocument, ofSignature}) {
        const test::FreedMemoryWatch watch(text);
        EXPECT_NE(load("System").document, nullptr);
        EXPECT_EQ(watch.sightings(), 0);
    }

    // A failing signature check and memory that runs out leave nothing either.
    platform.files.erase("C:\\mosk.cert.pem");
    const test::FreedMemoryWatch watch(ofSignature);
    std::string error;
    for (std::size_t n = 1;; ++n) {
        const test::FailingAllocation failure(n);
        try {
            const LoadResult result = load("System");
            EXPECT_EQ(result.document, nullptr);
            error = result.error;
        } catch (const std::bad_alloc&) {
        }
        EXPECT_EQ(watch.sightings(), 0);
        if (!failure.happened()) {
            break;
        }
    }
    EXPECT_EQ(error, "Verification failure\n");

    // Nor does a plain text that is not of the form expected.
    signers.skipSignatureCheck = true;
    EXPECT_EQ(load("System").error,
              "The original KLB file was either corrupted or it was created for a "
              "different computer.\n");
    EXPECT_EQ(watch.sightings(), 0);
}

TEST_F(LoadToggleDocument, TheWatchOverFreedMemorySeesATextThatIsNotCleansed) {
    const test::FreedMemoryWatch watch("a text that stays in memory");
    { const std::string text = "a text that stays in memory"; }
    EXPECT_EQ(watch.sightings(), 1);
    JsonAllocator allocator;
    // A block that nobody looks at need not be allocated at all.
    void* volatile block = allocator.Malloc(100);
    std::strcpy(static_cast<char*>(block), "a text that stays in memory");
    JsonAllocator::Free(block);
    EXPECT_EQ(watch.sightings(), 2);
}

} // namespace
} // namespace klb
