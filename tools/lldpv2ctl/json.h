// A small JSON value with ordered object keys: the data lldpv2ctl reads is
// built into one of these, printed as is with --json and formatted as text
// otherwise.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace lldpv2ctl {

class Json {
public:
    enum class Type { Null, Bool, Number, String, Array, Object };

    Json() = default;
    Json(bool b) : type_(Type::Bool), number_(b ? 1 : 0) {}
    Json(int v) : type_(Type::Number), number_(v) {}
    Json(long v) : type_(Type::Number), number_(v) {}
    Json(long long v) : type_(Type::Number), number_(v) {}
    Json(unsigned v) : type_(Type::Number), number_(v) {}
    Json(unsigned long v) : type_(Type::Number), number_(static_cast<int64_t>(v)) {}
    Json(const char *s) : type_(Type::String), string_(s) {}
    Json(std::string s) : type_(Type::String), string_(std::move(s)) {}
    static Json Array() { Json j; j.type_ = Type::Array; return j; }
    static Json Object() { Json j; j.type_ = Type::Object; return j; }

    Type type() const { return type_; }
    bool IsNull() const { return type_ == Type::Null; }
    bool AsBool() const { return number_ != 0; }
    int64_t AsInt() const { return number_; }
    const std::string &AsString() const { return string_; }

    // Objects: sets (or replaces) a key, keeping the order of first setting.
    Json &Set(const std::string &key, Json value);
    // The value of a key; a null value when missing or not an object.
    const Json &operator[](const std::string &key) const;
    // A key's value for changing it (set to null first when missing).
    Json &Get(const std::string &key);
    bool Has(const std::string &key) const { return !(*this)[key].IsNull(); }
    const std::vector<std::pair<std::string, Json>> &Items() const { return items_; }

    // Arrays.
    Json &Push(Json value);
    const std::vector<Json> &Elements() const { return elements_; }
    size_t Size() const { return type_ == Type::Array ? elements_.size() : items_.size(); }

    // indent < 0: one line; otherwise pretty with that many spaces a level.
    std::string Dump(int indent = 2) const;

private:
    void DumpTo(std::string &out, int indent, int level) const;

    Type type_ = Type::Null;
    int64_t number_ = 0;
    std::string string_;
    std::vector<Json> elements_;
    std::vector<std::pair<std::string, Json>> items_;
};

}  // namespace lldpv2ctl
