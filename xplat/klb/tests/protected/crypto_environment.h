#ifndef KLB_TESTS_PROTECTED_CRYPTO_ENVIRONMENT_H
#define KLB_TESTS_PROTECTED_CRYPTO_ENVIRONMENT_H

#include "scoped_environment.h"

#include <cstdlib>
#include <string>
#include <utility>

namespace klb::test {

/// Gives a variable that libcrypto reads another value for its lifetime. On Windows libcrypto asks
/// the C runtime, which has a copy of the environment of its own.
class CryptoVariable {
public:
    CryptoVariable(std::string name, const std::string& value)
        : name_(std::move(name)), before_(current(name_)), scoped_(name_, value) {
        tellRuntime(value);
    }
    ~CryptoVariable() {
        tellRuntime(before_);
    }
    CryptoVariable(const CryptoVariable&) = delete;
    CryptoVariable& operator=(const CryptoVariable&) = delete;

    /// What the C runtime says; empty when the variable is not set.
    static std::string current(const std::string& name) {
        const char* value = std::getenv(name.c_str());
        return value ? value : "";
    }

private:
    void tellRuntime([[maybe_unused]] const std::string& value) const {
#if defined(_WIN32)
        _putenv((name_ + "=" + value).c_str());
#endif
    }

    std::string name_;
    std::string before_;
    ScopedEnvironment scoped_;
};

} // namespace klb::test

#endif
