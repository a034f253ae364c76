#ifndef KLB_TESTS_COMPONENT_PUBLICATION_H
#define KLB_TESTS_COMPONENT_PUBLICATION_H

#include "IKLBManager.h"
#include "fake_framework.h"
#include "klb.h"
#include "library_session.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <exception>
#include <stdexcept>

namespace klb::test {

/// Codes as the component face and the framework give them.
inline constexpr uint32_t kNullArgument = 0x80000003;
inline constexpr uint32_t kNullFromHost = 0x80000005;
inline constexpr uint32_t kNotRegistered = 0x8000000D;
inline constexpr uint32_t kUnexpected = 0x8000FFFF;

/// A result as the code that it is.
inline uint32_t codeOf(OBXResult result) {
    return static_cast<uint32_t>(result);
}

/// The call throws this code as a long, sign-extended where a long has more than 32 bits.
template <class Call>
void expectThrowsCode(uint32_t code, Call&& call) {
    try {
        call();
        ADD_FAILURE() << "nothing was thrown";
    } catch (long thrown) {
        EXPECT_EQ(thrown, static_cast<long>(static_cast<int32_t>(code)));
        EXPECT_LT(thrown, 0);
    } catch (const std::exception& other) {
        ADD_FAILURE() << "thrown was: " << other.what();
    } catch (...) {
        ADD_FAILURE() << "something else than a long was thrown";
    }
}

/// The call throws the host's own exception.
template <class Call>
void expectThrowsHostError(Call&& call) {
    EXPECT_THROW(call(), HostError);
}

/// One of the manager's interfaces, or null when it has none of that identifier. Unlike a real
/// framework's, the manager answers an unknown identifier with success.
template <class Interface>
Interface* queryFor(IOBXUnknown* object, const OBXGuid& iid) {
    void* out = nullptr;
    EXPECT_EQ(object->QueryInterface(iid, &out), 0);
    return static_cast<Interface*>(out);
}

/// The library's manager as a plug-in sees it, in a framework that keeps account; withdrawn and
/// destroyed in the end.
struct Publication {
    Publication() {
        publish();
    }
    /// In a framework without a message sink.
    struct WithoutSink {};
    explicit Publication(WithoutSink) {
        framework.answer("host.QueryInterface(IOBXMessageSink)", nullInterface());
        publish();
    }

    FakeFramework framework;
    LibrarySession library;
    IKLBManager* manager = nullptr;
    IOBXSingleton* singleton = nullptr;

private:
    void publish() {
        KLB_InitOBX(framework.host());
        IOBXUnknown* const found = framework.findSingleton(KLB_ManagerClassId);
        if (!found) {
            throw std::logic_error("the manager is not published");
        }
        manager = queryFor<IKLBManager>(found, KLB_IID_IKLBManager);
        singleton = queryFor<IOBXSingleton>(found, KLB_IID_IOBXSingleton);
        if (!manager || !singleton) {
            throw std::logic_error("the manager lacks a face");
        }
        framework.takeAllCalls();
    }
};

} // namespace klb::test

#endif
