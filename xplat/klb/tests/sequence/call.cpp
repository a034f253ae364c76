#include "call.h"

#include "IKLBManager.h"
#include "source_text.h"

#include <array>
#include <cstddef>
#include <limits>
#include <utility>
#include <vector>

namespace klb::test {

namespace {

const char* pointer(const NullableText& text) {
    return text ? text->c_str() : nullptr;
}

/// The text that a name stands for.
NullableText textOf(const Side& side, const NullableText& name) {
    return name ? NullableText(side.computer().textOf(*name)) : NullableText();
}

std::string hexadecimal(uint32_t code) {
    const std::string digits = "0123456789ABCDEF";
    std::string text;
    for (; code != 0; code /= 16) {
        text.insert(text.begin(), digits[code % 16]);
    }
    return "0x" + (text.empty() ? "0" : text);
}

std::string codeOf(OBXResult result) {
    return hexadecimal(static_cast<uint32_t>(result));
}

template <class Action>
Call withoutResult(const std::string& text, Action action) {
    return {text, [action](Side& side) {
                action(side);
                return std::string("returned");
            }};
}

template <class Question>
Call withTruthValue(const std::string& text, Question question) {
    return {text, [question](Side& side) {
                return std::string("returned ") + named(question(side.exports()));
            }};
}

const char* nameOf(BufferSize size) {
    static const std::array names = {"null",      "null with a size", "of 0 bytes",
                                     "of 1 byte", "of 5 bytes",       "one byte too small",
                                     "fitting",   "larger",           "said to be huge"};
    return names[static_cast<std::size_t>(size)];
}

/// Asks for a report. The buffer stands between bytes that must not be touched.
template <class Size, class Report>
std::string reported(BufferSize bufferSize, const Report& report) {
    const Size needed = report(nullptr, 0);
    const std::string answer = "needs " + std::to_string(needed) + ", ";
    Size size = needed;
    switch (bufferSize) {
    case BufferSize::Null:
        return answer + "returned the same";
    case BufferSize::NullWithSize:
        return answer + "returned " + std::to_string(report(nullptr, 17));
    case BufferSize::Nothing:
        size = 0;
        break;
    case BufferSize::One:
        size = 1;
        break;
    case BufferSize::Few:
        size = 5;
        break;
    case BufferSize::OneTooFew:
        size = needed == 0 ? 0 : needed - 1;
        break;
    case BufferSize::Fitting:
        break;
    case BufferSize::Larger:
        size = needed + 9;
        break;
    case BufferSize::Huge:
        size = std::numeric_limits<Size>::max();
        break;
    }
    constexpr std::size_t guard = 3;
    const std::size_t room = static_cast<std::size_t>(needed) + 9;
    std::string buffer(guard + room + guard, '#');
    const Size result = report(buffer.data() + guard, size);
    return answer + "returned " + std::to_string(result) + " and " + sourceText(buffer);
}

Call reportCall(const std::string& name, const std::string& arguments, BufferSize size,
                const std::function<unsigned long long(Exports&, char*, unsigned long long)>& ask) {
    return {name + "(" + arguments + "a buffer " + nameOf(size) + ")", [=](Side& side) {
                return reported<unsigned long long>(
                    size, [&](char* buffer, unsigned long long bufferSize) {
                        return ask(side.exports(), buffer, bufferSize);
                    });
            }};
}

} // namespace

Call init(const NullableText& systemId, bool enableOverride) {
    return withoutResult(
        "KLB_Init(" + sourceText(systemId) + ", " + named(enableOverride) + ")",
        [=](Side& side) { side.exports().init(pointer(systemId), enableOverride); });
}

Call term() {
    return withoutResult("KLB_Term()", [](Side& side) { side.exports().term(); });
}

Call isInitialized() {
    return withTruthValue("KLB_IsInitialized()",
                          [](Exports& exports) { return exports.isInitialized(); });
}

Call initMessageProc(Callback callback) {
    const std::array names = {"nullptr", "first", "second", "one that throws an exception",
                              "one that throws a number"};
    return withoutResult(std::string("KLB_InitMessageProc(") +
                             names[static_cast<std::size_t>(callback)] + ")",
                         [=](Side& side) { side.exports().initMessageProc(procOf(callback)); });
}

Call setOverridePath(const NullableText& directory) {
    return withoutResult("KLB_SetOverridePath(" + sourceText(directory) + ")", [=](Side& side) {
        side.exports().setOverridePath(pointer(textOf(side, directory)));
    });
}

Call setCertificateData(const HostCertificate& certificate) {
    return withoutResult("KLB_SetCertificateData(" + certificate.printed + ")", [=](Side& side) {
        side.exports().setCertificateData(pointer(certificate.text));
    });
}

Call initObx(bool withHost) {
    return withoutResult(
        std::string("KLB_InitOBX(") + (withHost ? "host" : "nullptr") + ")",
        [=](Side& side) { side.exports().initObx(withHost ? side.framework().host() : nullptr); });
}

Call isObxInitialized() {
    return withTruthValue("KLB_IsOBXInitialized()",
                          [](Exports& exports) { return exports.isObxInitialized(); });
}

Call registerToggleFile(int type, const NullableText& token, const NullableText& file) {
    return withoutResult("KLB_RegisterToggleFile(" + std::to_string(type) + ", " +
                             sourceText(token) + ", " + sourceText(file) + ")",
                         [=](Side& side) {
                             side.exports().registerToggleFile(
                                 static_cast<KLB_ToggleFileType>(type), pointer(token),
                                 pointer(textOf(side, file)));
                         });
}

Call isToggleFileRegistered(const NullableText& token) {
    return withTruthValue(
        "KLB_IsToggleFileRegistered(" + sourceText(token) + ")",
        [=](Exports& exports) { return exports.isToggleFileRegistered(pointer(token)); });
}

Call registerToggle(const NullableText& key, bool defaultValue, const NullableText& token) {
    return withoutResult("KLB_RegisterToggle(" + sourceText(key) + ", " + named(defaultValue) +
                             ", " + sourceText(token) + ")",
                         [=](Side& side) {
                             side.exports().registerToggle(pointer(key), defaultValue,
                                                           pointer(token));
                         });
}

Call registerDynamicToggle(const NullableText& key, bool defaultValue, const NullableText& token) {
    return withoutResult("KLB_RegisterDynamicToggle(" + sourceText(key) + ", " +
                             named(defaultValue) + ", " + sourceText(token) + ")",
                         [=](Side& side) {
                             side.exports().registerDynamicToggle(pointer(key), defaultValue,
                                                                  pointer(token));
                         });
}

Call isToggleRegistered(const NullableText& key) {
    return withTruthValue("KLB_IsToggleRegistered(" + sourceText(key) + ")", [=](Exports& exports) {
        return exports.isToggleRegistered(pointer(key));
    });
}

Call isDynamicToggleRegistered(const NullableText& key) {
    return withTruthValue(
        "KLB_IsDynamicToggleRegistered(" + sourceText(key) + ")",
        [=](Exports& exports) { return exports.isDynamicToggleRegistered(pointer(key)); });
}

Call getToggle(const NullableText& key) {
    return withTruthValue("KLB_GetToggle(" + sourceText(key) + ")",
                          [=](Exports& exports) { return exports.getToggle(pointer(key)); });
}

Call getDynamicToggle(const NullableText& key) {
    return withTruthValue("KLB_GetDynamicToggle(" + sourceText(key) + ")",
                          [=](Exports& exports) { return exports.getDynamicToggle(pointer(key)); });
}

Call setDynamicToggle(const NullableText& key, bool value) {
    return withoutResult("KLB_SetDynamicToggle(" + sourceText(key) + ", " + named(value) + ")",
                         [=](Side& side) { side.exports().setDynamicToggle(pointer(key), value); });
}

Call addToggleComment(const NullableText& key, const NullableText& comment) {
    return withoutResult(
        "KLB_AddToggleComment(" + sourceText(key) + ", " + sourceText(comment) + ")",
        [=](Side& side) { side.exports().addToggleComment(pointer(key), pointer(comment)); });
}

Call getOverrideInfoString(BufferSize size) {
    return reportCall("KLB_GetOverrideInfoString", "", size,
                      [](Exports& exports, char* buffer, unsigned long long bufferSize) {
                          return exports.getOverrideInfoString(buffer, bufferSize);
                      });
}

Call getDefaultToggleJson(const NullableText& moduleName, const NullableText& moduleVersion,
                          BufferSize size) {
    return reportCall("KLB_GetDefaultToggleJson",
                      sourceText(moduleName) + ", " + sourceText(moduleVersion) + ", ", size,
                      [=](Exports& exports, char* buffer, unsigned long long bufferSize) {
                          return exports.getDefaultToggleJson(
                              pointer(moduleName), pointer(moduleVersion), buffer, bufferSize);
                      });
}

namespace manager {

namespace {

/// A face of the manager that the framework knows, or null.
template <class Interface>
Interface* find(Side& side, const OBXGuid& iid) {
    IOBXUnknown* const found = side.framework().findSingleton(KLB_ManagerClassId);
    void* face = nullptr;
    if (found != nullptr) {
        found->QueryInterface(iid, &face);
    }
    return static_cast<Interface*>(face);
}

template <class Operation>
Call onManager(const std::string& text, Operation operation) {
    return {"manager->" + text, [operation](Side& side) -> std::string {
                IKLBManager* const found = find<IKLBManager>(side, KLB_IID_IKLBManager);
                return found != nullptr ? operation(side, *found) : "not published";
            }};
}

template <class Operation>
Call onSingleton(const std::string& text, Operation operation) {
    return {"singleton->" + text, [operation](Side& side) -> std::string {
                IOBXSingleton* const found = find<IOBXSingleton>(side, KLB_IID_IOBXSingleton);
                return found != nullptr ? "returned " + operation(*found) : "not published";
            }};
}

/// A query for a toggle's value, which begins as a number that no operation sets.
template <class Operation>
std::string queried(bool withValue, const Operation& operation) {
    uint32_t value = 7;
    const OBXResult result = operation(withValue ? &value : nullptr);
    return "returned " + codeOf(result) + " with the value " + std::to_string(value);
}

constexpr OBXGuid kNoSuchFace = {0x12345678, 0x1234, 0x1234, {1, 2, 3, 4, 5, 6, 7, 8}};

} // namespace

Call queryInterface(Face face, bool withOutput) {
    static const std::array<std::pair<const char*, OBXGuid>, 5> faces = {
        {{"IKLBManager", KLB_IID_IKLBManager},
         {"IKLBManager1", KLB_IID_IKLBManager1},
         {"IOBXUnknown", KLB_IID_IOBXUnknown},
         {"IOBXSingleton", KLB_IID_IOBXSingleton},
         {"an unknown face", kNoSuchFace}}};
    const auto [name, iid] = faces[static_cast<std::size_t>(face)];
    return onManager(
        std::string("QueryInterface(") + name + ", " + (withOutput ? "out" : "nullptr") + ")",
        [guid = iid, withOutput](Side&, IKLBManager& manager) {
            int untouched = 0;
            void* out = &untouched;
            const OBXResult result = manager.QueryInterface(guid, withOutput ? &out : nullptr);
            return "returned " + codeOf(result) + " and " +
                   (out == &untouched ? "nothing"
                    : out == &manager ? "the manager"
                                      : "another face");
        });
}

Call addRef() {
    return onManager("AddRef()", [](Side&, IKLBManager& manager) {
        return "returned " + std::to_string(manager.AddRef());
    });
}

Call release() {
    return onManager("Release()", [](Side&, IKLBManager& manager) {
        return "returned " + std::to_string(manager.Release());
    });
}

Call registerToggleFile(uint32_t type, const NullableText& token, const NullableText& file) {
    return onManager("RegisterToggleFile(" + hexadecimal(type) + ", " + sourceText(token) + ", " +
                         sourceText(file) + ")",
                     [=](Side& side, IKLBManager& manager) {
                         return "returned " +
                                codeOf(manager.RegisterToggleFile(type, pointer(token),
                                                                  pointer(textOf(side, file))));
                     });
}

Call registerToggle(const NullableText& key, int32_t defaultValue, const NullableText& token) {
    return onManager("RegisterToggle(" + sourceText(key) + ", " + std::to_string(defaultValue) +
                         ", " + sourceText(token) + ")",
                     [=](Side&, IKLBManager& manager) {
                         return "returned " + codeOf(manager.RegisterToggle(
                                                  pointer(key), defaultValue, pointer(token)));
                     });
}

Call registerDynamicToggle(const NullableText& key, int32_t defaultValue,
                           const NullableText& token) {
    return onManager("RegisterDynamicToggle(" + sourceText(key) + ", " +
                         std::to_string(defaultValue) + ", " + sourceText(token) + ")",
                     [=](Side&, IKLBManager& manager) {
                         return "returned " + codeOf(manager.RegisterDynamicToggle(
                                                  pointer(key), defaultValue, pointer(token)));
                     });
}

Call getToggle(const NullableText& key, bool withValue) {
    return onManager(
        "GetToggle(" + sourceText(key) + ", " + (withValue ? "value" : "nullptr") + ")",
        [=](Side&, IKLBManager& manager) {
            return queried(withValue,
                           [&](uint32_t* value) { return manager.GetToggle(pointer(key), value); });
        });
}

Call getDynamicToggle(const NullableText& key, bool withValue) {
    return onManager("GetDynamicToggle(" + sourceText(key) + ", " +
                         (withValue ? "value" : "nullptr") + ")",
                     [=](Side&, IKLBManager& manager) {
                         return queried(withValue, [&](uint32_t* value) {
                             return manager.GetDynamicToggle(pointer(key), value);
                         });
                     });
}

Call setDynamicToggle(const NullableText& key, int32_t value) {
    return onManager("SetDynamicToggle(" + sourceText(key) + ", " + std::to_string(value) + ")",
                     [=](Side&, IKLBManager& manager) {
                         return "returned " + codeOf(manager.SetDynamicToggle(pointer(key), value));
                     });
}

Call isToggleRegistered(const NullableText& key) {
    return onManager("IsToggleRegistered(" + sourceText(key) + ")",
                     [=](Side&, IKLBManager& manager) {
                         return "returned " + codeOf(manager.IsToggleRegistered(pointer(key)));
                     });
}

Call isDynamicToggleRegistered(const NullableText& key) {
    return onManager(
        "IsDynamicToggleRegistered(" + sourceText(key) + ")", [=](Side&, IKLBManager& manager) {
            return "returned " + codeOf(manager.IsDynamicToggleRegistered(pointer(key)));
        });
}

Call isToggleFileRegistered(const NullableText& token) {
    return onManager(
        "IsToggleFileRegistered(" + sourceText(token) + ")", [=](Side&, IKLBManager& manager) {
            return "returned " + codeOf(manager.IsToggleFileRegistered(pointer(token)));
        });
}

Call getOverrideInfoString(BufferSize size) {
    return onManager(std::string("GetOverrideInfoString(a buffer ") + nameOf(size) + ")",
                     [=](Side&, IKLBManager& manager) {
                         return reported<uint32_t>(size, [&](char* buffer, uint32_t bufferSize) {
                             return manager.GetOverrideInfoString(buffer, bufferSize);
                         });
                     });
}

Call getSingletonState() {
    return onSingleton("GetSingletonState()", [](IOBXSingleton& singleton) {
        return std::to_string(singleton.GetSingletonState());
    });
}

Call initializeSingleton() {
    return onSingleton("InitializeSingleton()", [](IOBXSingleton& singleton) {
        return codeOf(singleton.InitializeSingleton());
    });
}

Call finalizeSingleton() {
    return onSingleton("FinalizeSingleton()", [](IOBXSingleton& singleton) {
        return codeOf(singleton.FinalizeSingleton());
    });
}

} // namespace manager

Call frameworkAnswers(const std::string& call, const std::string& printed, const Answer& answer) {
    return withoutResult("framework answers " + call + " with " + printed,
                         [=](Side& side) { side.framework().answer(call, answer); });
}

Call frameworkAnswersEverything() {
    return withoutResult("framework answers everything",
                         [](Side& side) { side.framework().answerEverything(); });
}

Call write(const std::string& name, const Content& content) {
    return {"write " + sourceText(name) + ": " + content.text, nullptr,
            [=](Computer& computer) { computer.write(name, content.file); }};
}

Call remove(const std::string& name) {
    return {"remove " + sourceText(name), nullptr,
            [=](Computer& computer) { computer.remove(name); }};
}

Call setProgramData(const NullableText& directory) {
    return {"PROGRAMDATA = " + sourceText(directory), nullptr,
            [=](Computer& computer) { computer.setProgramData(directory); }};
}

} // namespace klb::test
