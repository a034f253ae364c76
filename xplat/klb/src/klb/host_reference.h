#ifndef KLB_KLB_HOST_REFERENCE_H
#define KLB_KLB_HOST_REFERENCE_H

namespace klb {

/// Owns one reference to an interface of the host, or none.
template <class Interface>
class HostReference {
public:
    HostReference() = default;
    explicit HostReference(Interface* owned) noexcept : interface_(owned) {}
    HostReference(const HostReference&) = delete;
    HostReference& operator=(const HostReference&) = delete;
    ~HostReference() {
        if (interface_ != nullptr) {
            interface_->Release();
        }
    }

    explicit operator bool() const noexcept {
        return interface_ != nullptr;
    }

private:
    Interface* interface_ = nullptr;
};

} // namespace klb

#endif
