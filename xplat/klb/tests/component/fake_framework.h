#ifndef KLB_TESTS_COMPONENT_FAKE_FRAMEWORK_H
#define KLB_TESTS_COMPONENT_FAKE_FRAMEWORK_H

#include <obx.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace klb::test {

using Calls = std::vector<std::string>;

/// The identifier as text: 5E57F703-0FA1-3B38-BB53-51D77F6B53AC.
std::string textOf(const OBXGuid& id);

/// What a host throws that throws.
struct HostError : std::runtime_error {
    HostError() : std::runtime_error("the host's own error") {}
};

/// How the framework answers a call.
struct Answer {
    enum class Kind { Done, Refused, NullInterface, NothingStored, Thrown };
    Kind kind = Kind::Done;
    uint32_t code = 0;
    bool storesAnInterface = false;
};

/// The call does its work, and this is its code.
inline Answer success(uint32_t code) {
    return {Answer::Kind::Done, code, false};
}

/// The call does nothing; the output stays as it was.
inline Answer refusal(uint32_t code) {
    return {Answer::Kind::Refused, code, false};
}

/// The call is refused but stores its interface all the same, without a reference to it.
inline Answer refusalThatStores(uint32_t code) {
    return {Answer::Kind::Refused, code, true};
}

/// The call succeeds and stores null.
inline Answer nullInterface() {
    return {Answer::Kind::NullInterface, 0, false};
}

/// The call succeeds and leaves the output as it was.
inline Answer nothingStored() {
    return {Answer::Kind::NothingStored, 0, false};
}

/// The call throws HostError.
inline Answer exception() {
    return {Answer::Kind::Thrown, 0, false};
}

/// A host's component framework that keeps account of how the library uses it.
///
/// Every call is noted as "object.Operation(arguments)", identifiers by the names that the list in
/// fake_framework.cpp gives them, or as their text when it does not. The objects are named
/// host, identity, sink, components (the component registry), created and found (component
/// definitions), registration (of definitions) and singletons (their registry). The identity is
/// another object than the host, so that calls on the one and on the other can be told apart. A
/// call on an object to which the caller holds no reference fails the test, and so does a reference
/// that is still held in the end.
///
/// Synchronised by the library's lock, under which it is called.
class FakeFramework {
public:
    FakeFramework();
    ~FakeFramework();
    FakeFramework(const FakeFramework&) = delete;
    FakeFramework& operator=(const FakeFramework&) = delete;

    /// What a host passes to KLB_InitOBX().
    IOBXUnknown* host();

    /// From now on calls whose note begins with this text are answered so; a later answer to the
    /// same text replaces an earlier one.
    void answer(const std::string& call, Answer answer);

    /// From now on all calls do their work again.
    void answerEverything();

    /// The manager's class is known, as after an earlier run of the library.
    void knowManagerClass();

    /// Runs inside every call, after it was noted.
    void onCall(std::function<void(const std::string& call)> action);

    /// The notes since construction or the last take, in order.
    Calls takeAllCalls();

    /// The same without AddRef and Release.
    Calls takeCalls();

    /// The objects to which the library holds references, and how many.
    std::map<std::string, int> references() const;

    /// The message sink's reports, as type and text, since construction or the last take.
    std::vector<std::pair<uint32_t, std::string>> takeReports();

    /// The object that was last passed to RegisterSingleton(), whatever the answer was.
    IOBXUnknown* lastObject() const;

    /// What a plug-in gets: the singleton registered under this class, or null.
    IOBXUnknown* findSingleton(const OBXGuid& classId) const;

    /// Whether the component registry knows the class.
    bool knowsClass(const OBXGuid& classId) const;

    struct Objects;

private:
    std::unique_ptr<Objects> objects_;
};

} // namespace klb::test

#endif
