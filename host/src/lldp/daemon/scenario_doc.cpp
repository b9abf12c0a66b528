#include "lldp/daemon/scenario_doc.h"

#include <yaml-cpp/exceptions.h>
#include <yaml-cpp/parser.h>
#include <yaml.h>

#include <cstring>
#include <map>

namespace lldpv2host::daemon {

namespace {

const std::string &EmptyText() {
    static const std::string empty;
    return empty;
}

}  // namespace

const std::string &Doc::Scalar() const { return IsScalar() ? d_->scalar : EmptyText(); }
YAML::Mark Doc::Mark() const { return d_ != nullptr ? d_->mark : YAML::Mark::null_mark(); }

std::string Doc::KeyText() const {
    if (IsNull()) return "null";
    if (!IsScalar()) throw YAML::TypedBadConversion<std::string>(Mark());
    return d_->scalar;
}

Doc Doc::operator[](std::string_view key) const {
    if (!IsMap()) return {};
    for (const DocEntry &e : d_->items) {
        if (e.first.IsScalar() && e.first.Scalar() == key) return e.second;
    }
    return {};
}

Doc Doc::operator[](size_t i) const {
    if (!IsSequence() || i >= d_->items.size()) return {};
    return d_->items[i];
}

size_t Doc::size() const { return d_ != nullptr ? d_->items.size() : 0; }

const DocEntry *Doc::begin() const { return d_ != nullptr ? d_->items.data() : nullptr; }
const DocEntry *Doc::end() const { return d_ != nullptr ? d_->items.data() + d_->items.size() : nullptr; }

// Builds Docs from parser events. Nodes under construction sit on a stack;
// a finished node goes to its parent, or is the root. Anchored nodes are
// kept by anchor and shared by their aliases.
class DocBuilder : public YAML::EventHandler {
public:
    DocBuilder(const std::string &streamKey, const DocStream &stream) : streamKey_(streamKey), stream_(stream) {}

    Doc Root() const { return root_; }

    void OnDocumentStart(const YAML::Mark &) override {}
    void OnDocumentEnd() override {}

    void OnNull(const YAML::Mark &mark, YAML::anchor_t anchor) override { Finish(Leaf(Doc::Kind::Null, mark, {}), anchor); }

    void OnAlias(const YAML::Mark &mark, YAML::anchor_t anchor) override {
        auto it = anchors_.find(anchor);
        // An alias of a node that contains it (the parser knows the anchor,
        // the node is not finished): a tree cannot hold it.
        if (it == anchors_.end()) throw YAML::ParserException(mark, "an alias inside the node it refers to");
        Finish(it->second, 0);
    }

    void OnScalar(const YAML::Mark &mark, const std::string &, YAML::anchor_t anchor, const std::string &value) override {
        Finish(Leaf(Doc::Kind::Scalar, mark, value), anchor);
    }
    void Scalar(const YAML::Mark &mark, YAML::anchor_t anchor, std::string value) {
        Finish(Leaf(Doc::Kind::Scalar, mark, std::move(value)), anchor);
    }

    void OnSequenceStart(const YAML::Mark &mark, const std::string &, YAML::anchor_t anchor,
                         YAML::EmitterStyle::value) override {
        Open(Doc::Kind::Sequence, mark, anchor);
    }
    void OnSequenceEnd() override { Close(); }

    void OnMapStart(const YAML::Mark &mark, const std::string &, YAML::anchor_t anchor,
                    YAML::EmitterStyle::value) override {
        Open(Doc::Kind::Map, mark, anchor);
    }
    void OnMapEnd() override { Close(); }

private:
    struct Frame {
        std::shared_ptr<Doc::Data> data;
        YAML::anchor_t anchor = 0;
        Doc key;              // a mapping's key waiting for its value
        bool haveKey = false;
        bool streamed = false;  // items go to the stream, not into data
    };

    static Doc Leaf(Doc::Kind kind, const YAML::Mark &mark, std::string text) {
        auto d = std::make_shared<Doc::Data>();
        d->kind = kind;
        d->mark = mark;
        d->scalar = std::move(text);
        return Doc(std::move(d));
    }

    bool AtRootValue() const {
        return stack_.size() == 1 && stack_[0].data->kind == Doc::Kind::Map && stack_[0].haveKey;
    }

    void Open(Doc::Kind kind, const YAML::Mark &mark, YAML::anchor_t anchor) {
        Frame f;
        f.data = std::make_shared<Doc::Data>();
        f.data->kind = kind;
        f.data->mark = mark;
        f.data->items.reserve(kind == Doc::Kind::Map ? 8 : 2);
        f.anchor = anchor;
        if (stack_.empty() && kind == Doc::Kind::Map) rootIsMap_ = true;
        // The first list under the stream key, unless an alias may want it
        // whole.
        if (kind == Doc::Kind::Sequence && anchor == 0 && !streamed_ && AtRootValue() &&
            stack_[0].key.IsScalar() && stack_[0].key.Scalar() == streamKey_ && stream_.listItem &&
            !KeySeen(streamKey_)) {
            f.streamed = true;
            streamed_ = true;
            if (stream_.listStart) stream_.listStart(Doc(stack_[0].data), stack_[0].key);
        }
        stack_.push_back(std::move(f));
    }

    bool KeySeen(const std::string &key) const {
        for (const DocEntry &e : stack_[0].data->items) {
            if (e.first.IsScalar() && e.first.Scalar() == key) return true;
        }
        return false;
    }

    void Close() {
        Frame f = std::move(stack_.back());
        stack_.pop_back();
        Finish(Doc(std::move(f.data)), f.anchor, f.streamed);
    }

    void Finish(Doc n, YAML::anchor_t anchor, bool streamed = false) {
        if (anchor != 0) anchors_[anchor] = n;
        if (stack_.empty()) {
            root_ = std::move(n);
            return;
        }
        Frame &parent = stack_.back();
        if (parent.streamed) {
            stream_.listItem(n);
            return;
        }
        auto &items = parent.data->items;
        if (parent.data->kind == Doc::Kind::Sequence) {
            items.emplace_back();
            static_cast<Doc &>(items.back()) = std::move(n);
            return;
        }
        if (!parent.haveKey) {
            parent.key = std::move(n);
            parent.haveKey = true;
            return;
        }
        items.emplace_back();
        DocEntry &e = items.back();
        e.first = std::move(parent.key);
        e.second = std::move(n);
        parent.key = Doc();
        parent.haveKey = false;
        if (stack_.size() == 1 && rootIsMap_ && stream_.rootEntry) stream_.rootEntry(e.first, e.second, streamed);
    }

    const std::string &streamKey_;
    const DocStream &stream_;
    std::vector<Frame> stack_;
    std::map<YAML::anchor_t, Doc> anchors_;
    Doc root_;
    bool rootIsMap_ = false;
    bool streamed_ = false;
};

namespace {

// libyaml's parser and one event, released on every path.
struct FastParser {
    yaml_parser_t parser{};
    FastParser(const std::string &text) {
        yaml_parser_initialize(&parser);
        yaml_parser_set_input_string(&parser, reinterpret_cast<const unsigned char *>(text.data()), text.size());
    }
    ~FastParser() { yaml_parser_delete(&parser); }
    FastParser(const FastParser &) = delete;
    FastParser &operator=(const FastParser &) = delete;
};

struct FastEvent {
    yaml_event_t event{};
    bool held = false;
    ~FastEvent() { Release(); }
    void Release() {
        if (held) yaml_event_delete(&event);
        held = false;
    }
};

YAML::Mark MarkOf(const yaml_mark_t &m) {
    YAML::Mark mark;
    mark.pos = static_cast<int>(m.index);
    mark.line = static_cast<int>(m.line);
    mark.column = static_cast<int>(m.column);
    return mark;
}

// Plain scalars without a tag that mean null.
bool IsNullText(const char *s, size_t n) {
    const std::string_view v(s, n);
    return v.empty() || v == "~" || v == "null" || v == "Null" || v == "NULL";
}

// Deeper than this the fast path stops: no scenario nests that deep, and
// yaml-cpp reports such a file in its own words.
constexpr size_t kFastDepth = 100;

}  // namespace

bool ParseDocFast(const std::string &text, const std::string &streamKey, const DocStream &stream, Doc *root) {
    FastParser p(text);
    DocBuilder builder(streamKey, stream);
    std::map<std::string, YAML::anchor_t> anchors;  // the latest node of each anchor name
    YAML::anchor_t nextAnchor = 1;
    size_t depth = 0;
    // An empty value (nothing after "key:" or "-") has yaml-cpp's mark: the
    // place of what follows it, told by the next event.
    bool emptyPending = false;
    auto anchorOf = [&](const yaml_char_t *name) -> YAML::anchor_t {
        if (name == nullptr) return 0;
        const YAML::anchor_t id = nextAnchor++;
        anchors[reinterpret_cast<const char *>(name)] = id;
        return id;
    };
    for (;;) {
        FastEvent e;
        if (yaml_parser_parse(&p.parser, &e.event) == 0) return false;
        e.held = true;
        const yaml_event_t &ev = e.event;
        const YAML::Mark mark = MarkOf(ev.start_mark);
        if (emptyPending) {
            // At the end of a text whose last line has no line break,
            // libyaml counts one: yaml-cpp's mark stays on that last line.
            YAML::Mark at = mark;
            if (ev.start_mark.index >= text.size() && !text.empty() && text.back() != '\n' && at.line > 0 &&
                at.column == 0) {
                --at.line;
            }
            builder.OnNull(at, 0);
            emptyPending = false;
        }
        switch (ev.type) {
            case YAML_STREAM_END_EVENT:
            case YAML_DOCUMENT_END_EVENT:
                *root = builder.Root();
                return true;
            case YAML_ALIAS_EVENT: {
                auto it = anchors.find(reinterpret_cast<const char *>(ev.data.alias.anchor));
                if (it == anchors.end()) return false;
                builder.OnAlias(mark, it->second);
                break;
            }
            case YAML_SCALAR_EVENT: {
                const auto *value = reinterpret_cast<const char *>(ev.data.scalar.value);
                const YAML::anchor_t anchor = anchorOf(ev.data.scalar.anchor);
                if (ev.data.scalar.tag == nullptr && ev.data.scalar.style == YAML_PLAIN_SCALAR_STYLE &&
                    IsNullText(value, ev.data.scalar.length)) {
                    if (ev.data.scalar.length == 0 && anchor == 0) {
                        emptyPending = true;
                    } else {
                        builder.OnNull(mark, anchor);
                    }
                } else {
                    builder.Scalar(mark, anchor, std::string(value, ev.data.scalar.length));
                }
                break;
            }
            case YAML_SEQUENCE_START_EVENT:
                if (++depth > kFastDepth) return false;
                builder.OnSequenceStart(mark, "", anchorOf(ev.data.sequence_start.anchor), YAML::EmitterStyle::Default);
                break;
            case YAML_MAPPING_START_EVENT:
                if (++depth > kFastDepth) return false;
                builder.OnMapStart(mark, "", anchorOf(ev.data.mapping_start.anchor), YAML::EmitterStyle::Default);
                break;
            case YAML_SEQUENCE_END_EVENT:
                --depth;
                builder.OnSequenceEnd();
                break;
            case YAML_MAPPING_END_EVENT:
                --depth;
                builder.OnMapEnd();
                break;
            default: break;
        }
    }
}

Doc ParseDoc(std::istream &in, const std::string &streamKey, const DocStream &stream) {
    YAML::Parser parser(in);
    DocBuilder builder(streamKey, stream);
    parser.HandleNextDocument(builder);
    return builder.Root();
}

}  // namespace lldpv2host::daemon
