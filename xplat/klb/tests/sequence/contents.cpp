#include "contents.h"

#include "source_text.h"

#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string_view>

namespace klb::test {

namespace {

const JsonValue kTrue = JsonValue::boolean(true);
const JsonValue kFalse = JsonValue::boolean(false);

/// The bytes of a file that make_files made.
std::string made(const std::string& name) {
    const std::string path = KLB_PROTECTED_FILES "/" + name;
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw std::runtime_error("make_files did not make " + path);
    }
    return {std::istreambuf_iterator<char>(file), {}};
}

bool hasTheDefaultPair() {
    return std::string_view(KLB_PROTECTED_PAIR) == "aes-256-cbc sha256";
}

Content plain(DiskFile file) {
    const std::string text = sourceText(file.bytes);
    return {text, std::move(file)};
}

Content damaged(const std::string& bytes, const std::string& error, unsigned long long offset) {
    return plain(damagedFile("", bytes, error, offset));
}

/// Bytes that a parser takes for the document with these entries.
Content accepted(const std::string& bytes, const std::vector<DocumentEntry>& entries) {
    DiskFile file = documentFile("", entries);
    file.bytes = bytes;
    return plain(file);
}

/// Bytes that no parser gets to see.
Content passedOver(const std::string& bytes) {
    return plain(damagedFile("", bytes, "", 0));
}

Content withEnvelopeError(Content content, const std::string& error) {
    content.file.envelopeError = error;
    return content;
}

ParsedText textOf(const std::vector<DocumentEntry>& entries) {
    return documentFile("", entries).text;
}

/// What make_files puts into nearly all of its documents.
ParsedText headless() {
    return textOf({{"/features/a", kTrue}, {"/features/b", kFalse}, {"/features/c", kTrue}});
}

ParsedText withHeader(const std::string& systemId) {
    return textOf({{"/header/systemId", JsonValue::string(systemId)},
                   {"/features/a", kTrue},
                   {"/features/b", kFalse},
                   {"/features/c", kTrue}});
}

ParsedText failing(const std::string& error, unsigned long long offset) {
    return {{}, error, offset};
}

ParsedText array() {
    return {JsonValue::literal("[...]"), "", 0};
}

Content sealed(const std::string& name, const Envelope& envelope) {
    DiskFile file;
    file.bytes = made(name);
    file.envelope = envelope;
    return {name, file};
}

/// A signed message for TestSystem that these certificates verify.
Content message(const std::string& name, const std::vector<std::string>& trustedBy,
                const ParsedText& text) {
    return sealed(name, {"TestSystem", "MIME-Version: 1.0", text, "", trustedBy});
}

/// A message for TestSystem that nothing verifies.
Content brokenMessage(const std::string& name, const std::string& error) {
    return sealed(name, {"TestSystem", "MIME-Version: 1.0", {}, error});
}

/// A file for TestSystem with nothing but a text inside.
Content unsignedText(const std::string& name, const std::string& beginning,
                     const ParsedText& text) {
    return sealed(name, {"TestSystem", beginning, text});
}

/// A file that is the same in each run, so that it is known what each key makes of it. What a key
/// that is not named here makes of it does not begin with "{".
Content fixedText(const std::string& name, const std::string& systemId,
                  std::map<std::string, std::optional<ParsedText>> byOtherKeys) {
    for (const char* const other : {"TestSystem", "OtherSystem", "testsystem", "x"}) {
        byOtherKeys.insert({other, std::nullopt});
    }
    const ParsedText text =
        textOf({{"/a", kTrue}, {"/b", kFalse}, {"/c", kTrue}, {"/f", JsonValue::string("...")}});
    return sealed(name, {systemId, "{", text, "", {}, byOtherKeys});
}

Content notSealed(const std::string& name, const std::string& error) {
    DiskFile file;
    file.bytes = made(name);
    file.envelopeError = error;
    return {name, file};
}

Content certificates(const std::string& text, const std::string& bytes,
                     const std::vector<std::string>& names) {
    DiskFile file;
    file.bytes = bytes;
    file.certificates = names;
    return {text, file};
}

} // namespace

Content documentContent(const JsonValue& root) {
    DiskFile file;
    file.text.root = root;
    file.bytes = jsonText(root);
    return plain(file);
}

const std::vector<Content>& peculiarContents() {
    static const std::vector<Content> contents = {
        passedOver(""),
        passedOver(R"({"":true})"),
        accepted(R"({"a":true})", {{"/a", kTrue}}),
        accepted("{        }", {}),
        passedOver(R"( {"a":true})"),
        passedOver("\n{\"a\":true}"),
        passedOver("\xEF\xBB\xBF{\"a\":true}"),
        withEnvelopeError(passedOver("QUJDREVGR0hJSktMTU5PUFFSU1RVVldY\n"), "bad magic number\n"),
        accepted(std::string("{\"a\":true}\0 and more", 20), {{"/a", kTrue}}),
        accepted("{\r\n\t\"a\" : true ,\r\n\"b\":false}\r\n ", {{"/a", kTrue}, {"/b", kFalse}}),
        accepted(R"({"header":{"systemId":"Test\u0053ystem"},"\u0061":true})",
                 {{"/header/systemId", JsonValue::string("TestSystem")}, {"/a", kTrue}}),
        accepted(R"({"header":{"systemId":"TestSystem\u0000"},"a":true})",
                 {{"/header/systemId", JsonValue::string(std::string("TestSystem\0", 11))},
                  {"/a", kTrue}}),
        accepted(R"({"a\u0000":true,"b":false})",
                 {{std::string("/a\0", 3), kTrue}, {"/b", kFalse}}),
        accepted(R"({"caf\u00e9":true,"\"":1.5e3})",
                 {{"/caf\xC3\xA9", kTrue}, {"/\"", JsonValue::literal("1.5e3")}}),
        damaged(R"({"a":true,)", "ParseErrorObjectMissName", 10),
        damaged(R"({"a":true,})", "ParseErrorObjectMissName", 10),
        damaged(R"({"a":true}})", "ParseErrorDocumentRootNotSingular", 10),
        damaged(R"({"a":true)"
                "\r\n"
                R"(})"
                "\xFF",
                "ParseErrorDocumentRootNotSingular", 12),
        damaged(R"({"a" true,"b":1})", "ParseErrorObjectMissColon", 5),
        damaged(R"({"a":[1 2],"b":1})", "ParseErrorArrayMissCommaOrSquareBracket", 8),
        damaged(R"({"a":"\u12G4"})", "ParseErrorStringUnicodeEscapeInvalidHex", 6),
        damaged(R"({"a":"\ud83dx"})", "ParseErrorStringUnicodeSurrogateInvalid", 6),
        damaged(R"({"a":"C:\data"})", "ParseErrorStringEscapeInvalid", 8),
        damaged("{\"a\":\"tab\there\"}", "ParseErrorStringEscapeInvalid", 9),
        damaged(R"({"a":"open)", "ParseErrorStringMissQuotationMark", 10),
        damaged(R"({"a":1e999})", "ParseErrorNumberTooBig", 5),
        damaged(R"({"a":1.x,"b":2})", "ParseErrorNumberMissFraction", 7),
        damaged(R"({"a":1ex,"b":2})", "ParseErrorNumberMissExponent", 7),
        damaged(R"({"a":nul,"b":2})", "ParseErrorValueInvalid", 8),
        damaged(R"({"a":,"b":true})", "ParseErrorValueInvalid", 5),
        damaged(R"({"a":true /**/})", "ParseErrorObjectMissCommaOrCurlyBracket", 10),
        damaged(R"({"a":{"b":true)", "ParseErrorObjectMissCommaOrCurlyBracket", 14),
    };
    return contents;
}

const std::vector<Content>& protectedContents() {
    static const std::vector<Content> contents = [] {
        std::vector<Content> all = {
            message("rsa.klb", {"rsa"}, withHeader("TestSystem")),
            message("rsa-opaque.klb", {"rsa"}, withHeader("TestSystem")),
            message("leaf.klb", {"ca"}, withHeader("TestSystem")),
            message("stranger.klb", {"stranger"}, withHeader("TestSystem")),
            message("headless.klb", {"rsa"}, headless()),
            message("empty-object.klb", {"rsa"}, {}),
            message("other-header.klb", {"rsa"}, withHeader("OtherSystem")),
            message("array.klb", {"rsa"}, array()),
            message("no-document.klb", {"rsa"}, failing("ParseErrorDocumentEmpty", 0)),
            message("syntax-error-lf.klb", {"rsa"}, failing("ParseErrorValueInvalid", 41)),
            message("text.klb", {"rsa"}, failing("ParseErrorValueInvalid", 0)),
            brokenMessage("content-changed.klb", "Verification failure\n"),
            brokenMessage("signature-changed.klb", "Verification failure\n"),
            brokenMessage("signature-stripped.klb", "Error reading S/MIME message\n"),
            sealed("other-system.klb",
                   {"OtherSystem", "MIME-Version: 1.0", withHeader("TestSystem"), "", {"rsa"}}),
            unsignedText("json.klb", "{", withHeader("TestSystem")),
            unsignedText("json-headless.klb", "{", headless()),
            unsignedText("json-other-header.klb", "{", withHeader("OtherSystem")),
            unsignedText("json-more.klb", "{", failing("ParseErrorDocumentRootNotSingular", 42)),
            unsignedText("json-array.klb", "[", array()),
            unsignedText("no-ciphertext.klb", "", {}),
            sealed("json-one-letter.klb", {"x", "{", headless()}),
            notSealed("short-salt.klb", "error reading input file\n"),
            notSealed("magic-salted__.klb", "bad magic number\n"),
        };
        if (hasTheDefaultPair()) {
            all.push_back(fixedText("json.fixed.klb", "TestSystem", {}));
            all.push_back(fixedText("other-system.fixed.klb", "OtherSystem", {}));
            all.push_back(fixedText("other-system-brace.fixed.klb", "OtherSystem",
                                    {{"TestSystem", failing("ParseErrorObjectMissName", 1)}}));
        }
        return all;
    }();
    return contents;
}

const std::vector<Content>& certificateContents() {
    static const std::vector<Content> contents = {
        certificates("rsa.pem", made("rsa.pem"), {"rsa"}),
        certificates("rsa.pem and ca.pem", made("rsa.pem") + made("ca.pem"), {"rsa", "ca"}),
        certificates("ca.pem and stranger.pem", made("ca.pem") + made("stranger.pem"),
                     {"ca", "stranger"}),
        certificates("\"no certificate\"", "no certificate", {}),
    };
    return contents;
}

const std::vector<HostCertificate>& hostCertificates() {
    static const std::vector<HostCertificate> all = {
        {"rsa.pem", made("rsa.pem"), "rsa"},
        {"ca.pem", made("ca.pem"), "ca"},
        {"nullptr", std::nullopt, ""},
        {"rsa.pem and ca.pem", made("rsa.pem") + made("ca.pem"), "rsa"},
        {"a remark and stranger.pem", "A remark.\n" + made("stranger.pem"), "stranger"},
        {"encrypted.pem", made("encrypted.pem"), ""},
        {"encrypted-key.pem", made("encrypted-key.pem"), ""},
        {"\"no certificate\"", "no certificate", ""},
        {"\"\"", "", ""},
    };
    return all;
}

} // namespace klb::test
