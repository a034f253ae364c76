#include "registry/toggle_files.h"

#include "core/message_reporter.h"
#include "core/rollback.h"
#include "documents/document_loader.h"
#include "registry/file_places.h"

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

namespace klb {

namespace {

/// Makes the record the owner of the path.
void attachFile(Registry& registry, ToggleFileRecord& record, std::string path, const char* file) {
    record.file = file;
    record.path = std::move(path);
    if (registry.certificate) {
        record.certificate = registry.certificate.get();
    }
    record.skipSignatureCheck = registry.noCertificate;
    registry.filesByPath.emplace(record.path, &record);
}

/// Takes back what attachFile() did, and what a load recorded that the host was not told.
void detachFile(Registry& registry, ToggleFileRecord& record) noexcept {
    registry.filesByPath.erase(record.path);
    record.path.clear();
    record.file.clear();
    record.error.clear();
    record.errorOffset = 0;
}

/// What keeps the record's file from being used; empty when nothing does.
std::string loadErrorText(const ToggleFileRecord& record) {
    if (record.error.empty()) {
        return {};
    }
    std::string text = "registerToggleFile: " + record.error + " in file: " + record.path;
    if (record.errorOffset != 0) {
        text += " at offset: " + std::to_string(record.errorOffset);
    }
    return text;
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
    registry.filesInOrder.push_back(&record);
    Rollback forget([&registry]() noexcept { registry.filesInOrder.pop_back(); });
    registry.filesByToken.emplace(record.token, std::move(created));
    forget.commit();
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
    if (registry.filesByPath.contains(path)) {
        // Hosts know this text with the token of this call, not with the owner's.
        const std::string text =
            "registerToggleFile: toggle file path location as already been registered to '" +
            record.token + "'";
        reportDomainError(text.c_str());
        return;
    }

    // When memory runs out, the call can be made again as if it were the first.
    Rollback detach([&]() noexcept { detachFile(registry, record); });
    attachFile(registry, record, std::move(path), file);
    loadToggleDocument(record, registry.systemId, *registry.platform);
    const std::string error = loadErrorText(record);
    if (error.empty()) {
        detach.commit();
        return;
    }
    // Made while the call can still be taken back: later ones are silent about this error.
    const std::domain_error exception(error);
    detach.commit();
    if (!reportMessage(error.c_str())) {
        throw exception;
    }
}

} // namespace klb
