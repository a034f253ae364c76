#include "protected_files.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace klb::test {

namespace {

constexpr std::string_view kLetters =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

/// Two other values for a byte of base64 text: another letter, which changes bits of what it
/// encodes, and a byte that is no letter.
std::string otherBytes(char byte) {
    const std::size_t letter = kLetters.find(byte);
    if (letter == std::string_view::npos) {
        return {kLetters.front(), static_cast<char>(byte ^ 0x80)};
    }
    return {kLetters[letter ^ 1U], '\n'};
}

/// What may be said of a damaged file whose document is sound.
const std::set<std::string> kRefusals = {
    "FileTooSmall", kUnreadable, kBadMagic,   "BIO_read failure: \n",
    kOtherComputer, kNoMessage,  kNotVerified};

/// How many damaged files ended how.
struct Tally {
    std::size_t accepted = 0;
    std::size_t refused = 0;
    std::size_t silent = 0;
};

/// Loads damaged copies of one file, each in a session of its own.
class DamagedCopies {
public:
    explicit DamagedCopies(std::string certificate) : certificate_(std::move(certificate)) {}

    /// The copy is either refused with a text of its own or sets exactly what was signed.
    void expectRefusedOrIntact(const std::string& bytes) {
        const std::string path = directory_.write("toggles.klb", bytes);
        const LibrarySession library;
        KLB_SetCertificateData(certificate_.c_str());
        ASSERT_TRUE(recorder_.take().empty());
        registerProtectedFile(path);
        const std::vector<Message> messages = recorder_.take();
        const bool a = registeredValue("/a", false, kToken);
        expectToggles(a);
        EXPECT_TRUE(recorder_.take().empty());

        if (a) {
            EXPECT_TRUE(messages.empty());
            ++tally_.accepted;
        } else if (messages.empty()) {
            ++tally_.silent;
        } else {
            ASSERT_EQ(messages.size(), 1U);
            EXPECT_TRUE(isRefusal(messages[0], path)) << messages[0];
            ++tally_.refused;
        }
    }

    const Tally& tally() const {
        return tally_;
    }

private:
    static bool isRefusal(const Message& message, const std::string& path) {
        for (const std::string& text : kRefusals) {
            if (message == error(loadErrorText(text, path))) {
                return true;
            }
        }
        return false;
    }

    const std::string certificate_;
    const TempDirectory directory_;
    MessageRecorder recorder_;
    Tally tally_;
};

/// Runs through positions until one of them fails.
void forEachPosition(std::size_t size, const std::function<void(std::size_t)>& body) {
    for (std::size_t at = 0; at < size && !testing::Test::HasFailure(); ++at) {
        SCOPED_TRACE("at byte " + std::to_string(at));
        body(at);
    }
}

void cutAtAnyByte(const char* file) {
    const std::string bytes = made(file);
    DamagedCopies copies(made("ec.pem"));
    copies.expectRefusedOrIntact(bytes);
    ASSERT_EQ(copies.tally().accepted, 1U);
    forEachPosition(bytes.size(),
                    [&](std::size_t at) { copies.expectRefusedOrIntact(bytes.substr(0, at)); });
    // Only what follows the message may be lost: line ends and the filling of the last block.
    EXPECT_LT(copies.tally().accepted, 64U);
    EXPECT_GT(copies.tally().refused, bytes.size() / 2);
}

void changeAnyByte(const char* file) {
    const std::string bytes = made(file);
    DamagedCopies copies(made("ec.pem"));
    forEachPosition(bytes.size(), [&](std::size_t at) {
        for (const char other : otherBytes(bytes[at])) {
            std::string changed = bytes;
            changed[at] = other;
            copies.expectRefusedOrIntact(changed);
        }
    });
    EXPECT_GT(copies.tally().refused, bytes.size());
}

void loseOrDoubleAnyByte(const char* file) {
    const std::string bytes = made(file);
    DamagedCopies copies(made("ec.pem"));
    forEachPosition(bytes.size(), [&](std::size_t at) {
        copies.expectRefusedOrIntact(std::string(bytes).erase(at, 1));
        copies.expectRefusedOrIntact(std::string(bytes).insert(at, 1, bytes[at]));
    });
    EXPECT_GT(copies.tally().refused, bytes.size());
}

TEST(DamagedProtectedFile, CutAtAnyByte) {
    cutAtAnyByte("small.klb");
}

TEST(DamagedProtectedFile, WithContentInsideCutAtAnyByte) {
    cutAtAnyByte("small-opaque.klb");
}

TEST(DamagedProtectedFile, AnyByteChanged) {
    changeAnyByte("small.klb");
}

TEST(DamagedProtectedFile, WithContentInsideAnyByteChanged) {
    changeAnyByte("small-opaque.klb");
}

TEST(DamagedProtectedFile, AnyByteLostOrDoubled) {
    loseOrDoubleAnyByte("small.klb");
}

TEST(DamagedProtectedFile, WithContentInsideAnyByteLostOrDoubled) {
    loseOrDoubleAnyByte("small-opaque.klb");
}

/// The host's certificate text is either refused with its own text or is a certificate, in which
/// case the signed file is refused or sets exactly what was signed.
void expectRefusedOrCertificate(MessageRecorder& recorder, const std::string& path,
                                const std::string& pem) {
    const LibrarySession library;
    KLB_SetCertificateData(pem.c_str());
    const std::vector<Message> messages = recorder.take();
    if (!messages.empty()) {
        EXPECT_EQ(messages,
                  std::vector<Message>{error("setCertificateData: can't read certificate from the "
                                             "certificate data provided.")});
    }
    registerProtectedFile(path);
    const std::vector<Message> loading = recorder.take();
    expectToggles(loading.empty());
    if (!messages.empty() || !loading.empty()) {
        EXPECT_EQ(loading, std::vector<Message>{error(loadErrorText(kNotVerified, path))});
    }
}

TEST(DamagedCertificate, CutOrChangedAtAnyByte) {
    const TempDirectory directory;
    const std::string path = directory.write("toggles.klb", made("small.klb"));
    const std::string pem = made("ec.pem");
    MessageRecorder recorder;
    forEachPosition(pem.size(), [&](std::size_t at) {
        expectRefusedOrCertificate(recorder, path, pem.substr(0, at));
        for (const char other : otherBytes(pem[at])) {
            std::string changed = pem;
            changed[at] = other;
            expectRefusedOrCertificate(recorder, path, changed);
        }
    });
}

} // namespace

} // namespace klb::test
