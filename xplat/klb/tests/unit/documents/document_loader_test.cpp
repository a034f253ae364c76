#include "documents/document_loader.h"

#include "support/failing_allocation.h"
#include "support/fake_platform.h"
#include "support/protected_samples.h"
#include "trust/crypto_library.h"

#include <gtest/gtest.h>

namespace klb {
namespace {

constexpr const char* kPath = "C:\\toggles.json";
constexpr const char* kText = R"({"header":{"systemId":"S"},"features":{"a":true}})";

using test::FakeFile;

class LoadToggleDocument : public testing::Test {
protected:
    LoadToggleDocument() {
        record.type = KLB_ToggleFileType_Supported;
        record.path = kPath;
        platform.files[kPath].bytes = kText;
    }

    ToggleDocument* load() {
        return loadToggleDocument(record, "S", platform.services());
    }

    FakeFile& file() {
        return platform.files[kPath];
    }

    test::FakePlatform platform;
    ToggleFileRecord record;
};

TEST_F(LoadToggleDocument, ReadsAndParsesOnce) {
    ToggleDocument* document = load();
    ASSERT_NE(document, nullptr);
    EXPECT_EQ(document, record.document.get());
    EXPECT_EQ(load(), document);
    EXPECT_EQ(file().opened, 1);
    EXPECT_EQ(record.error, "");
    EXPECT_FALSE(record.fileMissing);
}

TEST_F(LoadToggleDocument, GivesTheBufferBack) {
    load();
    EXPECT_EQ(record.content.capacity(), 0U);
}

TEST_F(LoadToggleDocument, WithoutAPathDoesNothing) {
    record.path.clear();
    EXPECT_EQ(load(), nullptr);
    EXPECT_FALSE(record.fileMissing);
    EXPECT_EQ(record.error, "");
}

TEST_F(LoadToggleDocument, AMissingFileIsFinal) {
    platform.files.clear();
    EXPECT_EQ(load(), nullptr);
    EXPECT_TRUE(record.fileMissing);
    EXPECT_EQ(record.error, "");
    platform.files[kPath].bytes = kText;
    EXPECT_EQ(load(), nullptr);
    EXPECT_EQ(file().opened, 0);
}

TEST_F(LoadToggleDocument, AnyShortReadIsAnError) {
    const std::string text = kText;
    for (std::size_t length = 0; length < text.size(); ++length) {
        SCOPED_TRACE("of " + std::to_string(text.size()) + " bytes arrive " +
                     std::to_string(length));
        ToggleFileRecord shortRecord;
        shortRecord.type = KLB_ToggleFileType_Supported;
        shortRecord.path = kPath;
        file().bytes = text.substr(0, length);
        file().claimedSize = text.size();
        EXPECT_EQ(loadToggleDocument(shortRecord, "S", platform.services()), nullptr);
        EXPECT_EQ(shortRecord.error, "UnableToReadFile");
        EXPECT_EQ(shortRecord.errorOffset, 0U);
        EXPECT_FALSE(shortRecord.fileMissing);
        EXPECT_EQ(shortRecord.content.capacity(), 0U);
    }
}

TEST_F(LoadToggleDocument, AFileThatGrowsIsReadAsFarAsItsSizeSaid) {
    file().claimedSize = file().bytes.size();
    file().bytes += " and more";
    EXPECT_NE(load(), nullptr);
}

TEST_F(LoadToggleDocument, SizesBeyondASigned32BitNumberAreRefusedBeforeMemoryIsTaken) {
    for (const std::uint64_t size : {0x80000000ULL, 0x100000008ULL, ~0ULL}) {
        SCOPED_TRACE(size);
        ToggleFileRecord large;
        large.type = KLB_ToggleFileType_Supported;
        large.path = kPath;
        file().claimedSize = size;
        EXPECT_EQ(loadToggleDocument(large, "S", platform.services()), nullptr);
        EXPECT_EQ(large.error, "UnableToReadFile");
    }
}

TEST_F(LoadToggleDocument, AnUnknownSizeIsAnError) {
    file().sizeUnknown = true;
    EXPECT_EQ(load(), nullptr);
    EXPECT_EQ(record.error, "UnableToReadFile");
}

TEST_F(LoadToggleDocument, TenBytesAreEnoughForEveryType) {
    for (const auto type : {KLB_ToggleFileType_Supported, KLB_ToggleFileType_Override,
                            KLB_ToggleFileType_Unsupported, KLB_ToggleFileType_Invalid}) {
        SCOPED_TRACE(static_cast<int>(type));
        for (const std::size_t size : {0U, 1U, 9U}) {
            ToggleFileRecord small;
            small.type = type;
            small.path = kPath;
            file().bytes = std::string(R"({"a":true})").substr(0, size);
            EXPECT_EQ(loadToggleDocument(small, "S", platform.services()), nullptr);
            EXPECT_EQ(small.error, "FileTooSmall");
        }
    }
    file().bytes = R"({"a":true})";
    ASSERT_EQ(file().bytes.size(), 10U);
    EXPECT_NE(load(), nullptr);
}

TEST_F(LoadToggleDocument, AnErrorIsFinal) {
    file().bytes = R"({"a":tru })";
    EXPECT_EQ(load(), nullptr);
    EXPECT_EQ(record.error, "ParseErrorValueInvalid");
    EXPECT_EQ(record.errorOffset, 8U);
    file().bytes = kText;
    EXPECT_EQ(load(), nullptr);
    EXPECT_EQ(file().opened, 1);
}

TEST_F(LoadToggleDocument, AFileThatIsNoPlainDocumentIsReadAgain) {
    file().bytes = std::string(" ") + kText;
    EXPECT_EQ(load(), nullptr);
    EXPECT_EQ(load(), nullptr);
    EXPECT_EQ(file().opened, 2);
    EXPECT_EQ(record.error, "");
    EXPECT_EQ(record.content.capacity(), 0U);
    file().bytes = kText;
    EXPECT_NE(load(), nullptr);
}

TEST_F(LoadToggleDocument, AFileThatIsNoPlainDocumentIsReadNoFurtherThanItsFirstByte) {
    for (const KLB_ToggleFileType type :
         {KLB_ToggleFileType_Supported, KLB_ToggleFileType_Override}) {
        record.type = type;
        file() = {.bytes = "x", .claimedSize = INT32_MAX};
        EXPECT_EQ(load(), nullptr);
        EXPECT_EQ(load(), nullptr);
        EXPECT_EQ(file().opened, 2);
        EXPECT_EQ(file().bytesRead, 2U);
        EXPECT_EQ(record.error, "");
    }
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
        record.error.clear();
        file() = c.file;
        EXPECT_EQ(load(), nullptr);
        EXPECT_EQ(record.error, c.error);
    }
}

TEST_F(LoadToggleDocument, TheTreeIsFeaturesOrElseTheRoot) {
    ASSERT_NE(load(), nullptr);
    EXPECT_EQ(record.document->toggleTree, &record.document->root["features"]);

    ToggleFileRecord flat;
    flat.type = KLB_ToggleFileType_Supported;
    flat.path = kPath;
    file().bytes = R"({"a":true,"b":false})";
    ASSERT_NE(loadToggleDocument(flat, "S", platform.services()), nullptr);
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
        ToggleFileRecord other;
        other.type = KLB_ToggleFileType_Supported;
        other.path = kPath;
        file().bytes = std::string(R"({"header":{"systemId":)") + c.inFile + "}}";
        EXPECT_EQ(loadToggleDocument(other, c.ofSystem, platform.services()) != nullptr,
                  c.accepted);
        EXPECT_EQ(other.error, c.accepted ? "" : "ErrorSystemIdDoesNotMatch");
    }
}

TEST_F(LoadToggleDocument, LeavesNoDecryptedTextInFreedMemory) {
    initializeCryptoLibrary();
    file().bytes = test::kProtectedFile;
    platform.files["C:\\mosk.cert.pem"].bytes = test::kSignerCertificate;
    record.type = KLB_ToggleFileType_Unsupported;
    const std::string document = test::kSampleDocument;
    const std::string signedDocument = test::kSignedDocument;
    const std::string ofDocument = document.substr(document.find("\"features"));
    const std::string ofSignature = signedDocument.substr(signedDocument.size() - 40);
    const std::string ofParsedDocument = "systemId";
    for (const std::string& text : {ofDocument, ofSignature, ofParsedDocument}) {
        const test::FreedMemoryWatch watch(text);
        EXPECT_NE(loadToggleDocument(record, "System", platform.services()), nullptr);
        EXPECT_EQ(record.error, "");
        record.document.reset();
        EXPECT_EQ(watch.sightings(), 0);
    }

    // A failing signature check and memory that runs out leave nothing either.
    platform.files.erase("C:\\mosk.cert.pem");
    const test::FreedMemoryWatch watch(ofSignature);
    for (std::size_t n = 1;; ++n) {
        record.error.clear();
        const test::FailingAllocation failure(n);
        try {
            EXPECT_EQ(loadToggleDocument(record, "System", platform.services()), nullptr);
        } catch (const std::bad_alloc&) {
        }
        EXPECT_EQ(watch.sightings(), 0);
        if (!failure.happened()) {
            break;
        }
    }
    EXPECT_EQ(record.error, "Verification failure\n");

    // Nor does a plain text that is not of the form expected.
    record.error.clear();
    record.skipSignatureCheck = true;
    EXPECT_EQ(loadToggleDocument(record, "System", platform.services()), nullptr);
    EXPECT_EQ(record.error, "The original KLB file was either corrupted or it was created for a "
                            "different computer.\n");
    EXPECT_EQ(watch.sightings(), 0);
}

TEST_F(LoadToggleDocument, LeavesNothingOfAParsedDocumentThatItRefuses) {
    initializeCryptoLibrary();
    file().bytes = test::kEncryptedDocumentOfAnother;
    record.type = KLB_ToggleFileType_Unsupported;
    record.skipSignatureCheck = true;
    const test::FreedMemoryWatch watch("systemId");
    EXPECT_EQ(loadToggleDocument(record, "System", platform.services()), nullptr);
    EXPECT_EQ(record.error, "ErrorSystemIdDoesNotMatch");
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
