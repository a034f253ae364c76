#include "scoped_environment.h"

#include <cstdlib>

#if defined(_WIN32)
#include <windows.h>
#endif

namespace klb::test {

namespace {

void assign(const std::string& name, const std::optional<std::string>& value) {
#if defined(_WIN32)
    SetEnvironmentVariableA(name.c_str(), value ? value->c_str() : nullptr);
#else
    if (value) {
        setenv(name.c_str(), value->c_str(), 1);
    } else {
        unsetenv(name.c_str());
    }
#endif
}

std::optional<std::string> current(const std::string& name) {
#if defined(_WIN32)
    std::string value(GetEnvironmentVariableA(name.c_str(), nullptr, 0), '\0');
    if (value.empty()) {
        return std::nullopt;
    }
    value.resize(
        GetEnvironmentVariableA(name.c_str(), value.data(), static_cast<DWORD>(value.size())));
    return value;
#else
    const char* value = std::getenv(name.c_str());
    return value ? std::optional<std::string>(value) : std::nullopt;
#endif
}

} // namespace

ScopedEnvironment::ScopedEnvironment(std::string name, std::optional<std::string> value)
    : name_(std::move(name)), before_(current(name_)) {
    assign(name_, value);
}

ScopedEnvironment::~ScopedEnvironment() {
    assign(name_, before_);
}

} // namespace klb::test
