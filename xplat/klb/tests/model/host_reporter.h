#ifndef KLB_TESTS_MODEL_HOST_REPORTER_H
#define KLB_TESTS_MODEL_HOST_REPORTER_H

#include "klb.h"

#include <stdexcept>
#include <string>

namespace klb::test {

/// Tells a host what went wrong: by its callback, or by an exception when it has none.
struct HostReporter {
    void argumentError(const std::string& text) const {
        if (callback == nullptr) {
            throw std::invalid_argument(text);
        }
        callback(KLB_MessageType_Error, text.c_str());
    }
    void stateError(const std::string& text) const {
        if (callback == nullptr) {
            throw std::domain_error(text);
        }
        callback(KLB_MessageType_Error, text.c_str());
    }
    void warning(const std::string& text) const {
        if (callback != nullptr) {
            callback(KLB_MessageType_Warning, text.c_str());
        }
    }

    KLB_MessageProc callback = nullptr;
};

} // namespace klb::test

#endif
