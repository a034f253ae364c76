#include "trust/override_info.h"

#include "core/report_buffer.h"

#include <string>
#include <string_view>

namespace klb {

namespace {

void addLine(std::string& text, std::string_view subject, std::string_view content) {
    text += subject;
    text += " : ";
    text += content;
    text += '\n';
}

void addFile(std::string& text, const ToggleFileRecord& file) {
    // "UNKNONN": hosts know the text like this.
    addLine(text, file.token, file.path.empty() ? "UNKNONN" : std::string_view(file.path));
    for (const auto& [key, toggle] : file.differingToggles) {
        if (toggle->differs) {
            addLine(text, key, toggle->currentValue ? "true" : "false");
        }
    }
}

} // namespace

std::uint64_t getOverrideInfoString(const Registry& registry, char* buffer,
                                    std::uint64_t bufferSize) {
    std::string text;
    if (!registry.deviceId.empty()) {
        addLine(text, "DeviceID", registry.deviceId);
    }
    for (const auto& [token, file] : registry.filesByToken) {
        if (!file->differingToggles.empty()) {
            addFile(text, *file);
        }
    }
    return text.empty() ? 0 : copyReport(text, buffer, bufferSize);
}

} // namespace klb
