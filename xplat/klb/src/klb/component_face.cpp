// The operations of KLBMgr that the host's component framework and its plug-ins call. No exception
// leaves them.

#include "klb/library_state.h"
#include "klb/manager.h"
#include "registry/toggle_files.h"
#include "registry/toggles.h"
#include "reports/override_info.h"

#include <algorithm>
#include <exception>
#include <iterator>

namespace klb {

namespace {

// No operator: a framework's own headers may have one.
bool isSame(const OBXGuid& left, const OBXGuid& right) noexcept {
    return left.data1 == right.data1 && left.data2 == right.data2 && left.data3 == right.data3 &&
           std::equal(std::begin(left.data4), std::end(left.data4), std::begin(right.data4));
}

/// Calls the registry under the library lock. An exception goes to the host's message sink and
/// becomes the result `failure`. A manager that KLB_Term destroyed while the call waited is not
/// touched.
template <class Result, class Call>
Result guarded(const KLBMgr* manager, Publication& publication, Result failure,
               Call&& call) noexcept {
    try {
        const std::lock_guard guard(libraryState().lock);
        if (libraryState().manager != manager) {
            return failure;
        }
        try {
            return call();
        } catch (const std::exception& error) {
            publication.report(error.what());
        }
    } catch (...) {
        // The lock failed, or something other than a standard exception was thrown.
    }
    return failure;
}

constexpr OBXResult kNo = 0;
constexpr OBXResult kYes = 1;

} // namespace

OBXResult KLBMgr::QueryInterface(const OBXGuid& iid, void** out) {
    if (out == nullptr) {
        return kNullArgument;
    }
    if (isSame(iid, KLB_IID_IKLBManager) || isSame(iid, KLB_IID_IKLBManager1) ||
        isSame(iid, KLB_IID_IOBXUnknown)) {
        auto* face = static_cast<IKLBManager*>(this);
        *out = face;
        face->AddRef();
    } else if (isSame(iid, KLB_IID_IOBXSingleton)) {
        auto* face = static_cast<IOBXSingleton*>(this);
        *out = face;
        face->AddRef();
    }
    // An unknown interface is no failure: frameworks depend on it.
    return kSuccess;
}

std::uint32_t KLBMgr::AddRef() {
    return 1;
}

std::uint32_t KLBMgr::Release() {
    return 1;
}

OBXResult KLBMgr::RegisterToggleFile(std::uint32_t toggleFileType, const char* toggleFileToken,
                                     const char* toggleFile) {
    if (toggleFileToken == nullptr || toggleFile == nullptr) {
        return kNullArgument;
    }
    return guarded(this, publication_, kUnexpectedFailure, [&] {
        registerToggleFile(registry_, static_cast<KLB_ToggleFileType>(toggleFileType),
                           toggleFileToken, toggleFile);
        return kSuccess;
    });
}

OBXResult KLBMgr::RegisterToggle(const char* toggleKey, std::int32_t defaultValue,
                                 const char* toggleFileToken) {
    return registerToggleOfKind(toggleKey, defaultValue, toggleFileToken, false);
}

OBXResult KLBMgr::RegisterDynamicToggle(const char* toggleKey, std::int32_t defaultValue,
                                        const char* toggleFileToken) {
    return registerToggleOfKind(toggleKey, defaultValue, toggleFileToken, true);
}

OBXResult KLBMgr::registerToggleOfKind(const char* key, std::int32_t defaultValue,
                                       const char* token, bool isDynamic) {
    if (key == nullptr || token == nullptr) {
        return kNullArgument;
    }
    return guarded(this, publication_, kUnexpectedFailure, [&] {
        registerToggle(registry_, key, defaultValue != 0, token, isDynamic);
        return kSuccess;
    });
}

OBXResult KLBMgr::GetToggle(const char* toggleKey, std::uint32_t* value) {
    return getToggleOfKind(toggleKey, value, false);
}

OBXResult KLBMgr::GetDynamicToggle(const char* toggleKey, std::uint32_t* value) {
    return getToggleOfKind(toggleKey, value, true);
}

OBXResult KLBMgr::getToggleOfKind(const char* key, std::uint32_t* value, bool dynamic) {
    if (key == nullptr || value == nullptr) {
        return kNullArgument;
    }
    // Before the lock: a caller who waits while the manager is destroyed reads no old value.
    *value = 0;
    return guarded(this, publication_, kUnexpectedFailure, [&] {
        *value = getToggle(registry_, key, dynamic) ? 1 : 0;
        return kSuccess;
    });
}

OBXResult KLBMgr::SetDynamicToggle(const char* toggleKey, std::int32_t value) {
    if (toggleKey == nullptr) {
        return kNullArgument;
    }
    return guarded(this, publication_, kUnexpectedFailure, [&] {
        setDynamicToggle(registry_, toggleKey, value != 0);
        return kSuccess;
    });
}

OBXResult KLBMgr::IsToggleRegistered(const char* toggleKey) {
    return isToggleOfKindRegistered(toggleKey, false);
}

OBXResult KLBMgr::IsDynamicToggleRegistered(const char* toggleKey) {
    return isToggleOfKindRegistered(toggleKey, true);
}

OBXResult KLBMgr::isToggleOfKindRegistered(const char* key, bool dynamic) {
    if (key == nullptr) {
        return kNullArgument;
    }
    return guarded(this, publication_, kNo,
                   [&] { return lookupToggle(registry_, key, dynamic) ? kYes : kNo; });
}

OBXResult KLBMgr::IsToggleFileRegistered(const char* toggleFileToken) {
    return guarded(this, publication_, kNo, [&] {
        return isFeatureToggleFileRegistered(registry_, toggleFileToken) ? kYes : kNo;
    });
}

std::uint32_t KLBMgr::GetOverrideInfoString(char* buffer, std::uint32_t bufferSize) {
    return guarded(this, publication_, std::uint32_t{0}, [&] {
        return static_cast<std::uint32_t>(getOverrideInfoString(registry_, buffer, bufferSize));
    });
}

std::uint32_t KLBMgr::GetSingletonState() {
    return singletonState_;
}

OBXResult KLBMgr::InitializeSingleton() {
    singletonState_ = 2;
    return kSuccess;
}

OBXResult KLBMgr::FinalizeSingleton() {
    singletonState_ = 4;
    return kSuccess;
}

} // namespace klb
