#include "registry/toggle_files.h"

#include "core/message_reporter.h"
#include "registry/settings.h"

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

namespace klb {

namespace {

LoadResult load(const Registry& registry, KLB_ToggleFileType type, const std::string& path) {
    const bool isPlain =
        type == KLB_ToggleFileType_Supported || type == KLB_ToggleFileType_Override;
    return loadToggleDocument(path, !isPlain, registry.systemId, registry.signers,
                              *registry.platform);
}

/// Why a file cannot be used; none when it can.
std::optional<std::domain_error> loadError(const LoadResult& result, const std::string& path) {
    if (result.error.empty()) {
        return std::nullopt;
    }
    std::string text = "registerToggleFile: " + result.error + " in file: " + path;
    if (result.errorOffset != 0) {
        text += " at offset: " + std::to_string(result.errorOffset);
    }
    return std::domain_error(text);
}

} // namespace

ToggleFileRecord& registerToggleFileToken(Registry& registry, KLB_ToggleFileType type,
                                          const char* tokenName) {
    if (tokenName == nullptr) {
        throw std::invalid_argument("registerToggleFileToken: toggleFileTokenName cannot be NULL.");
    }
    if (ToggleFileRecord* known = findToggleFile(registry, tokenName)) {
        return *known;
    }
    auto created = std::make_unique<ToggleFileRecord>();
    ToggleFileRecord& record = *created;
    record.type = type;
    record.token = tokenName;
    makeRoom(registry.filesInOrder);
    registry.filesByToken.emplace(record.token, std::move(created));
    registry.filesInOrder.push_back(&record);
    return record;
}

ToggleFileRecord* findToggleFile(const Registry& registry, std::string_view token) {
    const auto known = registry.filesByToken.find(token);
    return known != registry.filesByToken.end() ? known->second.get() : nullptr;
}

bool isFeatureToggleFileRegistered(const Registry& registry, const char* token) {
    if (token == nullptr) {
        reportInvalidArgument("isFeatureToggleFileRegistered: toggleFileToken cannot be NULL.");
        return false;
    }
    return findToggleFile(registry, token) != nullptr;
}

void registerToggleFile(Registry& registry, KLB_ToggleFileType type, const char* token,
                        const char* file) {
    if (type == KLB_ToggleFileType_Invalid) {
        reportInvalidArgument("registerToggleFile: toggleFileType is an unknown toggle file type.");
        return;
    }
    if (token == nullptr) {
        reportInvalidArgument("registerToggleFile: toggleFileToken cannot be NULL.");
        return;
    }
    if (file == nullptr) {
        reportInvalidArgument("registerToggleFile: toggleFile cannot be NULL.");
        return;
    }
    if (*file == '\0') {
        reportInvalidArgument("registerToggleFile: toggleFile cannot be empty.");
        return;
    }

    std::string path = resolveToggleFilePath(file, *registry.platform);
    ToggleFileRecord& record = registerToggleFileToken(registry, type, token);
    if (!record.path.empty()) {
        if (record.path != path) {
            const std::string text =
                "registerToggleFile: toggle file path location as already been set to '" +
                record.path + "'";
            reportDomainError(text.c_str());
        }
        return;
    }
    if (registry.filePaths.contains(path)) {
        // Hosts know this text with the token of this call, not with that of the file.
        const std::string text =
            "registerToggleFile: toggle file path location as already been registered to '" +
            record.token + "'";
        reportDomainError(text.c_str());
        return;
    }

    LoadResult loaded = load(registry, record.type, path);
    const std::optional<std::domain_error> error = loadError(loaded, path);
    std::string name = file;
    registry.filePaths.insert(path);

    // From here on nothing can fail: a call for which memory ran out can be repeated.
    static_cast<LoadResult&>(record) = std::move(loaded);
    record.file = std::move(name);
    record.path = std::move(path);
    if (error && !reportMessage(error->what())) {
        throw std::domain_error(*error);
    }
}

ToggleDocument* documentOf(const Registry& registry, ToggleFileRecord& record) {
    if (!record.path.empty() && !record.isFinal()) {
        static_cast<LoadResult&>(record) = load(registry, record.type, record.path);
    }
    return record.document.get();
}

} // namespace klb
