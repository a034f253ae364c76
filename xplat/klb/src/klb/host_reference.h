#ifndef KLB_KLB_HOST_REFERENCE_H
#define KLB_KLB_HOST_REFERENCE_H

#include <utility>

namespace klb {

/// Owns one reference to an interface of the host, or none.
template <class Interface>
class HostReference {
public:
    HostReference() = default;
    explicit HostReference(Interface* owned) noexcept : interface_(owned) {}
    HostReference(HostReference&& other) noexcept
        : interface_(std::exchange(other.interface_, nullptr)) {}
    HostReference& operator=(HostReference&& other) noexcept {
        HostReference(std::move(other)).swap(*this);
        return *this;
    }
    ~HostReference() {
        if (interface_ != nullptr) {
            interface_->Release();
        }
    }

    void swap(HostReference& other) noexcept {
        std::swap(interface_, other.interface_);
    }
    void reset() {
        *this = HostReference();
    }
    Interface* get() const noexcept {
        return interface_;
    }
    Interface* operator->() const noexcept {
        return interface_;
    }
    explicit operator bool() const noexcept {
        return interface_ != nullptr;
    }

private:
    Interface* interface_ = nullptr;
};

} // namespace klb

#endif
