#include "documents/document_lookup.h"

namespace klb {

namespace {

// Up to here comparing names one by one is as fast as an index, and takes no memory.
constexpr rapidjson::SizeType kMaxMembersWithoutIndex = 16;

MemberIndex indexMembers(const JsonValue& object) {
    MemberIndex index;
    index.reserve(object.MemberCount());
    for (auto member = object.MemberBegin(); member != object.MemberEnd(); ++member) {
        // Of members with the same name the first one counts.
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

bool lookupDocumentValue(std::string_view key, bool valueInHand, bool& found,
                         ToggleDocument& document, const JsonValue& tree) {
    const JsonValue* object = &tree;
    while (key.starts_with('/') && object->IsObject()) {
        key.remove_prefix(1);
        const std::size_t slash = key.find('/');
        const JsonValue* entry = findMember(document, *object, key.substr(0, slash));
        if (entry == nullptr) {
            return valueInHand;
        }
        if (slash != std::string_view::npos) {
            object = entry;
            key.remove_prefix(slash);
            continue;
        }
        if (entry->IsBool()) {
            found = true;
            return entry->GetBool();
        }
        // An object has no value of its own, whatever its members say: "KLB_DefaultValue" has its
        // meaning in a toggle's properties, not here.
        return entry->IsObject() && valueInHand;
    }
    return valueInHand;
}

} // namespace klb
