#include "documents/toggle_document.h"

namespace klb {

namespace {

// Up to here comparing the names one by one is as fast as an index, and takes no memory.
constexpr rapidjson::SizeType kMaxMembersWithoutIndex = 16;

MemberIndex indexMembers(const JsonValue& object) {
    MemberIndex index;
    index.reserve(object.MemberCount());
    for (auto member = object.MemberBegin(); member != object.MemberEnd(); ++member) {
        // The first of several members with one name counts.
        index.insert(*member);
    }
    return index;
}

const MemberIndex& membersOf(ToggleDocument& document, const JsonValue& object) {
    const auto known = document.wideObjects.find(&object);
    if (known != document.wideObjects.end()) {
        return known->second;
    }
    return document.wideObjects.emplace(&object, indexMembers(object)).first->second;
}

} // namespace

const JsonValue* findMember(ToggleDocument& document, const JsonValue& object,
                            std::string_view name) {
    if (object.MemberCount() > kMaxMembersWithoutIndex) {
        const auto* member = membersOf(document, object).find(name);
        return member != nullptr ? &member->value : nullptr;
    }
    for (auto member = object.MemberBegin(); member != object.MemberEnd(); ++member) {
        if (nameOf(*member) == name) {
            return &member->value;
        }
    }
    return nullptr;
}

std::optional<bool> lookupDocumentValue(std::string_view key, ToggleDocument& document,
                                        const JsonValue& tree) {
    const JsonValue* entry = &tree;
    do {
        if (!key.starts_with('/') || !entry->IsObject()) {
            return std::nullopt;
        }
        key.remove_prefix(1);
        const std::string_view name = key.substr(0, key.find('/'));
        entry = findMember(document, *entry, name);
        if (entry == nullptr) {
            return std::nullopt;
        }
        key.remove_prefix(name.size());
    } while (!key.empty());
    // An object has no value of its own, whatever its members: "KLB_DefaultValue" means something
    // in the default toggle report only.
    return entry->IsBool() ? std::optional<bool>(entry->GetBool()) : std::nullopt;
}

} // namespace klb
