#ifndef KLB_TESTS_SEQUENCE_CHOICES_H
#define KLB_TESTS_SEQUENCE_CHOICES_H

#include "fake_framework.h"

#include <cstddef>
#include <string>
#include <vector>

// What the arguments of a sequence's calls are drawn from: few and awkward, so that calls meet.
// File names and directories are names as Computer has them.

namespace klb::test {

/// Names of members and properties, names that are prefixes of each other or of other members, and
/// what is not expected in a key.
inline const std::vector<std::string> kKeys = {
    "/a",
    "/b",
    "/c",
    "/a/b",
    "/a/b/c",
    "/a-b",
    "/a.b",
    "/a/",
    "/a//b",
    "/",
    "//",
    "/A",
    "/ab",
    "/b/KLB_DefaultValue",
    "/a/KLB_IsDynamic",
    "/a/KLB_DefaultValue/x",
    "/a/KLB_ToggleComment",
    "/KLB_DefaultValue",
    "/caf\xC3\xA9",
    "/caf\xC3\xA9/\xF0\x9F\x94\x91",
    "/\xFF",
    "/say \"hi\"\\",
    "/line\r\n\t\x01",
    "/features",
    "/features/a",
    "/header",
    "/header/systemId",
    "",
    "x",
    "a/b",
    "/" + std::string(600, 'k'),
    "/d/d/d/d/d/d/d/d/d/d/d/d/d/d/d/d/d/d/d/d/d/d/d/d/d/d/d/d/d/d/d/d/d/d/d/d/d/d/d/d",
};

/// The override file's token stands among its neighbours in byte order.
inline const std::vector<std::string> kTokens = {"core",
                                                 "core.ui",
                                                 "cit.feature.overrides",
                                                 "core-ui",
                                                 "",
                                                 "cit.feature.override",
                                                 "a",
                                                 "\"quoted\"\n\x02",
                                                 "\xC3\xA9",
                                                 "\xFF"};

inline const std::vector<std::string> kTexts = {"a comment",
                                                "",
                                                "another comment",
                                                "says \"this\",\nand 'that'\r\n",
                                                "\b\f\t\x01\x1B\x1F\x7F",
                                                "C:\\path\\and/slash",
                                                "\xE6\x97\xA5\xE6\x9C\xAC \xF0\x9F\x94\x91",
                                                "\x80\xFF"};

/// Files that may come to be.
inline const std::vector<std::string> kFiles = {"DIR|core.json",
                                                "DIR|ui.json",
                                                "DIR|sub|core.json",
                                                "DIR|caf\xC3\xA9.klb",
                                                "DIR|a|Mosk|Support|bare.json",
                                                "DIR|b|Mosk|Support|bare.json",
                                                "DIR|first|CIT_OVERRIDE.KLB",
                                                "DIR|second|CIT_OVERRIDE.KLB",
                                                "DIR|CIT_OVERRIDE.KLB"};

/// What a host passes for them, and for files and directories that are not among them.
inline const std::vector<std::string> kFileNames = {"DIR|core.json",
                                                    "DIR|ui.json",
                                                    "DIR|sub|core.json",
                                                    "DIR|caf\xC3\xA9.klb",
                                                    "bare.json",
                                                    "DIR|a|Mosk|Support|bare.json",
                                                    "DIR|first|CIT_OVERRIDE.KLB",
                                                    "DIR|core.json",
                                                    "DIR|sub|..|core.json",
                                                    "DIR|.|ui.json",
                                                    "DIR/core.json",
                                                    "DIR|sub",
                                                    "DIR|missing.json",
                                                    "DIR|sub|\xFF\n.json",
                                                    "missing\\core.json",
                                                    "sub/core.json",
                                                    ""};

inline const std::vector<std::string> kCertificateFiles = {
    "DIR|mosk.cert.pem", "DIR|sub|mosk.cert.pem", "DIR|a|Mosk|Support|mosk.cert.pem",
    "DIR|first|mosk.cert.pem"};

inline const std::vector<std::string> kOverrideDirectories = {
    "DIR|first",  "DIR|second",        "DIR|first|",  "DIR",
    "DIR/first/", "DIR|sub|..|second", "DIR|missing", "missing"};

inline const std::vector<std::string> kSystemIds = {
    "TestSystem", "TestSystem",  "TestSystem", "TestSystem", "TestSystem",
    "TestSystem", "OtherSystem", "",           "x",          "testsystem"};

/// The framework's calls that can fail.
inline const std::vector<std::string> kFrameworkCalls = {
    "host.QueryInterface(IOBXMessageSink)",
    "host.QueryInterface(IOBXComponentRegistry)",
    "components.FindDefinition",
    "components.CreateInstance",
    "created.Define",
    "components.QueryInterface(IOBXDefinitionRegistration)",
    "registration.Register",
    "host.QueryInterface(IOBXSingletonRegistry)",
    "singletons.RegisterSingleton",
    "identity.QueryInterface(IOBXSingletonRegistry)",
    "singletons.UnregisterSingleton",
};

struct NamedAnswer {
    std::string name;
    Answer answer;
};

/// The last ones are for calls that give an interface which need not be there.
inline const std::vector<NamedAnswer> kAnswers = {
    {"0x80004005", refusal(0x80004005)},
    {"0x8000000D", refusal(0x8000000D)},
    {"0x80004005 and an interface", refusalThatStores(0x80004005)},
    {"0x8000000D and an interface", refusalThatStores(0x8000000D)},
    {"success and the code 1", success(1)},
    {"an exception", exception()},
    {"null", nullInterface()},
    {"nothing", nothingStored()},
};
inline constexpr std::size_t kAnswersOfAnyCall = 6;

} // namespace klb::test

#endif
