#include "decode.h"

#include "byte_source.h"
#include "choices.h"
#include "contents.h"
#include "device_identifier.h"

#include <algorithm>
#include <limits>
#include <set>
#include <string>
#include <utility>

namespace klb::test {

namespace {

/// Puts a member at a path, also beside one of the same name. Nothing is put below what is no
/// object.
void addAt(JsonValue& object, const std::string& path, const JsonValue& value) {
    const std::size_t slash = path.find('/', 1);
    if (slash == std::string::npos) {
        object.add(path.substr(1), value);
        return;
    }
    const std::string name = path.substr(1, slash - 1);
    if (object.find(name) == nullptr) {
        object.add(name, JsonValue::object());
    }
    JsonValue* member = object.find(name);
    if (member->isObject()) {
        addAt(*member, path.substr(slash), value);
    }
}

class Decoder {
public:
    explicit Decoder(std::span<const std::uint8_t> bytes) : source_(bytes) {}

    std::vector<Call> calls() {
        restlessness_ = source_.pick(std::vector<std::size_t>{1, 2, 4, 7});
        addFiles();
        startHost();
        while (!source_.isUsedUp() && calls_.size() < kLongestSequence) {
            addNext();
        }
        calls_.resize(std::min(calls_.size(), kLongestSequence), Call{});
        return std::move(calls_);
    }

private:
    void add(Call call) {
        calls_.push_back(std::move(call));
    }

    bool flag() {
        return source_.isOneIn(2);
    }

    NullableText orRarelyNull(const std::string& text) {
        return source_.isOneIn(64) ? NullableText() : text;
    }

    /// Mostly one of the first few, so that calls have to do with each other.
    template <class Element>
    const Element& oneOf(const std::vector<Element>& list) {
        return flag() ? source_.pick(list) : list[source_.below(list.size() / 4 + 1)];
    }

    NullableText key() {
        if (!documentedKeys_.empty() && source_.isOneIn(4)) {
            return source_.pick(documentedKeys_);
        }
        return orRarelyNull(oneOf(kKeys));
    }

    NullableText token() {
        return orRarelyNull(oneOf(kTokens));
    }

    NullableText fileName() {
        return orRarelyNull(source_.pick(kFileNames));
    }

    NullableText text() {
        return source_.isOneIn(16) ? NullableText() : source_.pick(kTexts);
    }

    /// Mostly one that suits what was last written to the file.
    int fileType(const NullableText& file) {
        const std::vector<int> others = {2, 1, 3, 0, KLB_ToggleFileType_Override, -1};
        if (source_.isOneIn(4)) {
            return source_.pick(others);
        }
        return file && protectedFiles_.contains(*file) ? 1 : 2;
    }

    int32_t truth() {
        const std::vector<int32_t> values = {
            0, 1, 0, 1, -1, 256, std::numeric_limits<int32_t>::min()};
        return source_.pick(values);
    }

    BufferSize bufferSize() {
        return static_cast<BufferSize>(source_.below(9));
    }

    JsonValue entryValue() {
        const std::vector<JsonValue> others = {JsonValue::string("true"), JsonValue::literal("1"),
                                               JsonValue::literal("null"), JsonValue::literal("[]"),
                                               JsonValue::object()};
        const std::size_t draw = source_.below(8);
        return draw < 7 ? JsonValue::boolean(draw % 2 == 0) : source_.pick(others);
    }

    void addHeader(JsonValue& root) {
        JsonValue header;
        switch (source_.below(16)) {
        case 0:
        case 1:
        case 2:
        case 3:
        case 4:
        case 5:
            return;
        case 6:
            root.add("header", JsonValue::literal("[]"));
            return;
        case 7:
            root.add("header", JsonValue::literal("null"));
            return;
        case 8:
            header.add("systemId", JsonValue::literal("12"));
            break;
        case 9:
            header.add("SystemId", JsonValue::string("TestSystem"));
            break;
        case 10:
            header.add("systemId", JsonValue::string("OtherSystem"));
            header.add("systemId", JsonValue::string("TestSystem"));
            break;
        case 11:
            header.add("systemId", JsonValue::string(deviceIdentifier()));
            break;
        default:
            header.add("systemId", JsonValue::string("TestSystem"));
            break;
        }
        root.add("header", header);
    }

    Content document() {
        documentedKeys_.clear();
        JsonValue root;
        addHeader(root);
        const std::size_t draw = source_.below(8);
        const std::string top = draw < 5 ? "" : "/features";
        if (draw == 4) {
            root.add("features", JsonValue::boolean(true));
        }
        for (std::size_t i = source_.below(9); i > 0; --i) {
            const std::string& path = oneOf(kKeys);
            const JsonValue value = entryValue();
            if (path.starts_with('/')) {
                documentedKeys_.push_back(path);
                addAt(root, top + path, value);
            }
        }
        return documentContent(root);
    }

    void addFile() {
        addFile(source_.pick(kFiles));
    }

    void addFile(const std::string& name) {
        const std::size_t draw = source_.below(8);
        if (draw < 3) {
            addDocument(name);
        } else if (draw < 5) {
            protectedFiles_.insert(name);
            add(write(name, source_.pick(protectedContents())));
        } else if (draw < 7) {
            protectedFiles_.erase(name);
            add(write(name, source_.pick(peculiarContents())));
        } else {
            add(remove(name));
        }
    }

    void addDocument(const std::string& name) {
        protectedFiles_.erase(name);
        add(write(name, document()));
    }

    /// A file changes, and a toggle is registered against its token.
    void addChangeOfRegisteredFile() {
        const Registered& one = source_.pick(registered_);
        const bool canBeWritten = std::find(kFiles.begin(), kFiles.end(), one.file) != kFiles.end();
        const std::string file = canBeWritten ? one.file : source_.pick(kFiles);
        if (flag()) {
            addFile(file);
        } else {
            addDocument(file);
        }
        const NullableText on = documentedKeys_.empty() ? key() : source_.pick(documentedKeys_);
        add(registerToggle(on, flag(), one.token));
        add(getToggle(on));
    }

    void addCertificateFile() {
        const std::string name = source_.pick(kCertificateFiles);
        if (source_.isOneIn(4)) {
            add(remove(name));
        } else {
            add(write(name, oneOf(certificateContents())));
        }
    }

    void addFiles() {
        for (std::size_t i = source_.below(16); i > 0; --i) {
            addFile();
        }
        for (std::size_t i = source_.below(5); i > 0; --i) {
            addCertificateFile();
        }
    }

    void addInit() {
        add(init(source_.pick(kSystemIds), !source_.isOneIn(3)));
    }

    void addCallback() {
        const std::vector<Callback> callbacks = {
            Callback::First,       Callback::None,   Callback::First,
            Callback::None,        Callback::Second, Callback::ThrowsStandardException,
            Callback::ThrowsNumber};
        add(initMessageProc(source_.pick(callbacks)));
    }

    void addOverridePath() {
        const std::size_t draw = source_.below(24);
        add(setOverridePath(draw == 0   ? NullableText()
                            : draw == 1 ? ""
                                        : source_.pick(kOverrideDirectories)));
    }

    void addCertificateData() {
        add(setCertificateData(oneOf(hostCertificates())));
    }

    void addToggleFile() {
        const NullableText to = orRarelyNull(source_.pick(kTokens));
        const NullableText file = fileName();
        const int type = fileType(file);
        if (to && file) {
            registered_.push_back({*to, *file});
        }
        if (source_.isOneIn(4)) {
            add(manager::registerToggleFile(static_cast<uint32_t>(type), to, file));
        } else {
            add(registerToggleFile(type, to, file));
        }
    }

    /// What a host does before its first toggle.
    void startHost() {
        if (source_.isOneIn(2)) {
            addCallback();
        }
        addInit();
        if (!source_.isOneIn(3)) {
            addOverridePath();
        }
        for (std::size_t i = source_.below(5); i > 2; --i) {
            addCertificateData();
        }
        if (!source_.isOneIn(3)) {
            add(initObx(true));
        }
        for (std::size_t i = source_.below(6); i > 0; --i) {
            addToggleFile();
        }
    }

    void addFrameworkAnswer() {
        if (!source_.isOneIn(3)) {
            add(frameworkAnswersEverything());
            return;
        }
        const std::size_t draw = source_.below(8);
        if (draw < 6) {
            const NamedAnswer& answer = source_.pick(kAnswers);
            add(frameworkAnswers(source_.pick(kFrameworkCalls), answer.name, answer.answer));
            return;
        }
        const std::string call = draw == 6 ? "host.QueryInterface(IOBXUnknown)" : "sink.Report";
        // What comes of an identity of null, or of a message sink that throws, nobody promises.
        const std::size_t choices = draw == 6 ? kAnswersOfAnyCall : kAnswersOfAnyCall - 1;
        const NamedAnswer& answer = kAnswers[source_.below(choices)];
        add(frameworkAnswers(call, answer.name, answer.answer));
    }

    void addManagerCall() {
        switch (source_.below(16)) {
        case 0:
            add(manager::queryInterface(static_cast<manager::Face>(source_.below(5)),
                                        !source_.isOneIn(8)));
            break;
        case 1:
            add(flag() ? manager::addRef() : manager::release());
            break;
        case 2:
        case 3: {
            const NullableText on = key();
            const int32_t defaultValue = truth();
            add(manager::registerToggle(on, defaultValue, token()));
            break;
        }
        case 4:
        case 5: {
            const NullableText on = key();
            const int32_t defaultValue = truth();
            add(manager::registerDynamicToggle(on, defaultValue, token()));
            break;
        }
        case 6:
        case 7: {
            const NullableText of = key();
            add(manager::getToggle(of, !source_.isOneIn(16)));
            break;
        }
        case 8:
        case 9: {
            const NullableText of = key();
            add(manager::getDynamicToggle(of, !source_.isOneIn(16)));
            break;
        }
        case 10: {
            const NullableText of = key();
            add(manager::setDynamicToggle(of, truth()));
            break;
        }
        case 11:
            add(manager::isToggleRegistered(key()));
            break;
        case 12:
            add(manager::isDynamicToggleRegistered(key()));
            break;
        case 13:
            add(manager::isToggleFileRegistered(token()));
            break;
        case 14:
            add(manager::getOverrideInfoString(bufferSize()));
            break;
        default: {
            const std::size_t draw = source_.below(3);
            add(draw == 0   ? manager::getSingletonState()
                : draw == 1 ? manager::initializeSingleton()
                            : manager::finalizeSingleton());
            break;
        }
        }
    }

    void addToggle() {
        const NullableText on = key();
        const bool defaultValue = flag();
        const NullableText to = token();
        if (flag()) {
            add(registerToggle(on, defaultValue, to));
            return;
        }
        add(registerDynamicToggle(on, defaultValue, to));
        if (on) {
            dynamicKeys_.push_back(*on);
        }
    }

    void addQuestion() {
        switch (source_.below(10)) {
        case 0:
            add(isInitialized());
            break;
        case 1:
            add(isObxInitialized());
            break;
        case 2:
            add(isToggleFileRegistered(token()));
            break;
        case 3:
            add(isToggleRegistered(key()));
            break;
        case 4:
            add(isDynamicToggleRegistered(key()));
            break;
        case 5:
        case 6:
        case 7:
            add(getOverrideInfoString(bufferSize()));
            break;
        default: {
            const NullableText moduleName = text();
            const NullableText moduleVersion = text();
            add(getDefaultToggleJson(moduleName, moduleVersion, bufferSize()));
            break;
        }
        }
    }

    void addNext() {
        const std::size_t draw = source_.below(100);
        if (draw < restlessness_) {
            add(term());
            registered_.clear();
            dynamicKeys_.clear();
            if (!source_.isOneIn(8)) {
                startHost();
            }
        } else if (draw < 9) {
            addInit();
        } else if (draw < 10) {
            add(init(std::nullopt, flag()));
        } else if (draw < 13) {
            addCallback();
        } else if (draw < 14) {
            addOverridePath();
        } else if (draw < 15) {
            addCertificateData();
        } else if (draw < 17) {
            add(initObx(!source_.isOneIn(8)));
        } else if (draw < 19) {
            addFrameworkAnswer();
        } else if (draw < 21) {
            addFile();
        } else if (draw < 23 && !registered_.empty()) {
            addChangeOfRegisteredFile();
        } else if (draw < 24) {
            addCertificateFile();
        } else if (draw < 25) {
            add(setProgramData(source_.isOneIn(3) ? NullableText() : flag() ? "DIR|a" : "DIR|b"));
        } else if (draw < 34) {
            addToggleFile();
        } else if (draw < 51) {
            addToggle();
        } else if (draw < 57) {
            add(getToggle(key()));
        } else if (draw < 63) {
            add(getDynamicToggle(key()));
        } else if (draw < 68) {
            const NullableText of = dynamicKeys_.empty() ? key() : source_.pick(dynamicKeys_);
            add(setDynamicToggle(of, flag()));
        } else if (draw < 74) {
            const NullableText of = key();
            add(addToggleComment(of, text()));
        } else if (draw < 86) {
            addQuestion();
        } else {
            addManagerCall();
        }
    }

    /// A file as it was registered, by its name.
    struct Registered {
        std::string token;
        std::string file;
    };

    ByteSource source_;
    std::set<std::string> protectedFiles_;
    /// Of the document that was written last.
    std::vector<std::string> documentedKeys_;
    /// Since the library was last terminated.
    std::vector<Registered> registered_;
    std::vector<std::string> dynamicKeys_;
    /// How often the host terminates the library.
    std::size_t restlessness_ = 0;
    std::vector<Call> calls_;
};

} // namespace

std::vector<Call> decodeCalls(std::span<const std::uint8_t> bytes) {
    return Decoder(bytes).calls();
}

} // namespace klb::test
