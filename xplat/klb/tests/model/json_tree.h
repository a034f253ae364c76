#ifndef KLB_TESTS_MODEL_JSON_TREE_H
#define KLB_TESTS_MODEL_JSON_TREE_H

#include <string>
#include <vector>

namespace klb::test {

struct JsonMember;

/// A JSON value of the kinds that the model needs.
struct JsonValue {
    /// Anything but an object and a string is a literal.
    enum class Kind { Object, String, Literal };

    static JsonValue object();
    static JsonValue string(std::string bytes);
    static JsonValue boolean(bool value);
    /// A value by its JSON text, such as 12 or [].
    static JsonValue literal(std::string json);

    bool isObject() const {
        return kind == Kind::Object;
    }
    /// The first member of this name, or null.
    JsonValue* find(const std::string& name);
    const JsonValue* find(const std::string& name) const;
    void add(const std::string& name, const JsonValue& value);

    Kind kind = Kind::Object;
    std::string text;
    std::vector<JsonMember> members;
};

struct JsonMember {
    std::string name;
    JsonValue value;
};

/// Puts a value at a path such as /a/b below an object and makes the objects on the way. False, and
/// nothing is placed, when the place is taken or the path leads through a value that is no object
/// or does not begin with a slash.
bool placeAt(JsonValue& object, const std::string& path, const JsonValue& value);

/// The value as JSON text, one member a line, indented by four spaces a level.
std::string jsonText(const JsonValue& value);

} // namespace klb::test

#endif
