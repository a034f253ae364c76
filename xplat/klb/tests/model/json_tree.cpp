#include "json_tree.h"

#include <cstddef>
#include <utility>

namespace klb::test {

namespace {

std::string quoted(const std::string& bytes) {
    const std::string hexDigits = "0123456789ABCDEF";
    std::string text = "\"";
    for (const char each : bytes) {
        const auto byte = static_cast<unsigned char>(each);
        if (each == '"' || each == '\\') {
            text += '\\';
            text += each;
        } else if (each == '\b') {
            text += "\\b";
        } else if (each == '\t') {
            text += "\\t";
        } else if (each == '\n') {
            text += "\\n";
        } else if (each == '\f') {
            text += "\\f";
        } else if (each == '\r') {
            text += "\\r";
        } else if (byte < 0x20) {
            text += "\\u00";
            text += hexDigits[byte / 16];
            text += hexDigits[byte % 16];
        } else {
            text += each;
        }
    }
    return text + '"';
}

std::string indentedText(const JsonValue& value, std::size_t level) {
    if (value.kind == JsonValue::Kind::Literal) {
        return value.text;
    }
    if (value.kind == JsonValue::Kind::String) {
        return quoted(value.text);
    }
    if (value.members.empty()) {
        return "{}";
    }
    std::string text;
    for (const JsonMember& member : value.members) {
        text += text.empty() ? "{\n" : ",\n";
        text += std::string(4 * (level + 1), ' ') + quoted(member.name) + ": " +
                indentedText(member.value, level + 1);
    }
    return text + "\n" + std::string(4 * level, ' ') + "}";
}

} // namespace

JsonValue JsonValue::object() {
    return {};
}

JsonValue JsonValue::string(std::string bytes) {
    JsonValue value;
    value.kind = Kind::String;
    value.text = std::move(bytes);
    return value;
}

JsonValue JsonValue::boolean(bool value) {
    return literal(value ? "true" : "false");
}

JsonValue JsonValue::literal(std::string json) {
    JsonValue value;
    value.kind = Kind::Literal;
    value.text = std::move(json);
    return value;
}

JsonValue* JsonValue::find(const std::string& name) {
    return const_cast<JsonValue*>(std::as_const(*this).find(name));
}

const JsonValue* JsonValue::find(const std::string& name) const {
    for (const JsonMember& member : members) {
        if (member.name == name) {
            return &member.value;
        }
    }
    return nullptr;
}

void JsonValue::add(const std::string& name, const JsonValue& value) {
    members.push_back({name, value});
}

bool placeAt(JsonValue& object, const std::string& path, const JsonValue& value) {
    if (path.empty() || path[0] != '/' || !object.isObject()) {
        return false;
    }
    const std::string rest = path.substr(1);
    const std::size_t slash = rest.find('/');
    if (slash == std::string::npos) {
        if (object.find(rest) != nullptr) {
            return false;
        }
        object.add(rest, value);
        return true;
    }
    const std::string first = rest.substr(0, slash);
    if (object.find(first) == nullptr) {
        object.add(first, JsonValue::object());
    }
    return placeAt(*object.find(first), rest.substr(slash), value);
}

std::string jsonText(const JsonValue& value) {
    return indentedText(value, 0);
}

} // namespace klb::test
