#ifndef KLB_TESTS_SEQUENCE_CALL_H
#define KLB_TESTS_SEQUENCE_CALL_H

#include "contents.h"
#include "fake_framework.h"
#include "klb.h"
#include "side.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace klb::test {

using NullableText = std::optional<std::string>;

/// One thing that a host does, or that happens to its computer.
struct Call {
    /// As it is printed.
    std::string text;
    /// Makes the call and gives its result as text. Empty for what happens to the computer.
    std::function<std::string(Side&)> make;
    /// What happens to the computer. Empty for a call.
    std::function<void(Computer&)> happen = nullptr;
};

/// How large a report's buffer is, and where it is not.
enum class BufferSize { Null, NullWithSize, Nothing, One, Few, OneTooFew, Fitting, Larger, Huge };

// The exports. File names and directories are names as Computer has them.
Call init(const NullableText& systemId, bool enableOverride);
Call term();
Call isInitialized();
Call initMessageProc(Callback callback);
Call setOverridePath(const NullableText& directory);
Call setCertificateData(const HostCertificate& certificate);
Call initObx(bool withHost);
Call isObxInitialized();
Call registerToggleFile(int type, const NullableText& token, const NullableText& file);
Call isToggleFileRegistered(const NullableText& token);
Call registerToggle(const NullableText& key, bool defaultValue, const NullableText& token);
Call registerDynamicToggle(const NullableText& key, bool defaultValue, const NullableText& token);
Call isToggleRegistered(const NullableText& key);
Call isDynamicToggleRegistered(const NullableText& key);
Call getToggle(const NullableText& key);
Call getDynamicToggle(const NullableText& key);
Call setDynamicToggle(const NullableText& key, bool value);
Call addToggleComment(const NullableText& key, const NullableText& comment);
Call getOverrideInfoString(BufferSize size);
Call getDefaultToggleJson(const NullableText& moduleName, const NullableText& moduleVersion,
                          BufferSize size);

/// The operations of the manager that is found in the framework; nothing happens when there is
/// none.
namespace manager {

/// What the manager can be asked for.
enum class Face { Manager, Manager1, Unknown, Singleton, NoSuchFace };

Call queryInterface(Face face, bool withOutput);
Call addRef();
Call release();
Call registerToggleFile(uint32_t type, const NullableText& token, const NullableText& file);
Call registerToggle(const NullableText& key, int32_t defaultValue, const NullableText& token);
Call getToggle(const NullableText& key, bool withValue);
Call isToggleRegistered(const NullableText& key);
Call isToggleFileRegistered(const NullableText& token);
Call getOverrideInfoString(BufferSize size);
Call registerDynamicToggle(const NullableText& key, int32_t defaultValue,
                           const NullableText& token);
Call getDynamicToggle(const NullableText& key, bool withValue);
Call setDynamicToggle(const NullableText& key, int32_t value);
Call isDynamicToggleRegistered(const NullableText& key);
Call getSingletonState();
Call initializeSingleton();
Call finalizeSingleton();

} // namespace manager

/// From now on the framework answers calls that begin so in this way; the answer as it is printed.
Call frameworkAnswers(const std::string& call, const std::string& printed, const Answer& answer);
/// From now on the framework does all its work again.
Call frameworkAnswersEverything();

// What happens to the computer.
Call write(const std::string& name, const Content& content);
Call remove(const std::string& name);
Call setProgramData(const NullableText& directory);

} // namespace klb::test

#endif
