#ifndef KLB_TESTS_SUPPORT_SCOPED_ENVIRONMENT_H
#define KLB_TESTS_SUPPORT_SCOPED_ENVIRONMENT_H

#include <optional>
#include <string>

namespace klb::test {

/// Gives an environment variable of this process another value, or none, for its lifetime.
class ScopedEnvironment {
public:
    ScopedEnvironment(std::string name, std::optional<std::string> value);
    ~ScopedEnvironment();
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

private:
    std::string name_;
    std::optional<std::string> before_;
};

} // namespace klb::test

#endif
