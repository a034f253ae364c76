#include "reports/default_toggle_report.h"

#include "reports/report_buffer.h"
#include "reports/toggle_tree.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <new>
#include <string_view>
#include <vector>

#include <rapidjson/prettywriter.h>

namespace klb {

namespace {

/// Feeds a report into the document that is being built.
class Narrator {
public:
    explicit Narrator(JsonDocument& document) : document_(document) {}

    void beginObject() {
        document_.StartObject();
        memberCounts_.push_back(0);
        depth_ = std::max(depth_, memberCounts_.size());
    }
    void endObject() {
        document_.EndObject(memberCounts_.back());
        memberCounts_.pop_back();
    }
    void name(std::string_view name) {
        document_.Key(name.data(), sizeOf(name), true);
        ++memberCounts_.back();
    }
    /// A name that outlives the document, which may refer to it.
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

    /// How deep the objects are nested; 1 for one without another inside.
    std::size_t depth() const noexcept {
        return depth_;
    }

private:
    /// RapidJSON counts a text and its NUL in 32 bits, so it has no memory for a longer one.
    static rapidjson::SizeType sizeOf(std::string_view text) {
        if (text.size() >= std::numeric_limits<rapidjson::SizeType>::max()) {
            throw std::bad_alloc();
        }
        return static_cast<rapidjson::SizeType>(text.size());
    }

    JsonDocument& document_;
    /// How many members each open object has so far.
    std::vector<rapidjson::SizeType> memberCounts_;
    std::size_t depth_ = 0;
};

bool isReported(const ToggleFileRecord& file) noexcept {
    return file.type != KLB_ToggleFileType_Invalid && file.type != KLB_ToggleFileType_Override;
}

/// The tokens are the registry's keys: none comes twice.
void tellToggleFiles(Narrator& report, const std::vector<ToggleFileRecord*>& files) {
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

void beginNode(Narrator& report, const ToggleTree::Node& node) {
    report.beginObject();
    if (node.toggle == nullptr) {
        return;
    }
    report.constantName(kDefaultValueProperty);
    report.value(node.toggle->defaultValue);
    report.constantName(kIsDynamicProperty);
    report.value(node.toggle->isDynamic);
    report.constantName(kToggleFileTokenProperty);
    report.value(std::string_view(node.toggle->file->token));
    if (node.toggle->comment != nullptr) {
        report.constantName(kToggleCommentProperty);
        report.value(std::string_view(node.toggle->comment));
    }
}

/// A walk without recursion: a key may have any number of segments.
void tellToggles(Narrator& report, const ToggleOrder& toggles) {
    ToggleTree tree(toggles.size());
    for (const ToggleRecord* toggle : toggles.inKeyOrder()) {
        tree.addToggleReportEntry(*toggle);
    }
    beginNode(report, tree.root());
    const ToggleTree::Node* next = tree.firstChild(tree.root());
    /// What comes after each open object below the root.
    std::vector<const ToggleTree::Node*> followers;
    while (true) {
        if (next != nullptr) {
            report.name(next->name);
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

/// Writes an object of objects, texts and booleans, indented, without recursion. It allocates
/// before it writes, and nothing later, if objects are nested no deeper than `depth`.
void writeIndented(const JsonValue& object, std::size_t depth, ReportBuffer& report) {
    struct Level {
        JsonValue::ConstMemberIterator next;
        JsonValue::ConstMemberIterator end;
    };
    rapidjson::PrettyWriter<ReportBuffer, rapidjson::UTF8<>, rapidjson::UTF8<>, JsonAllocator>
        writer(report, nullptr, depth);
    writer.SetIndent(' ', 4);
    std::vector<Level> levels;
    levels.reserve(depth);
    const auto open = [&](const JsonValue& opened) {
        writer.StartObject();
        levels.push_back({opened.MemberBegin(), opened.MemberEnd()});
    };
    open(object);
    while (!levels.empty()) {
        Level& level = levels.back();
        if (level.next == level.end) {
            writer.EndObject();
            levels.pop_back();
            continue;
        }
        const auto& [name, value] = *level.next++;
        writer.Key(name.GetString(), name.GetStringLength());
        if (value.IsObject()) {
            open(value);
        } else if (value.IsBool()) {
            writer.Bool(value.GetBool());
        } else {
            writer.String(value.GetString(), value.GetStringLength());
        }
    }
}

} // namespace

std::uint64_t buildDefaultToggleJson(const Registry& registry, JsonDocument& document,
                                     const char* moduleName, const char* moduleVersion,
                                     char* buffer, std::uint64_t bufferSize) {
    document.SetObject();
    std::size_t depth = 0;
    const auto events = [&](JsonDocument& built) {
        Narrator report(built);
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
            tellToggles(report, registry.toggles);
        }
        report.endObject();
        depth = report.depth();
        return true;
    };
    document.Populate(events);

    ReportBuffer report(buffer, bufferSize);
    writeIndented(document, depth, report);
    return report.finish();
}

} // namespace klb
