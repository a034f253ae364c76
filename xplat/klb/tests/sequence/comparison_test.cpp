#include "decode.h"
#include "random_bytes.h"
#include "sequence.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace klb::test {

namespace {

const NullableText kToken = "core";

/// A model that is wrong about dynamic toggles.
class ModelThatSaysFalse : public LibraryModel {
public:
    using LibraryModel::LibraryModel;
    bool getDynamicToggle(const char* key) override {
        LibraryModel::getDynamicToggle(key);
        return false;
    }
};

/// A model that is wrong about a message's text.
class ModelThatMisspells : public LibraryModel {
public:
    using LibraryModel::LibraryModel;
    void addToggleComment(const char* key, const char* comment) override {
        const std::string wrong = std::string(key != nullptr ? key : "") + " ";
        LibraryModel::addToggleComment(key != nullptr ? wrong.c_str() : nullptr, comment);
    }
};

/// A model that makes one call of the framework too many.
class ModelThatAsksAgain : public LibraryModel {
public:
    using LibraryModel::LibraryModel;
    void initObx(IOBXUnknown* host) override {
        const bool isNew = isInitialized() && !isObxInitialized() && host != nullptr;
        LibraryModel::initObx(host);
        if (isNew) {
            void* unused = nullptr;
            host->QueryInterface(KLB_IID_IOBXUnknown, &unused);
            static_cast<IOBXUnknown*>(unused)->Release();
        }
    }
};

template <class Model>
MakeModel maker() {
    return [](const Surroundings& surroundings) { return std::make_unique<Model>(surroundings); };
}

std::vector<std::string> textsOf(const std::vector<Call>& calls) {
    std::vector<std::string> texts;
    for (const Call& call : calls) {
        texts.push_back(call.text);
    }
    return texts;
}

/// A sequence with much in it that has nothing to do with each other.
std::vector<Call> mixedCalls() {
    std::vector<Call> calls = {
        initMessageProc(Callback::First),
        init("TestSystem", false),
        isInitialized(),
        registerToggle("/static", false, kToken),
        registerDynamicToggle("/dynamic", false, kToken),
        addToggleComment("/dynamic", "text"),
        addToggleComment("/unknown", "text"),
        getDynamicToggle("/dynamic"),
        setDynamicToggle("/dynamic", true),
        initMessageProc(Callback::None),
        initObx(true),
        getDynamicToggle("/unknown"),
        getDynamicToggle("/dynamic"),
        term(),
        init("TestSystem", true),
        term(),
    };
    return calls;
}

TEST(SequenceComparison, FindsNothingWhereTheModelIsRight) {
    EXPECT_FALSE(runSequence(mixedCalls()));
}

TEST(SequenceComparison, FindsAWrongResult) {
    const MakeModel wrong = maker<ModelThatSaysFalse>();
    const std::optional<Difference> difference = runSequence(mixedCalls(), wrong);
    ASSERT_TRUE(difference);
    EXPECT_EQ(difference->index, 12U);
    EXPECT_EQ(difference->call, "KLB_GetDynamicToggle(\"/dynamic\")");
    EXPECT_EQ(difference->expected, "returned false\nheld: identity, 1\nheld: sink, 1\n");
    EXPECT_EQ(difference->actual, "returned true\nheld: identity, 1\nheld: sink, 1\n");
}

TEST(SequenceComparison, FindsAWrongMessage) {
    const std::optional<Difference> difference =
        runSequence(mixedCalls(), maker<ModelThatMisspells>());
    ASSERT_TRUE(difference);
    EXPECT_EQ(difference->index, 5U);
    EXPECT_EQ(difference->expected,
              "returned\nfirst callback: type 1, \"addToggleProperty: key, /dynamic , was not "
              "registered. Please call RegisterToggle first.\"\n");
    EXPECT_EQ(difference->actual, "returned\n");
}

TEST(SequenceComparison, FindsAWrongException) {
    std::vector<Call> calls = {init("TestSystem", false), addToggleComment("/unknown", "text")};
    const std::optional<Difference> difference = runSequence(calls, maker<ModelThatMisspells>());
    ASSERT_TRUE(difference);
    EXPECT_EQ(difference->actual,
              "threw std::domain_error: \"addToggleProperty: key, /unknown, was not registered. "
              "Please call RegisterToggle first.\"\n");
}

TEST(SequenceComparison, FindsAWrongCallOfTheFramework) {
    const std::optional<Difference> difference =
        runSequence(mixedCalls(), maker<ModelThatAsksAgain>());
    ASSERT_TRUE(difference);
    EXPECT_EQ(difference->index, 10U);
    const std::string held = "held: identity, 1\nheld: sink, 1\n";
    const std::string tooMany = "framework: host.QueryInterface(IOBXUnknown)\n" + held;
    ASSERT_TRUE(difference->expected.ends_with(tooMany)) << difference->expected;
    const std::size_t common = difference->expected.size() - tooMany.size();
    EXPECT_EQ(difference->actual, difference->expected.substr(0, common) + held);
}

TEST(SequenceComparison, ShortensASequenceToWhatTheDifferenceNeeds) {
    const MakeModel wrong = maker<ModelThatSaysFalse>();
    const std::vector<Call> fewer = shortened(mixedCalls(), wrong);
    EXPECT_EQ(textsOf(fewer), (std::vector<std::string>{
                                  "KLB_Init(\"TestSystem\", false)",
                                  "KLB_RegisterDynamicToggle(\"/dynamic\", false, \"core\")",
                                  "KLB_SetDynamicToggle(\"/dynamic\", true)",
                                  "KLB_GetDynamicToggle(\"/dynamic\")",
                              }));
    const std::optional<Difference> difference = runSequence(fewer, wrong);
    ASSERT_TRUE(difference);
    EXPECT_EQ(described(fewer, *difference),
              "KLB_Init(\"TestSystem\", false)\n"
              "KLB_RegisterDynamicToggle(\"/dynamic\", false, \"core\")\n"
              "KLB_SetDynamicToggle(\"/dynamic\", true)\n"
              "KLB_GetDynamicToggle(\"/dynamic\")\n"
              "-- expected of the last call:\n"
              "returned false\n"
              "-- actual:\n"
              "returned true\n");
}

TEST(SequenceComparison, ShortensARandomSequence) {
    const MakeModel wrong = maker<ModelThatMisspells>();
    const std::vector<Call> fewer = shortened(decodeCalls(randomBytes(1)), wrong);
    ASSERT_FALSE(fewer.empty());
    EXPECT_LE(fewer.size(), 3U);
    EXPECT_TRUE(fewer.back().text.starts_with("KLB_AddToggleComment(")) << fewer.back().text;
}

TEST(DecodeCalls, TakesAnyBytes) {
    EXPECT_LE(decodeCalls({}).size(), 10U);
    for (int byte = 0; byte < 256; byte += 5) {
        const std::vector<std::uint8_t> bytes(500, static_cast<std::uint8_t>(byte));
        const std::vector<Call> calls = decodeCalls(bytes);
        EXPECT_GE(calls.size(), 10U) << byte;
        EXPECT_FALSE(runSequence(calls)) << byte;
    }
}

TEST(DecodeCalls, GivesTheSameCallsForTheSameBytes) {
    EXPECT_EQ(textsOf(decodeCalls(randomBytes(1))), textsOf(decodeCalls(randomBytes(1))));
    EXPECT_NE(textsOf(decodeCalls(randomBytes(1))), textsOf(decodeCalls(randomBytes(2))));
}

} // namespace

} // namespace klb::test
