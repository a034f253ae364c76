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

bool reportMessage(const char* text) {
    return send(KLB_MessageType_Error, text);
}

void reportWarning(const char* text) {
    send(KLB_MessageType_Warning, text);
}

void reportInvalidArgument(const char* text) {
    if (!reportMessage(text)) {
        throw std::invalid_argument(text);
    }
}

void reportDomainError(const char* text) {
    if (!reportMessage(text)) {
        throw std::domain_error(text);
    }
}

} // namespace klb
