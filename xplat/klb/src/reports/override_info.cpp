#include "reports/override_info.h"

#include "reports/report_buffer.h"

#include <string_view>

namespace klb {

namespace {

void addLine(ReportBuffer& report, std::string_view subject, std::string_view content) {
    report.append(subject);
    report.append(" : ");
    report.append(content);
    report.append("\n");
}

void addToggle(ReportBuffer& report, const ToggleRecord& toggle) {
    report.append(toggle.key);
    report.append(toggle.currentValue ? " : true\n" : " : false\n");
}

void addFile(ReportBuffer& report, const ToggleFileRecord& file) {
    // "UNKNONN": hosts know the text like this.
    addLine(report, file.token, file.path.empty() ? "UNKNONN" : std::string_view(file.path));
    for (const ToggleRecord* toggle : file.differingToggles.inKeyOrder()) {
        if (toggle->differs) {
            addToggle(report, *toggle);
        }
    }
}

} // namespace

std::uint64_t getOverrideInfoString(const Registry& registry, char* buffer,
                                    std::uint64_t bufferSize) {
    ReportBuffer report(buffer, bufferSize);
    if (!registry.deviceId.empty()) {
        addLine(report, "DeviceID", registry.deviceId);
    }
    for (const auto& [token, file] : registry.filesByToken) {
        if (!file->differingToggles.empty()) {
            addFile(report, *file);
        }
    }
    return report.size() == 0 ? 0 : report.finish();
}

} // namespace klb
