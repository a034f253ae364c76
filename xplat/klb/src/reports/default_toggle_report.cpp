#include "reports/default_toggle_report.h"

#include "reports/json_text.h"
#include "reports/report_buffer.h"
#include "reports/toggle_tree.h"

#include <stdexcept>
#include <string_view>
#include <vector>

namespace klb {

namespace {

/// Tells a report to a handler of JSON events.
template <class Handler>
class Narrator {
public:
    explicit Narrator(Handler& handler) : handler_(handler) {}

    void beginObject() {
        handler_.StartObject();
        memberCounts_.push_back(0);
    }
    void endObject() {
        handler_.EndObject(memberCounts_.back());
        memberCounts_.pop_back();
    }
    void name(std::string_view name) {
        handler_.Key(name.data(), sizeOf(name), true);
        ++memberCounts_.back();
    }
    /// A name that outlives the document, which may refer to it.
    void constantName(std::string_view name) {
        handler_.Key(name.data(), sizeOf(name), false);
        ++memberCounts_.back();
    }
    void value(bool value) {
        handler_.Bool(value);
    }
    void value(std::string_view text) {
        handler_.String(text.data(), sizeOf(text), true);
    }

private:
    /// RapidJSON counts in 32 bits.
    static rapidjson::SizeType sizeOf(std::string_view text) {
        if (text.size() > kMaxJsonTextSize) {
            throw std::length_error("The JSON text would be too long.");
        }
        return static_cast<rapidjson::SizeType>(text.size());
    }

    Handler& handler_;
    /// How many members each open object has so far.
    std::vector<rapidjson::SizeType> memberCounts_;
};

bool isReported(const ToggleFileRecord& file) noexcept {
    return file.type != KLB_ToggleFileType_Invalid && file.type != KLB_ToggleFileType_Override;
}

/// The tokens are the registry's keys: none comes twice.
template <class Handler>
void tellToggleFiles(Narrator<Handler>& report, const std::vector<ToggleFileRecord*>& files) {
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

template <class Handler>
void beginNode(Narrator<Handler>& report, const ToggleTree::Node& node) {
    report.beginObject();
    if (node.properties) {
        node.properties->visit([&](std::string_view name, auto value) {
            report.constantName(name);
            report.value(value);
        });
    }
}

/// A walk without recursion: a key may have any number of segments.
template <class Handler>
void tellToggles(Narrator<Handler>& report, const ToggleTree& tree) {
    beginNode(report, tree.root());
    const ToggleTree::Node* next = tree.firstChild(tree.root());
    /// What follows on each open object below the root.
    std::vector<const ToggleTree::Node*> followers;
    while (true) {
        if (next != nullptr) {
            report.name(tree.nameOf(*next));
            beginNode(report, *next);
            followers.push_back(tree.nextSibling(*next));
            next = tree.firstChild(*next);
            continue;
        }
        report.endObject();
        if (followers.empty()) {
            return;
        }
        next = followers.back();
        followers.pop_back();
    }
}

ToggleTree treeOf(const ToggleOrder& toggles) {
    ToggleTree tree(toggles.size());
    for (const ToggleRecord* toggle : toggles.inKeyOrder()) {
        tree.addToggleReportEntry(*toggle);
    }
    return tree;
}

/// What a report tells.
struct Report {
    const Registry& registry;
    ToggleTree toggles;
    const char* moduleName;
    const char* moduleVersion;

    template <class Handler>
    void tellTo(Handler& handler) const {
        Narrator<Handler> report(handler);
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
            tellToggleFiles(report, registry.filesInOrder);
        }
        if (!registry.toggles.empty()) {
            report.constantName("KLB_Toggles");
            tellToggles(report, toggles);
        }
        report.endObject();
    }
};

/// The depth of a report's document. Refuses a report whose text would be too long, before memory
/// is taken for the document. The exact size is counted only when it may be beyond the limit.
std::size_t checkedDepth(const Report& report) {
    JsonSizeBound bound;
    report.tellTo(bound);
    if (bound.bytes() > kMaxJsonTextSize) {
        LimitedStream stream;
        IndentingWriter<LimitedStream> writer(stream);
        report.tellTo(writer);
    }
    return bound.depth();
}

/// Fills the document and gives its depth.
std::size_t populate(JsonDocument& document, const Report& report) {
    const std::size_t depth = checkedDepth(report);
    const auto events = [&](JsonDocument& handler) {
        report.tellTo(handler);
        return true;
    };
    document.Populate(events);
    return depth;
}

} // namespace

std::uint64_t buildDefaultToggleJson(const Registry& registry, JsonDocument& document,
                                     const char* moduleName, const char* moduleVersion,
                                     char* buffer, std::uint64_t bufferSize) {
    document.SetObject();
    const std::size_t depth =
        populate(document, {registry, treeOf(registry.toggles), moduleName, moduleVersion});
    ReportBuffer report(buffer, bufferSize);
    writeIndented(document, depth, report);
    return report.finish();
}

} // namespace klb
