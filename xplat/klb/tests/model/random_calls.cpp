#include "random_calls.h"

#include "source_text.h"

#include <cstddef>
#include <optional>

namespace klb::test {

namespace {

using NullableText = std::optional<std::string>;

/// The override file's token stands among its neighbours in byte order.
const std::vector<std::string> kTokens = {"core",
                                          "core.ui",
                                          "cit.feature.overrides",
                                          "core-ui",
                                          "cit.feature.override",
                                          "cit.feature.overrides.",
                                          "cit.feature.overrider",
                                          "cit.feature.overridet",
                                          "cit.feature.Overrides",
                                          "core/ui",
                                          "",
                                          "\"quoted\"\n\x02",
                                          "caf\xC3\xA9",
                                          "\xFF",
                                          "KLB_ToggleFileType",
                                          "a"};

const std::vector<std::string> kTexts = {"a comment",
                                         "",
                                         "another comment",
                                         "says \"this\",\nand 'that'\r\n",
                                         "\b\f\t\x01\x1B\x1F\x7F",
                                         "C:\\path\\and/slash",
                                         "\xE6\x97\xA5\xE6\x9C\xAC \xF0\x9F\x94\x91",
                                         "\x80\xFF",
                                         "KLB_Toggles"};

const char* pointer(const NullableText& text) {
    return text ? text->c_str() : nullptr;
}

/// A report call's count, and its buffer between bytes that it must not touch.
template <class Report>
std::string reported(unsigned long long size, const Report& report) {
    constexpr std::size_t guard = 3;
    std::string buffer(guard + static_cast<std::size_t>(size) + guard, '#');
    const unsigned long long count = report(buffer.data() + guard, size);
    return std::to_string(count) + " of " + std::to_string(size) + ":\n" + buffer + "\n";
}

/// A report asked for with a null buffer, with the buffer needed, and with another buffer.
template <class Report>
std::string reportedInFull(std::size_t draw, const Report& report) {
    const unsigned long long needed = report(nullptr, draw);
    return std::to_string(needed) + " needed\n" + reported(needed, report) +
           reported(draw % (needed + 3), report);
}

/// Draws the calls of one host.
class Host {
public:
    Host(Dice& dice, const RandomComputer& computer) : dice_(dice), computer_(computer) {}

    std::vector<Call> calls() {
        for (std::size_t i = 2 + dice_.below(4); i > 0; --i) {
            tokens_.push_back(dice_.pickEarly(kTokens));
        }
        if (dice_.chance(3)) {
            work(3);
        }
        start();
        work(dice_.below(dice_.chance(10) ? 150 : 30));
        if (dice_.chance(2)) {
            term();
            start();
            work(dice_.below(20));
        }
        overrideInfo();
        defaultJson();
        term();
        return calls_;
    }

private:
    /// Adds a call without a result.
    template <class Action>
    void add(const std::string& description, Action action) {
        calls_.push_back({description, [action](Exports& exports) {
                              action(exports);
                              return std::string();
                          }});
    }

    void start() {
        if (dice_.chance(2)) {
            init(std::nullopt, true);
        }
        const std::vector<std::string> systemIds = {"TestSystem", "TestSystem", "", "OtherSystem"};
        const bool enableOverride = dice_.chance(75);
        init(dice_.pickEarly(systemIds), enableOverride);
        if (dice_.chance(2)) {
            init("ThirdSystem", !enableOverride);
        }
        if (dice_.chance(2)) {
            setOverridePath(dice_.chance(50) ? NullableText() : "");
        }
        // Without this call an override file would be looked for beside the test program.
        if (enableOverride || dice_.chance(30)) {
            setOverridePath(dice_.pickEarly(computer_.overrideDirectories()));
        }
        for (std::size_t i = dice_.below(4); i > 0; --i) {
            registerToggleFile();
        }
    }

    void work(std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            const std::size_t draw = dice_.below(100);
            if (draw < 16) {
                registerToggleFile();
            } else if (draw < 40) {
                registerToggle();
            } else if (draw < 60) {
                registerDynamicToggle();
            } else if (draw < 70) {
                setDynamicToggle();
            } else if (draw < 86) {
                addToggleComment();
            } else if (draw < 91) {
                getToggle();
            } else if (draw < 96) {
                getDynamicToggle();
            } else if (draw < 97) {
                setOverridePath(dice_.pick(computer_.overrideDirectories()));
            } else if (draw < 98) {
                overrideInfo();
            } else {
                defaultJson();
            }
        }
    }

    NullableText orRarelyNull(const std::string& text) {
        return dice_.chance(1) ? NullableText() : text;
    }

    NullableText token() {
        return orRarelyNull(dice_.pick(tokens_));
    }

    /// A key for a new toggle.
    NullableText newKey() {
        const std::size_t draw = dice_.below(100);
        std::string key = randomKey(dice_);
        if (draw < 3) {
            key = dice_.pick(std::vector<std::string>{"", "a", "a/b", "features"});
        } else if (draw < 45) {
            key = dice_.pick(computer_.documentedKeys());
        } else if (draw < 68 && !keys_.empty()) {
            key = dice_.pick(keys_) + "/";
            key += randomSegment(dice_);
        } else if (draw < 74 && !keys_.empty()) {
            key = dice_.pick(keys_);
            key.resize(key.find('/') == std::string::npos ? 0 : key.rfind('/'));
        } else if (draw < 80 && !keys_.empty()) {
            key = dice_.pick(keys_);
        }
        keys_.push_back(key);
        return orRarelyNull(key);
    }

    /// A key for a toggle that most probably exists.
    NullableText key() {
        if (keys_.empty() || dice_.chance(7)) {
            return newKey();
        }
        return orRarelyNull(dice_.pick(keys_));
    }

    KLB_ToggleFileType fileType() {
        const std::size_t draw = dice_.below(100);
        const int value = draw < 75   ? KLB_ToggleFileType_Supported
                          : draw < 83 ? KLB_ToggleFileType_Unsupported
                          : draw < 90 ? 9
                          : draw < 93 ? KLB_ToggleFileType_Override
                          : draw < 96 ? KLB_ToggleFileType_Invalid
                                      : -1;
        return static_cast<KLB_ToggleFileType>(value);
    }

    void init(const NullableText& systemId, bool enableOverride) {
        add("KLB_Init(" + sourceText(systemId) + ", " + named(enableOverride) + ")",
            [=](Exports& exports) { exports.init(pointer(systemId), enableOverride); });
    }

    void term() {
        keys_.clear();
        add("KLB_Term()", [](Exports& exports) { exports.term(); });
    }

    void setOverridePath(const NullableText& directory) {
        add("KLB_SetOverridePath(" + sourceText(directory) + ")",
            [=](Exports& exports) { exports.setOverridePath(pointer(directory)); });
    }

    void registerToggleFile() {
        const KLB_ToggleFileType type = fileType();
        const NullableText to = token();
        const NullableText file =
            orRarelyNull(dice_.chance(1) ? "" : dice_.pickEarly(computer_.fileNames()));
        add("KLB_RegisterToggleFile(" + std::to_string(static_cast<int>(type)) + ", " +
                sourceText(to) + ", " + sourceText(file) + ")",
            [=](Exports& exports) {
                exports.registerToggleFile(type, pointer(to), pointer(file));
            });
    }

    void registerToggle() {
        const NullableText on = newKey();
        const bool defaultValue = dice_.chance(50);
        const NullableText to = token();
        add("KLB_RegisterToggle(" + sourceText(on) + ", " + named(defaultValue) + ", " +
                sourceText(to) + ")",
            [=](Exports& exports) {
                exports.registerToggle(pointer(on), defaultValue, pointer(to));
            });
    }

    void registerDynamicToggle() {
        const NullableText on = newKey();
        const bool defaultValue = dice_.chance(50);
        const NullableText to = token();
        add("KLB_RegisterDynamicToggle(" + sourceText(on) + ", " + named(defaultValue) + ", " +
                sourceText(to) + ")",
            [=](Exports& exports) {
                exports.registerDynamicToggle(pointer(on), defaultValue, pointer(to));
            });
    }

    void getToggle() {
        const NullableText on = key();
        calls_.push_back({"KLB_GetToggle(" + sourceText(on) + ")",
                          [=](Exports& exports) { return named(exports.getToggle(pointer(on))); }});
    }

    void getDynamicToggle() {
        const NullableText on = key();
        calls_.push_back({"KLB_GetDynamicToggle(" + sourceText(on) + ")", [=](Exports& exports) {
                              return named(exports.getDynamicToggle(pointer(on)));
                          }});
    }

    void setDynamicToggle() {
        const NullableText on = key();
        const bool value = dice_.chance(50);
        add("KLB_SetDynamicToggle(" + sourceText(on) + ", " + named(value) + ")",
            [=](Exports& exports) { exports.setDynamicToggle(pointer(on), value); });
    }

    void addToggleComment() {
        const NullableText on = key();
        const NullableText comment = orRarelyNull(dice_.pick(kTexts));
        add("KLB_AddToggleComment(" + sourceText(on) + ", " + sourceText(comment) + ")",
            [=](Exports& exports) { exports.addToggleComment(pointer(on), pointer(comment)); });
    }

    void overrideInfo() {
        const std::size_t draw = dice_.below(1000);
        calls_.push_back({"KLB_GetOverrideInfoString(...)", [=](Exports& exports) {
                              return reportedInFull(
                                  draw, [&](char* buffer, unsigned long long size) {
                                      return exports.getOverrideInfoString(buffer, size);
                                  });
                          }});
    }

    void defaultJson() {
        const NullableText name = dice_.chance(20) ? NullableText() : dice_.pick(kTexts);
        const NullableText version = dice_.chance(20) ? NullableText() : dice_.pick(kTexts);
        const std::size_t draw = dice_.below(100000);
        calls_.push_back(
            {"KLB_GetDefaultToggleJson(" + sourceText(name) + ", " + sourceText(version) + ", ...)",
             [=](Exports& exports) {
                 return reportedInFull(draw, [&](char* buffer, unsigned long long size) {
                     return exports.getDefaultToggleJson(pointer(name), pointer(version), buffer,
                                                         size);
                 });
             }});
    }

    Dice& dice_;
    const RandomComputer& computer_;
    std::vector<std::string> tokens_;
    std::vector<std::string> keys_;
    std::vector<Call> calls_;
};

} // namespace

std::vector<Call> randomCalls(Dice& dice, const RandomComputer& computer) {
    return Host(dice, computer).calls();
}

} // namespace klb::test
