#include "documents/document_lookup.h"

namespace klb {

namespace {

// Up to here comparing names one by one is as fast as an index, and takes no memory.
constexpr rapidjson::SizeType kMaxMembersWithoutIndex = 16;

std::string_view textOf(const JsonValue& string) {
    return {string.GetString(), string.GetStringLength()};
}

NameIndex<const JsonValue> indexMembers(const JsonValue& object) {
    NameIndex<const JsonValue> index;
    index.reserve(object.MemberCount());
    for (auto member = object.MemberBegin(); member != object.MemberEnd(); ++member) {
        // Of members with the same name the first one counts.
        index.try_emplace(textOf(member->name), &member->value);
    }
    return index;
}

const NameIndex<const JsonValue>& membersOf(ToggleDocument& document, const JsonValue& object) {
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
        const NameIndex<const JsonValue>& members = membersOf(document, object);
        const auto member = members.find(name);
        return member != members.end() ? member->second : nullptr;
    }
    for (auto member = object.MemberBegin(); member != object.MemberEnd(); ++member) {
        if (textOf(member->name) == name) {
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
