#include "side.h"

#include "registry_model.h"
#include "source_text.h"

#include <exception>
#include <stdexcept>
#include <typeinfo>

namespace klb::test {

namespace {

/// What a callback throws.
struct CallbackError : std::runtime_error {
    CallbackError() : std::runtime_error("thrown by the callback") {}
};

/// The events of the call in progress.
std::string* currentEvents = nullptr;

void note(const std::string& event) {
    if (currentEvents != nullptr) {
        *currentEvents += event + "\n";
    }
}

void noteMessage(const char* callback, KLB_MessageType type, const char* text) {
    note(std::string(callback) + ": type " + std::to_string(static_cast<int>(type)) + ", " +
         sourceText(text));
}

int first(KLB_MessageType type, const char* text) {
    noteMessage("first callback", type, text);
    return 0;
}

int second(KLB_MessageType type, const char* text) {
    noteMessage("second callback", type, text);
    return -1;
}

int throwsStandardException(KLB_MessageType type, const char* text) {
    noteMessage("callback that throws an exception", type, text);
    throw CallbackError();
}

int throwsNumber(KLB_MessageType type, const char* text) {
    noteMessage("callback that throws a number", type, text);
    throw 42;
}

std::string typeName(const std::exception& thrown) {
    const std::type_info& type = typeid(thrown);
    return type == typeid(std::invalid_argument) ? "std::invalid_argument"
           : type == typeid(std::domain_error)   ? "std::domain_error"
           : type == typeid(std::runtime_error)  ? "std::runtime_error"
           : type == typeid(std::bad_alloc)      ? "std::bad_alloc"
           : type == typeid(CallbackError)       ? "the callback's exception"
           : type == typeid(HostError)           ? "the framework's exception"
                                                 : type.name();
}

std::string resultOrException(Side& side, const std::function<std::string(Side&)>& call) {
    try {
        return call(side);
    } catch (const DependsOnChance&) {
        throw;
    } catch (const std::exception& thrown) {
        return "threw " + typeName(thrown) + ": " + sourceText(thrown.what());
    } catch (long code) {
        return "threw the long " + std::to_string(code);
    } catch (int number) {
        return "threw the int " + std::to_string(number);
    } catch (...) {
        return "threw something else";
    }
}

} // namespace

KLB_MessageProc procOf(Callback callback) {
    switch (callback) {
    case Callback::First:
        return &first;
    case Callback::Second:
        return &second;
    case Callback::ThrowsStandardException:
        return &throwsStandardException;
    case Callback::ThrowsNumber:
        return &throwsNumber;
    default:
        return nullptr;
    }
}

Side::Side(Exports& exports, const Computer& computer) : exports_(exports), computer_(computer) {
    framework_.onCall([](const std::string& call) {
        if (!call.ends_with(".AddRef()") && !call.ends_with(".Release()")) {
            note("framework: " + call);
        }
    });
}

std::string Side::outcomeOf(const std::function<std::string(Side&)>& call) {
    struct Listening {
        explicit Listening(std::string& events) {
            events.clear();
            currentEvents = &events;
        }
        ~Listening() {
            currentEvents = nullptr;
        }
        Listening(const Listening&) = delete;
        Listening& operator=(const Listening&) = delete;
    };
    const Listening listening(events_);
    std::string outcome = resultOrException(*this, call) + "\n" + events_;
    framework_.takeAllCalls();
    framework_.takeReports();
    for (const auto& [object, count] : framework_.references()) {
        outcome += "held: " + object + ", " + std::to_string(count) + "\n";
    }
    return outcome;
}

} // namespace klb::test
