#include "fake_framework.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <set>

namespace klb::test {

namespace {

constexpr uint32_t kNoInterface = 0x80000002;
constexpr uint32_t kNotRegistered = 0x8000000D;

/// The names of identifiers in notes.
const std::map<std::string, std::string> kNames = {
    {"00000000-0000-0000-C000-000000000046", "IOBXUnknown"},
    {"908C3A6B-F119-11D6-AD24-00039383008C", "IOBXMessageSink"},
    {"382B6A96-7FD0-11D6-BCFE-00306542A024", "IOBXComponentRegistry"},
    {"1718A226-7FD0-11D6-BD1D-00306542A024", "IOBXComponentDefinition"},
    {"CF855126-8A38-46E2-8444-141252DBF8FB", "IOBXDefinitionRegistration"},
    {"C965741F-39A9-3707-BA90-9C3E1F163F6A", "IOBXSingletonRegistry"},
    {"6C422BFA-70E5-11D6-8CDD-0030658A6504", "definition class"},
    {"9FAC2F14-CA6D-3DD0-8185-A710E2FA348E", "manager class"},
    {"309BB041-B486-32D5-BF1A-C9735C00ED71", "manager registration"},
    {"EC66EC80-6986-11D5-9BA2-8DB4B42DFD37", "manager category"},
};

constexpr const char* kManagerClass = "manager class";

std::string nameOf(const OBXGuid& id) {
    const std::string text = textOf(id);
    const auto name = kNames.find(text);
    return name == kNames.end() ? text : name->second;
}

OBXResult resultOf(uint32_t code) {
    return static_cast<OBXResult>(code);
}

std::string narrow(const wchar_t* wide) {
    if (!wide) {
        return "null";
    }
    std::string text;
    for (; *wide != L'\0'; ++wide) {
        text += *wide > L' ' && *wide <= L'~' ? static_cast<char>(*wide) : '?';
    }
    return text;
}

/// An interface to be handed out, and the count of references to its object.
struct Handle {
    void* interface;
    int* references;
};

} // namespace

/// The books that all objects of one framework share.
struct Ledger {
    Calls calls;
    std::map<std::string, Answer> answers;
    std::function<void(const std::string&)> onCall;

    /// Notes a call and gives the answer to it; throws when that is the answer.
    Answer note(const std::string& call) {
        calls.push_back(call);
        if (onCall) {
            onCall(call);
        }
        Answer answer;
        std::size_t longest = 0;
        for (const auto& [text, each] : answers) {
            if (call.starts_with(text) && text.size() >= longest) {
                longest = text.size();
                answer = each;
            }
        }
        if (answer.kind == Answer::Kind::Thrown) {
            throw HostError();
        }
        return answer;
    }

    /// A call without an output. The work is done unless it is refused.
    template <class Work>
    OBXResult perform(const std::string& call, Work&& work) {
        const Answer answer = note(call);
        if (answer.kind != Answer::Kind::Refused) {
            work();
        }
        return resultOf(answer.code);
    }

    /// A call that gives an interface, unless it fails by itself with the code in the end.
    OBXResult give(const std::string& call, void** out, Handle handle, uint32_t failure) {
        const Answer answer = note(call);
        switch (answer.kind) {
        case Answer::Kind::Refused:
            if (answer.storesAnInterface) {
                *out = handle.interface;
            }
            return resultOf(answer.code);
        case Answer::Kind::NullInterface:
            *out = nullptr;
            return 0;
        case Answer::Kind::NothingStored:
            return 0;
        default:
            break;
        }
        if (failure != 0) {
            return resultOf(failure);
        }
        ++*handle.references;
        *out = handle.interface;
        return resultOf(answer.code);
    }
};

namespace {

template <class Interface>
class Object : public Interface {
public:
    using Find = std::function<Handle(const std::string& iid)>;

    Object(Ledger& ledger, std::string name, Find find = nullptr)
        : ledger_(ledger), name_(std::move(name)), find_(std::move(find)) {}

    OBXResult QueryInterface(const OBXGuid& iid, void** out) override {
        const std::string name = nameOf(iid);
        const Handle handle = find_ ? find_(name) : Handle{nullptr, nullptr};
        return ledger_.give(text("QueryInterface", name), out, handle,
                            handle.interface ? 0 : kNoInterface);
    }
    uint32_t AddRef() override {
        ledger_.note(text("AddRef", ""));
        return static_cast<uint32_t>(++references_);
    }
    uint32_t Release() override {
        ledger_.note(text("Release", ""));
        return static_cast<uint32_t>(--references_);
    }

    Handle handle() {
        return {static_cast<Interface*>(this), &references_};
    }
    int references() const {
        return references_;
    }
    const std::string& name() const {
        return name_;
    }
    /// A reference that is not the library's own.
    void lend() {
        isLent_ = true;
    }

protected:
    std::string text(const std::string& operation, const std::string& arguments) const {
        std::string call = name_ + "." + operation + "(" + arguments + ")";
        EXPECT_TRUE(isLent_ || references_ > 0) << "no reference to the object is held: " << call;
        return call;
    }
    Ledger& ledger() {
        return ledger_;
    }

private:
    Ledger& ledger_;
    std::string name_;
    Find find_;
    int references_ = 0;
    bool isLent_ = false;
};

class Sink final : public Object<IOBXMessageSink> {
public:
    using Object::Object;
    OBXResult Report(uint32_t type, const char* message) override {
        reports.emplace_back(type, message);
        return ledger().perform(text("Report", std::to_string(type) + ", " + message), [] {});
    }
    std::vector<std::pair<uint32_t, std::string>> reports;
};

class Definition final : public Object<IOBXComponentDefinition> {
public:
    using Object::Object;
    OBXResult Define(const OBXGuid& classId, const OBXGuid& categoryId, uint32_t first,
                     uint32_t second, const OBXGuid& registrationId, const wchar_t* name) override {
        return ledger().perform(text("Define", nameOf(classId) + ", " + nameOf(categoryId) + ", " +
                                                   std::to_string(first) + ", " +
                                                   std::to_string(second) + ", " +
                                                   nameOf(registrationId) + ", " + narrow(name)),
                                [&] { definedClass = nameOf(classId); });
    }
    std::string definedClass;
};

class Components final : public Object<IOBXComponentRegistry> {
public:
    Components(Ledger& ledger, Find find, Definition& found, Definition& created)
        : Object(ledger, "components", std::move(find)), found_(found), created_(created) {}

    OBXResult FindDefinition(const OBXGuid& classId, const OBXGuid& iid, void** out) override {
        const bool isKnown = classes.contains(nameOf(classId));
        return ledger().give(text("FindDefinition", nameOf(classId) + ", " + nameOf(iid)), out,
                             found_.handle(), isKnown ? 0 : kNotRegistered);
    }
    OBXResult CreateInstance(const OBXGuid& classId, IOBXUnknown* outer, const OBXGuid& iid,
                             void** out) override {
        return ledger().give(text("CreateInstance", nameOf(classId) + ", " +
                                                        (outer ? "an outer object" : "null") +
                                                        ", " + nameOf(iid)),
                             out, created_.handle(), 0);
    }
    std::set<std::string> classes;

private:
    Definition& found_;
    Definition& created_;
};

class Registration final : public Object<IOBXDefinitionRegistration> {
public:
    Registration(Ledger& ledger, Definition& created, std::set<std::string>& classes)
        : Object(ledger, "registration"), created_(created), classes_(classes) {}

    OBXResult Register(IOBXComponentDefinition* definition) override {
        const bool isCreated = definition == &created_;
        return ledger().perform(text("Register", isCreated ? "created" : "another object"), [&] {
            if (isCreated) {
                classes_.insert(created_.definedClass);
            }
        });
    }

private:
    Definition& created_;
    std::set<std::string>& classes_;
};

class Singletons final : public Object<IOBXSingletonRegistry> {
public:
    using Object::Object;
    OBXResult RegisterSingleton(const OBXGuid& classId, const OBXGuid& registrationId,
                                IOBXUnknown* object) override {
        lastObject = object;
        return ledger().perform(text("RegisterSingleton", nameOf(classId) + ", " +
                                                              nameOf(registrationId) + ", " +
                                                              (object ? "object" : "null")),
                                [&] { objects[nameOf(classId)] = object; });
    }
    OBXResult UnregisterSingleton(const OBXGuid& classId) override {
        return ledger().perform(text("UnregisterSingleton", nameOf(classId)),
                                [&] { objects.erase(nameOf(classId)); });
    }
    std::map<std::string, IOBXUnknown*> objects;
    IOBXUnknown* lastObject = nullptr;
};

bool isReferenceCounting(const std::string& call) {
    return call.ends_with(".AddRef()") || call.ends_with(".Release()");
}

} // namespace

struct FakeFramework::Objects {
    Ledger ledger;
    std::function<Handle(const std::string&)> find = [this](const std::string& iid) {
        return iid == "IOBXUnknown"             ? identity.handle()
               : iid == "IOBXMessageSink"       ? sink.handle()
               : iid == "IOBXComponentRegistry" ? components.handle()
               : iid == "IOBXSingletonRegistry" ? singletons.handle()
                                                : Handle{nullptr, nullptr};
    };
    Object<IOBXUnknown> host{ledger, "host", find};
    Object<IOBXUnknown> identity{ledger, "identity", find};
    Sink sink{ledger, "sink"};
    Definition found{ledger, "found"};
    Definition created{ledger, "created"};
    Components components{ledger,
                          [this](const std::string& iid) {
                              return iid == "IOBXDefinitionRegistration" ? registration.handle()
                                                                         : Handle{nullptr, nullptr};
                          },
                          found, created};
    Registration registration{ledger, created, components.classes};
    Singletons singletons{ledger, "singletons"};
};

std::string textOf(const OBXGuid& id) {
    char text[40];
    std::snprintf(text, sizeof text, "%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X",
                  static_cast<unsigned>(id.data1), static_cast<unsigned>(id.data2),
                  static_cast<unsigned>(id.data3), static_cast<unsigned>(id.data4[0]),
                  static_cast<unsigned>(id.data4[1]), static_cast<unsigned>(id.data4[2]),
                  static_cast<unsigned>(id.data4[3]), static_cast<unsigned>(id.data4[4]),
                  static_cast<unsigned>(id.data4[5]), static_cast<unsigned>(id.data4[6]),
                  static_cast<unsigned>(id.data4[7]));
    return text;
}

FakeFramework::FakeFramework() : objects_(std::make_unique<Objects>()) {
    objects_->host.lend();
}

FakeFramework::~FakeFramework() {
    for (const auto& [name, count] : references()) {
        ADD_FAILURE() << "references that were never released: " << name << ", " << count;
    }
}

IOBXUnknown* FakeFramework::host() {
    return &objects_->host;
}

void FakeFramework::answer(const std::string& call, Answer answer) {
    objects_->ledger.answers[call] = answer;
}

void FakeFramework::answerEverything() {
    objects_->ledger.answers.clear();
}

void FakeFramework::knowManagerClass() {
    objects_->components.classes.insert(kManagerClass);
}

void FakeFramework::onCall(std::function<void(const std::string& call)> action) {
    objects_->ledger.onCall = std::move(action);
}

Calls FakeFramework::takeAllCalls() {
    return std::exchange(objects_->ledger.calls, {});
}

Calls FakeFramework::takeCalls() {
    Calls calls = takeAllCalls();
    std::erase_if(calls, isReferenceCounting);
    return calls;
}

std::map<std::string, int> FakeFramework::references() const {
    std::map<std::string, int> held;
    const auto count = [&held](const auto& object) {
        if (object.references() != 0) {
            held[object.name()] = object.references();
        }
    };
    count(objects_->host);
    count(objects_->identity);
    count(objects_->sink);
    count(objects_->found);
    count(objects_->created);
    count(objects_->components);
    count(objects_->registration);
    count(objects_->singletons);
    return held;
}

std::vector<std::pair<uint32_t, std::string>> FakeFramework::takeReports() {
    return std::exchange(objects_->sink.reports, {});
}

IOBXUnknown* FakeFramework::lastObject() const {
    return objects_->singletons.lastObject;
}

IOBXUnknown* FakeFramework::findSingleton(const OBXGuid& classId) const {
    const auto found = objects_->singletons.objects.find(nameOf(classId));
    return found == objects_->singletons.objects.end() ? nullptr : found->second;
}

bool FakeFramework::knowsClass(const OBXGuid& classId) const {
    return objects_->components.classes.contains(nameOf(classId));
}

} // namespace klb::test
