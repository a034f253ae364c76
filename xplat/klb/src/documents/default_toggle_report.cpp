#include "documents/default_toggle_report.h"

#include "core/properties.h"
#include "core/report_buffer.h"
#include "documents/json_text.h"
#include "documents/toggle_tree.h"

#include <stdexcept>
#include <string_view>
#include <vector>

namespace klb {

namespace {

/// Builds a document from its events. Texts are copied into its pool.
class DocumentWriter {
public:
    explicit DocumentWriter(JsonDocument& document) : document_(document) {}

    void beginObject() {
        document_.StartObject();
        memberCounts_.push_back(0);
    }
    void endObject() {
        document_.EndObject(memberCounts_.back());
        memberCounts_.pop_back();
    }
    void name(std::string_view name) {
        document_.Key(name.data(), sizeOf(name), true);
        ++memberCounts_.back();
    }
    /// A name that outlives the document, which refers to it.
    void constantName(std::string_view name) {
        document_.Key(name.data(), sizeOf(name), false);
        ++memberCounts_.back();
    }
    void value(bool value) {
        document_.Bool(value);
    }
    void value(std::string_view text) {
        document_.String(text.data(), sizeOf(text), true);
    }

private:
    static rapidjson::SizeType sizeOf(std::string_view text) {
        if (text.size() > kMaxJsonTextSize) {
            throw std::length_error("The JSON text would be too long.");
        }
        return static_cast<rapidjson::SizeType>(text.size());
    }

    JsonDocument& document_;
    /// How many members each open object has so far.
    std::vector<rapidjson::SizeType> memberCounts_;
};

bool isReported(const ToggleFileRecord& file) noexcept {
    return file.type != KLB_ToggleFileType_Invalid && file.type != KLB_ToggleFileType_Override;
}

/// The tokens are the registry's keys: none comes twice.
void writeToggleFiles(DocumentWriter& report, const std::vector<ToggleFileRecord*>& files) {
    report.beginObject();
    for (const ToggleFileRecord* file : files) {
        if (!isReported(*file)) {
            continue;
        }
        report.name(file->token);
        report.beginObject();
        report.constantName("KLB_ToggleFileType");
        report.value(file->type == KLB_ToggleFileType_Unsupported
                         ? std::string_view("KLB_UnsupportedFeatures")
                         : std::string_view("KLB_SupportedFeatures"));
        report.constantName("KLB_ToggleFile");
        report.value(std::string_view(file->file));
        report.endObject();
    }
    report.endObject();
}

void beginToggle(DocumentWriter& report, const ToggleTree::Node& node) {
    report.beginObject();
    if (node.toggle != nullptr) {
        visitProperties(*node.toggle, [&](std::string_view name, auto value) {
            report.constantName(name);
            report.value(value);
        });
    }
}

/// A walk without recursion: a key may have any number of segments.
void writeToggles(DocumentWriter& report, const ToggleTree& tree) {
    const ToggleTree::Node* node = &tree.root();
    const ToggleTree::Node* next = node->firstChild;
    beginToggle(report, *node);
    while (true) {
        if (next != nullptr) {
            report.name(next->name);
            beginToggle(report, *next);
            node = next;
            next = node->firstChild;
            continue;
        }
        report.endObject();
        if (node->parent == nullptr) {
            return;
        }
        next = node->nextSibling;
        node = node->parent;
    }
}

ToggleTree treeOf(const Registry& registry) {
    ToggleTree tree;
    for (const auto& [key, toggle] : registry.togglesByKey) {
        tree.addToggleReportEntry(*toggle);
    }
    return tree;
}

void writeReport(DocumentWriter& report, const Registry& registry, const char* moduleName,
                 const char* moduleVersion) {
    report.beginObject();
    if (moduleName != nullptr) {
        report.constantName("KLB_ModuleName");
        report.value(std::string_view(moduleName));
    }
    if (moduleVersion != nullptr) {
        report.constantName("KLB_ModuleVersion");
        report.value(std::string_view(moduleVersion));
    }
    if (!registry.filesInOrder.empty()) {
        report.constantName("KLB_ToggleFiles");
        writeToggleFiles(report, registry.filesInOrder);
    }
    if (!registry.togglesByKey.empty()) {
        report.constantName("KLB_Toggles");
        writeToggles(report, treeOf(registry));
    }
    report.endObject();
}

} // namespace

std::uint64_t buildDefaultToggleJson(const Registry& registry, JsonDocument& report,
                                     const char* moduleName, const char* moduleVersion,
                                     char* buffer, std::uint64_t bufferSize) {
    report.SetObject();
    const auto source = [&](JsonDocument& document) {
        DocumentWriter writer(document);
        writeReport(writer, registry, moduleName, moduleVersion);
        return true;
    };
    report.Populate(source);
    JsonText text;
    writeIndented(report, text);
    return copyReport({text.GetString(), text.GetSize()}, buffer, bufferSize);
}

} // namespace klb
