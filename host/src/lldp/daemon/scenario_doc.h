// The YAML of a scenario as a small read-only tree, built from the events of
// a YAML parser (libyaml's, or yaml-cpp's for a file libyaml refuses, so
// that its mistakes read as they always did). It offers the part of
// YAML::Node's interface that the scenario reader uses (kinds, scalar text,
// marks, lookup by key, iteration), and lets the reader take the items of
// one long list as they are parsed, so that a file with many neighbours is
// never held as one tree.
#pragma once

#include <yaml-cpp/eventhandler.h>
#include <yaml-cpp/mark.h>

#include <cstddef>
#include <functional>
#include <istream>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace lldpv2host::daemon {

struct DocEntry;

class Doc {
public:
    enum class Kind : uint8_t { Null, Scalar, Sequence, Map };
    struct Data;

    Doc() = default;  // undefined: a key that is not there

    bool IsDefined() const { return d_ != nullptr; }
    bool IsNull() const { return Is(Kind::Null); }
    bool IsScalar() const { return Is(Kind::Scalar); }
    bool IsSequence() const { return Is(Kind::Sequence); }
    bool IsMap() const { return Is(Kind::Map); }
    explicit operator bool() const { return IsDefined(); }

    // The text of a scalar; empty for anything else.
    const std::string &Scalar() const;
    // Where the node starts; the null mark for an undefined node.
    YAML::Mark Mark() const;
    // The text of a node used as a key: a scalar's text, "null" for a null
    // node; anything else throws YAML::BadConversion.
    std::string KeyText() const;

    // The value of the first entry of a mapping whose key is the scalar key;
    // undefined when there is none or this is not a mapping.
    Doc operator[](std::string_view key) const;
    // Item i of a list; undefined when there is none or this is not a list.
    Doc operator[](size_t i) const;

    // The items of a list (each a Doc) or the entries of a mapping (first,
    // second); nothing for other nodes.
    const DocEntry *begin() const;
    const DocEntry *end() const;
    size_t size() const;

private:
    friend class DocBuilder;
    bool Is(Kind kind) const;
    explicit Doc(std::shared_ptr<const Data> d) : d_(std::move(d)) {}
    std::shared_ptr<const Data> d_;
};

// A list item is the entry itself; a mapping entry has first and second.
struct DocEntry : Doc {
    Doc first;
    Doc second;
};

struct Doc::Data {
    Kind kind = Kind::Null;
    YAML::Mark mark;
    std::string scalar;
    std::vector<DocEntry> items;
};

// What the reader of a streamed document is told while it is parsed. The
// root mapping's entries arrive in document order; one list, the first value
// of the root key given to ParseDoc, arrives item by item instead (its
// entry then holds an empty list).
struct DocStream {
    // The streamed list starts under key; root holds the entries before it.
    std::function<void(const Doc &root, const Doc &key)> listStart;
    std::function<void(const Doc &item)> listItem;
    std::function<void(const Doc &key, const Doc &value, bool streamed)> rootEntry;
};

// Parses the first document of text with libyaml, which reads several times
// faster than yaml-cpp and gives the same events. False when it cannot
// tell the document as yaml-cpp would (a YAML mistake, whose wording is
// yaml-cpp's, or nesting far deeper than a scenario goes): the caller then
// starts again from nothing with ParseDoc, whose stream callbacks have not
// been called yet.
bool ParseDocFast(const std::string &text, const std::string &streamKey, const DocStream &stream, Doc *root);

// Parses the first document of in. The root is returned whole when it is not
// a mapping or no stream is wanted. YAML errors throw YAML::Exception.
Doc ParseDoc(std::istream &in, const std::string &streamKey, const DocStream &stream);

inline bool Doc::Is(Kind kind) const { return d_ != nullptr && d_->kind == kind; }

}  // namespace lldpv2host::daemon
