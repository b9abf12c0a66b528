#include "json.h"

#include <cstdio>

namespace lldpv2ctl {

namespace {

void Quote(std::string &out, const std::string &s) {
    out += '"';
    for (unsigned char c : s) {
        switch (c) {
            case '"': out += "\\\""; break;
            case '\\': out += "\\\\"; break;
            case '\n': out += "\\n"; break;
            case '\r': out += "\\r"; break;
            case '\t': out += "\\t"; break;
            default:
                if (c < 0x20 || c == 0x7f) {
                    char buf[8];
                    std::snprintf(buf, sizeof buf, "\\u%04x", c);
                    out += buf;
                } else {
                    out += static_cast<char>(c);
                }
        }
    }
    out += '"';
}

}  // namespace

Json &Json::Set(const std::string &key, Json value) {
    type_ = Type::Object;
    for (auto &item : items_) {
        if (item.first == key) {
            item.second = std::move(value);
            return item.second;
        }
    }
    items_.emplace_back(key, std::move(value));
    return items_.back().second;
}

const Json &Json::operator[](const std::string &key) const {
    static const Json kNull;
    for (const auto &item : items_) {
        if (item.first == key) return item.second;
    }
    return kNull;
}

Json &Json::Get(const std::string &key) {
    for (auto &item : items_) {
        if (item.first == key) return item.second;
    }
    return Set(key, Json());
}

Json &Json::Push(Json value) {
    type_ = Type::Array;
    elements_.push_back(std::move(value));
    return elements_.back();
}

std::string Json::Dump(int indent) const {
    std::string out;
    DumpTo(out, indent, 0);
    return out;
}

void Json::DumpTo(std::string &out, int indent, int level) const {
    auto newline = [&](int l) {
        if (indent < 0) return;
        out += '\n';
        out.append(static_cast<size_t>(indent * l), ' ');
    };
    switch (type_) {
        case Type::Null: out += "null"; break;
        case Type::Bool: out += number_ != 0 ? "true" : "false"; break;
        case Type::Number: out += std::to_string(number_); break;
        case Type::String: Quote(out, string_); break;
        case Type::Array:
            if (elements_.empty()) {
                out += "[]";
                break;
            }
            out += '[';
            {
                // Arrays of plain values stay on one line.
                bool flat = true;
                for (const Json &e : elements_) flat = flat && e.type_ != Type::Array && e.type_ != Type::Object;
                if (flat) {
                    for (size_t i = 0; i < elements_.size(); ++i) {
                        if (i > 0) out += indent < 0 ? "," : ", ";
                        elements_[i].DumpTo(out, indent, level + 1);
                    }
                    out += ']';
                    break;
                }
            }
            for (size_t i = 0; i < elements_.size(); ++i) {
                if (i > 0) out += ',';
                newline(level + 1);
                elements_[i].DumpTo(out, indent, level + 1);
            }
            newline(level);
            out += ']';
            break;
        case Type::Object:
            if (items_.empty()) {
                out += "{}";
                break;
            }
            out += '{';
            for (size_t i = 0; i < items_.size(); ++i) {
                if (i > 0) out += ',';
                newline(level + 1);
                Quote(out, items_[i].first);
                out += indent < 0 ? ":" : ": ";
                items_[i].second.DumpTo(out, indent, level + 1);
            }
            newline(level);
            out += '}';
            break;
    }
}

}  // namespace lldpv2ctl
