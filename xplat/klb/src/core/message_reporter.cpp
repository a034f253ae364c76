#include "core/message_reporter.h"

#include <atomic>
#include <stdexcept>

namespace klb {

namespace {

constinit std::atomic<KLB_MessageProc> messageCallback{nullptr};

bool send(KLB_MessageType type, const char* text) {
    const KLB_MessageProc callback = messageCallback.load(std::memory_order_acquire);
    if (callback == nullptr) {
        return false;
    }
    callback(type, text);
    return true;
}

} // namespace

void setMessageCallback(KLB_MessageProc callback) noexcept {
    messageCallback.store(callback, std::memory_order_release);
}

bool hasMessageCallback() noexcept {
    return messageCallback.load(std::memory_order_acquire) != nullptr;
}

bool reportMessage(const std::string& text) {
    return send(KLB_MessageType_Error, text.c_str());
}

void reportWarning(const std::string& text) {
    send(KLB_MessageType_Warning, text.c_str());
}

void reportInvalidArgument(const char* text) {
    if (!send(KLB_MessageType_Error, text)) {
        throw std::invalid_argument(text);
    }
}

void reportDomainError(const std::string& text) {
    if (!reportMessage(text)) {
        throw std::domain_error(text);
    }
}

} // namespace klb
