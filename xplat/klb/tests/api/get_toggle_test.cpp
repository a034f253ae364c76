#include "error_mode.h"
#include "library_session.h"
#include "lock_probe.h"
#include "temp_directory.h"
#include "toggle_helpers.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <stdexcept>
#include <string>
#include <vector>

namespace klb::test {

namespace {

/// Keys that no query or change takes, and how the complaint about each goes on after the name of
/// the operation.
const struct MalformedKey {
    const char* key;
    const char* complaint;
} kMalformedKeys[] = {
    {nullptr, "toggleKey cannot be NULL."},
    {"", "key cannot be an empty string."},
    {"a", "key must start with '/' character."},
    {"a/b", "key must start with '/' character."},
    {" /a", "key must start with '/' character."},
    {"\\a", "key must start with '/' character."},
    {"\xEF\xBC\x8F"
     "a",
     "key must start with '/' character."},
};

Message unregisteredWarning(const std::string& key) {
    return warning("getToggle: key, " + key + ", was not registered. Returning false.");
}

TEST(GetToggle, MalformedKeysAreErrors) {
    for (const ToggleKind* kind : kBothKinds) {
        SCOPED_TRACE(kind->name);
        inBothErrorModes([&](ErrorObserver& observer) {
            const LibrarySession library;
            kind->registerToggle("/a", true, "core");
            for (const MalformedKey& c : kMalformedKeys) {
                SCOPED_TRACE(c.key ? c.key : "null");
                observer.expectError<std::invalid_argument>(
                    "getToggle: " + std::string(c.complaint),
                    [&] { EXPECT_FALSE(kind->get(c.key)); });
                EXPECT_TRUE(lockIsFree());
            }
            EXPECT_TRUE(kind->get("/a"));
        });
    }
}

TEST(GetToggle, MalformedKeysAreErrorsAlsoWhenRegistered) {
    inBothErrorModes([](ErrorObserver& observer) {
        const LibrarySession library;
        KLB_RegisterToggle("", true, "core");
        KLB_RegisterToggle("a", true, "core");
        // The shape of the key is checked before its kind.
        for (const ToggleKind* kind : kBothKinds) {
            SCOPED_TRACE(kind->name);
            observer.expectError<std::invalid_argument>("getToggle: key cannot be an empty string.",
                                                        [&] { EXPECT_FALSE(kind->get("")); });
            observer.expectError<std::invalid_argument>(
                "getToggle: key must start with '/' character.",
                [&] { EXPECT_FALSE(kind->get("a")); });
        }
    });
}

TEST(GetToggle, UnregisteredKeyIsAWarningAndFalse) {
    const std::string keys[] = {
        "/a",
        "/",
        "//",
        "/group/feature",
        "/with space, and comma",
        "/\xC3\xBC\xFF%s\n",
        "/" + std::string(5000, 'k'),
    };
    for (const ToggleKind* kind : kBothKinds) {
        SCOPED_TRACE(kind->name);
        inBothErrorModes([&](ErrorObserver& observer) {
            const LibrarySession library;
            for (const std::string& key : keys) {
                SCOPED_TRACE(key);
                for (int time = 0; time < 2; ++time) {
                    observer.expectMessages({unregisteredWarning(key)},
                                            [&] { EXPECT_FALSE(kind->get(key.c_str())); });
                }
                EXPECT_FALSE(KLB_IsToggleRegistered(key.c_str()));
                EXPECT_FALSE(KLB_IsDynamicToggleRegistered(key.c_str()));
                observer.expectSilence([&] { kind->registerToggle(key.c_str(), true, "core"); });
                observer.expectSilence([&] { EXPECT_TRUE(kind->get(key.c_str())); });
            }
            EXPECT_TRUE(lockIsFree());
        });
    }
}

TEST(GetToggle, OnlyTheWholeKeyAnswers) {
    inBothErrorModes([](ErrorObserver& observer) {
        const LibrarySession library;
        KLB_RegisterToggle("/group/feature", true, "core");
        observer.expectSilence([] { EXPECT_TRUE(KLB_GetToggle("/group/feature")); });
        for (const char* key :
             {"/group", "/group/", "/group/featur", "/group/features", "/group/feature/",
              "/group//feature", "//group/feature", "/Group/feature", "/feature"}) {
            SCOPED_TRACE(key);
            observer.expectMessages({unregisteredWarning(key)},
                                    [&] { EXPECT_FALSE(KLB_GetToggle(key)); });
        }
    });
}

TEST(GetToggle, GivesTheDefaultWhereNothingElseIsSet) {
    for (const ToggleKind* kind : kBothKinds) {
        SCOPED_TRACE(kind->name);
        inBothErrorModes([&](ErrorObserver& observer) {
            const LibrarySession library;
            observer.expectSilence([&] {
                kind->registerToggle("/on", true, "core");
                kind->registerToggle("/off", false, "core");
                for (int time = 0; time < 3; ++time) {
                    EXPECT_TRUE(kind->get("/on"));
                    EXPECT_FALSE(kind->get("/off"));
                }
            });
        });
    }
}

TEST(GetToggle, EachKindHasItsOwnFunction) {
    const struct {
        const ToggleKind* registered;
        const ToggleKind* asked;
        const char* text;
    } cases[] = {
        {&kStaticKind, &kDynamicKind, "getToggle: key is is immutable after initialization."},
        {&kDynamicKind, &kStaticKind, "getToggle: key is a mutable."},
    };
    const TempDirectory directory;
    const std::string path = directory.write("core.json", featuresFile(R"("inFile":true)"));
    for (const auto& c : cases) {
        SCOPED_TRACE(c.registered->name);
        inBothErrorModes([&](ErrorObserver& observer) {
            const LibrarySession library;
            registerPlainFile("core", path);
            for (const char* key : {"/byDefault", "/inFile"}) {
                SCOPED_TRACE(key);
                c.registered->registerToggle(key, true, "core");
                observer.expectError<std::domain_error>(c.text,
                                                        [&] { EXPECT_FALSE(c.asked->get(key)); });
                EXPECT_TRUE(lockIsFree());
                observer.expectSilence([&] { EXPECT_TRUE(c.registered->get(key)); });
            }
        });
    }
}

TEST(SetDynamicToggle, MalformedKeysAreErrors) {
    inBothErrorModes([](ErrorObserver& observer) {
        const LibrarySession library;
        KLB_RegisterDynamicToggle("/a", false, "core");
        // Registered, and still no key that can be changed.
        KLB_RegisterDynamicToggle("", false, "core");
        KLB_RegisterDynamicToggle("a", false, "core");
        for (const MalformedKey& c : kMalformedKeys) {
            SCOPED_TRACE(c.key ? c.key : "null");
            observer.expectError<std::invalid_argument>("setDynamicToggle: " +
                                                            std::string(c.complaint),
                                                        [&] { KLB_SetDynamicToggle(c.key, true); });
            EXPECT_TRUE(lockIsFree());
        }
        EXPECT_FALSE(KLB_GetDynamicToggle("/a"));
    });
}

TEST(SetDynamicToggle, UnregisteredAndStaticKeysAreRefused) {
    const char* const text = "setDynamicToggle: key was not registered as a mutable so it cannot "
                             "be changed after initialization.";
    inBothErrorModes([&](ErrorObserver& observer) {
        const LibrarySession library;
        KLB_RegisterToggle("/on", true, "core");
        KLB_RegisterToggle("/off", false, "core");
        for (const bool value : {false, true}) {
            for (const char* key : {"/on", "/off", "/unknown", "/", "/on/"}) {
                SCOPED_TRACE(key);
                observer.expectError<std::domain_error>(text,
                                                        [&] { KLB_SetDynamicToggle(key, value); });
                EXPECT_TRUE(lockIsFree());
            }
        }
        observer.expectSilence([] {
            EXPECT_TRUE(KLB_GetToggle("/on"));
            EXPECT_FALSE(KLB_GetToggle("/off"));
        });
        EXPECT_FALSE(KLB_IsToggleRegistered("/unknown"));
        EXPECT_FALSE(KLB_IsDynamicToggleRegistered("/unknown"));
    });
}

TEST(SetDynamicToggle, LastValueSetIsTheValue) {
    const std::initializer_list<std::vector<bool>> sequences = {
        {true},        {false},       {true, true},        {false, false},
        {true, false}, {false, true}, {true, false, true}, {false, true, false},
    };
    const TempDirectory directory;
    const std::string path = directory.write("core.json", featuresFile(R"("on":true,"off":false)"));
    for (const char* key : {"/on", "/off", "/notInFile"}) {
        SCOPED_TRACE(key);
        for (const bool defaultValue : {false, true}) {
            SCOPED_TRACE(defaultValue ? "default true" : "default false");
            for (const std::vector<bool>& sequence : sequences) {
                inBothErrorModes([&](ErrorObserver& observer) {
                    const LibrarySession library;
                    observer.expectSilence([&] {
                        registerPlainFile("core", path);
                        KLB_RegisterDynamicToggle(key, defaultValue, "core");
                        for (const bool value : sequence) {
                            KLB_SetDynamicToggle(key, value);
                            EXPECT_EQ(KLB_GetDynamicToggle(key), value);
                            EXPECT_EQ(KLB_GetDynamicToggle(key), value);
                        }
                    });
                });
            }
        }
    }
}

TEST(SetDynamicToggle, ChangesNoOtherToggle) {
    const LibrarySession library;
    for (const char* key : {"/a", "/a/b", "/a/c", "/A"}) {
        KLB_RegisterDynamicToggle(key, false, "core");
    }
    KLB_RegisterToggle("/static", false, "core");
    KLB_SetDynamicToggle("/a/b", true);
    EXPECT_TRUE(KLB_GetDynamicToggle("/a/b"));
    for (const char* key : {"/a", "/a/c", "/A"}) {
        SCOPED_TRACE(key);
        EXPECT_FALSE(KLB_GetDynamicToggle(key));
    }
    EXPECT_FALSE(KLB_GetToggle("/static"));
}

TEST(SetDynamicToggle, StaysDynamic) {
    const LibrarySession library;
    KLB_RegisterDynamicToggle("/a", false, "core");
    KLB_SetDynamicToggle("/a", true);
    EXPECT_TRUE(KLB_IsDynamicToggleRegistered("/a"));
    EXPECT_FALSE(KLB_IsToggleRegistered("/a"));
}

TEST(IsToggleRegistered, NullKeyIsThrownInEitherErrorMode) {
    inBothErrorModes([](ErrorObserver& observer) {
        const LibrarySession library;
        for (const ToggleKind* kind : kBothKinds) {
            SCOPED_TRACE(kind->name);
            observer.expectAlwaysThrows<std::invalid_argument>(
                "getToggle: toggleKey cannot be NULL.", [&] { kind->isRegistered(nullptr); });
            EXPECT_TRUE(lockIsFree());
        }
    });
}

TEST(IsToggleRegistered, AnyOtherTextIsAnsweredSilently) {
    inBothErrorModes([](ErrorObserver& observer) {
        const LibrarySession library;
        KLB_RegisterToggle("/static", true, "core");
        KLB_RegisterDynamicToggle("/dynamic", true, "core");
        observer.expectSilence([] {
            for (const ToggleKind* kind : kBothKinds) {
                SCOPED_TRACE(kind->name);
                for (const char* key : {"", "a", "/", "/unknown", "static", "/static/", "/STATIC",
                                        "/dynami", "/dynamic/x", "core"}) {
                    SCOPED_TRACE(key);
                    EXPECT_FALSE(kind->isRegistered(key));
                }
            }
            EXPECT_TRUE(KLB_IsToggleRegistered("/static"));
            EXPECT_TRUE(KLB_IsDynamicToggleRegistered("/dynamic"));
        });
    });
}

} // namespace

} // namespace klb::test
