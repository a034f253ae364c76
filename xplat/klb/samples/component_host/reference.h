#ifndef KLB_SAMPLES_COMPONENT_HOST_REFERENCE_H
#define KLB_SAMPLES_COMPONENT_HOST_REFERENCE_H

#include <obx.h>

/// Holds one reference to an object, or none, and gives it back in the end.
template <class Interface>
class Reference {
public:
    Reference() = default;
    ~Reference() {
        if (object_) {
            object_->Release();
        }
    }
    Reference(const Reference&) = delete;
    Reference& operator=(const Reference&) = delete;

    /// Asks an object for the interface. Null is an answer too, even to a call that succeeds.
    bool query(IOBXUnknown& object, const OBXGuid& iid) {
        return take([&](void** out) { return object.QueryInterface(iid, out); });
    }

    /// Takes the reference that a call gives through its void**.
    template <class Call>
    bool take(Call&& call) {
        void* out = nullptr;
        if (!object_ && call(&out) >= 0) {
            object_ = static_cast<Interface*>(out);
        }
        return object_ != nullptr;
    }

    Interface* operator->() const {
        return object_;
    }

private:
    Interface* object_ = nullptr;
};

#endif
