// The content of a protected file: opening its envelope. The same bytes once more as the plain text
// of an envelope that is made here, since no mutation gets past the cipher.
#include "check.h"
#include "crypto_surroundings.h"
#include "support/sealed_envelope.h"
#include "trust/crypto_objects.h"
#include "trust/decryption.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <openssl/err.h>

namespace klb {
namespace {

using fuzz::check;

constexpr std::string_view kSystemId = "System";
const std::string kOtherComputer =
    "The original KLB file was either corrupted or it was created for a different computer.\n";

std::string_view expectedStart(bool skipSignatureCheck) {
    return skipSignatureCheck ? "{" : "MIME-Version: 1.0";
}

struct Opened {
    std::optional<std::string> text;
    std::string error;
    bool operator==(const Opened&) const = default;
};

Opened open(const std::string& content, bool skipSignatureCheck) {
    Opened opened;
    const std::optional<SecretBytes> text = decryptContent(
        {content.begin(), content.end()}, kSystemId, !skipSignatureCheck, opened.error);
    check(ERR_peek_error() == 0, "no error is left in the host's queue");
    if (text) {
        opened.text.emplace(text->begin(), text->end());
    }
    return opened;
}

void checkOpening(const std::string& content, bool skipSignatureCheck) {
    // A shorter file is refused before.
    constexpr std::size_t kMinFileSize = 10;
    if (content.size() < kMinFileSize) {
        return;
    }
    const Opened opened = open(content, skipSignatureCheck);
    check(opened == open(content, skipSignatureCheck), "an envelope opens as it did before");
    if (opened.text) {
        check(opened.error.empty(), "an envelope that opens is no error");
        check(opened.text->starts_with(expectedStart(skipSignatureCheck)),
              "an envelope gives a message or a document");
        check(opened.text->size() < content.size(), "a plain text is shorter than its envelope");
        return;
    }
    const std::string known[] = {"", "error reading input file\n", "bad magic number\n",
                                 "BIO_read failure: \n", kOtherComputer};
    check(std::find(std::begin(known), std::end(known), opened.error) != std::end(known),
          "the text of an error is known");
}

void checkRoundTrip(const std::string& text, bool skipSignatureCheck) {
    const std::string envelope = test::sealed(text, kSystemId);
    const Opened opened = open(envelope, skipSignatureCheck);
    if (text.starts_with(expectedStart(skipSignatureCheck))) {
        check(opened == Opened{text, ""}, "what was sealed comes out of the envelope");
    } else {
        check(opened == Opened{std::nullopt, text.empty() ? "" : kOtherComputer},
              "what is neither message nor document stays in the envelope");
    }
}

void testOneInput(const std::string& input) {
    for (const bool skipSignatureCheck : {false, true}) {
        checkOpening(input, skipSignatureCheck);
        checkRoundTrip(input, skipSignatureCheck);
        checkRoundTrip(std::string(expectedStart(skipSignatureCheck)) + input, skipSignatureCheck);
    }
}

} // namespace
} // namespace klb

extern "C" int LLVMFuzzerInitialize(int* /*argumentCount*/, char*** /*arguments*/) {
    klb::fuzz::isolateCryptoLibrary();
    klb::initializeCryptoLibrary();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    klb::testOneInput({reinterpret_cast<const char*>(bytes), size});
    return 0;
}
