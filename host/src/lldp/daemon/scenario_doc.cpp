#include "lldp/daemon/scenario_doc.h"

#include <yaml-cpp/exceptions.h>
#include <yaml-cpp/parser.h>

#include <map>

namespace lldpv2host::daemon {

namespace {

const std::string &EmptyText() {
    static const std::string empty;
    return empty;
}

}  // namespace

bool Doc::IsNull() const { return d_ != nullptr && d_->kind == Kind::Null; }
bool Doc::IsScalar() const { return d_ != nullptr && d_->kind == Kind::Scalar; }
bool Doc::IsSequence() const { return d_ != nullptr && d_->kind == Kind::Sequence; }
bool Doc::IsMap() const { return d_ != nullptr && d_->kind == Kind::Map; }
const std::string &Doc::Scalar() const { return IsScalar() ? d_->scalar : EmptyText(); }
YAML::Mark Doc::Mark() const { return d_ != nullptr ? d_->mark : YAML::Mark::null_mark(); }

std::string Doc::KeyText() const {
    if (IsNull()) return "null";
    if (!IsScalar()) throw YAML::TypedBadConversion<std::string>(Mark());
    return d_->scalar;
}

Doc Doc::operator[](const std::string &key) const {
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

    static Doc Leaf(Doc::Kind kind, const YAML::Mark &mark, const std::string &text) {
        auto d = std::make_shared<Doc::Data>();
        d->kind = kind;
        d->mark = mark;
        d->scalar = text;
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
        Doc done(std::move(f.data));
        Finish(done, f.anchor, f.streamed);
    }

    void Finish(const Doc &n, YAML::anchor_t anchor, bool streamed = false) {
        if (anchor != 0) anchors_[anchor] = n;
        if (stack_.empty()) {
            root_ = n;
            return;
        }
        Frame &parent = stack_.back();
        if (parent.streamed) {
            stream_.listItem(n);
            return;
        }
        auto &items = parent.data->items;
        if (parent.data->kind == Doc::Kind::Sequence) {
            DocEntry e;
            static_cast<Doc &>(e) = n;
            items.push_back(std::move(e));
            return;
        }
        if (!parent.haveKey) {
            parent.key = n;
            parent.haveKey = true;
            return;
        }
        DocEntry e;
        e.first = std::move(parent.key);
        e.second = n;
        parent.key = Doc();
        parent.haveKey = false;
        const bool rootEntry = stack_.size() == 1 && rootIsMap_;
        items.push_back(e);
        if (rootEntry && stream_.rootEntry) stream_.rootEntry(e.first, e.second, streamed);
    }

    const std::string &streamKey_;
    const DocStream &stream_;
    std::vector<Frame> stack_;
    std::map<YAML::anchor_t, Doc> anchors_;
    Doc root_;
    bool rootIsMap_ = false;
    bool streamed_ = false;
};

Doc ParseDoc(std::istream &in, const std::string &streamKey, const DocStream &stream) {
    YAML::Parser parser(in);
    DocBuilder builder(streamKey, stream);
    parser.HandleNextDocument(builder);
    return builder.Root();
}

}  // namespace lldpv2host::daemon
