// The switch model: nodes, interfaces, local unit and service state, the
// per-node attachments and the observers of changes.
#include <mutex>
#include <stdexcept>
#include <utility>
#include <vector>

#include "data_generation.h"
#include "switch_state.h"

namespace lldpv2host {

namespace {

using Observers = std::vector<std::shared_ptr<const SwitchObserver>>;

// Caller holds the lock.
Observers SnapshotObservers(const Switch &sw) {
    Observers out;
    out.reserve(sw.observers.size());
    for (const auto &[id, observer] : sw.observers) out.push_back(observer);
    return out;
}

// Called without the lock.
void Notify(const Observers &observers, const std::vector<SwitchEvent> &events) {
    for (const SwitchEvent &event : events) {
        for (const auto &observer : observers) {
            if (*observer) (*observer)(event);
        }
    }
}

}  // namespace

void ResetSwitch() {
    Switch &sw = Switch::Get();
    std::map<uint16_t, NodeState> dropped;  // attachments are destroyed without the lock
    Observers observers;
    {
        std::unique_lock guard(sw.lock);
        dropped.swap(sw.nodes);
        sw.interfaces.clear();
        sw.ifIndexesByType.clear();
        sw.ifIndexesByNode.clear();
        sw.localUnit = 1;
        sw.startedUnits = {1};
        observers = SnapshotObservers(sw);
    }
    dropped.clear();
    Notify(observers, {SwitchEvent{SwitchEvent::Kind::Reset, 0, 0}});
    NoteDataChange();
}

void AddNode(uint16_t node, bool up) {
    Switch &sw = Switch::Get();
    std::vector<SwitchEvent> events;
    Observers observers;
    {
        std::unique_lock guard(sw.lock);
        auto [it, added] = sw.nodes.try_emplace(node);
        if (added) {
            it->second.up = up;
            events.push_back({SwitchEvent::Kind::NodeAdded, node, 0});
        } else if (it->second.up != up) {
            it->second.up = up;
            events.push_back({SwitchEvent::Kind::NodeUpChanged, node, 0});
        }
        observers = SnapshotObservers(sw);
    }
    Notify(observers, events);
    if (!events.empty()) NoteDataChange();
}

void RemoveNode(uint16_t node) {
    Switch &sw = Switch::Get();
    std::vector<SwitchEvent> events;
    Observers observers;
    NodeState dropped;
    {
        std::unique_lock guard(sw.lock);
        auto it = sw.nodes.find(node);
        if (it == sw.nodes.end()) return;
        if (auto owned = sw.ifIndexesByNode.find(node); owned != sw.ifIndexesByNode.end()) {
            std::set<uint32_t> ifIndexes = owned->second;
            for (uint32_t ifIndex : ifIndexes) {
                auto intf = sw.interfaces.find(ifIndex);
                sw.UnindexInterface(intf->second);
                sw.interfaces.erase(intf);
                events.push_back({SwitchEvent::Kind::InterfaceRemoved, node, ifIndex});
            }
        }
        dropped = std::move(it->second);
        sw.nodes.erase(it);
        events.push_back({SwitchEvent::Kind::NodeRemoved, node, 0});
        observers = SnapshotObservers(sw);
    }
    dropped.attachments.clear();
    Notify(observers, events);
    NoteDataChange();
}

void SetNodeUp(uint16_t node, bool up) {
    if (HasNode(node)) AddNode(node, up);
}

bool HasNode(uint16_t node) {
    Switch &sw = Switch::Get();
    std::shared_lock guard(sw.lock);
    return sw.nodes.contains(node);
}

bool NodeUp(uint16_t node) {
    Switch &sw = Switch::Get();
    std::shared_lock guard(sw.lock);
    auto it = sw.nodes.find(node);
    return it != sw.nodes.end() && it->second.up;
}

std::vector<uint16_t> Nodes() {
    Switch &sw = Switch::Get();
    std::shared_lock guard(sw.lock);
    std::vector<uint16_t> out;
    out.reserve(sw.nodes.size());
    for (const auto &[node, state] : sw.nodes) out.push_back(node);
    return out;
}

void AddInterface(const Interface &intf) {
    if (intf.ifIndex == 0) throw std::invalid_argument("interface index 0 is reserved");
    Switch &sw = Switch::Get();
    SwitchEvent event{SwitchEvent::Kind::InterfaceAdded, intf.node, intf.ifIndex};
    Observers observers;
    {
        std::unique_lock guard(sw.lock);
        if (!sw.nodes.contains(intf.node)) {
            throw std::invalid_argument("interface " + std::to_string(intf.ifIndex) + " on unknown node " +
                                        std::to_string(intf.node));
        }
        auto [it, added] = sw.interfaces.try_emplace(intf.ifIndex, intf);
        if (!added) {
            sw.UnindexInterface(it->second);
            it->second = intf;
            event.kind = SwitchEvent::Kind::InterfaceChanged;
        }
        sw.IndexInterface(intf);
        observers = SnapshotObservers(sw);
    }
    Notify(observers, {event});
    NoteDataChange();
}

void RemoveInterface(uint32_t ifIndex) {
    Switch &sw = Switch::Get();
    SwitchEvent event{SwitchEvent::Kind::InterfaceRemoved, 0, ifIndex};
    Observers observers;
    {
        std::unique_lock guard(sw.lock);
        auto it = sw.interfaces.find(ifIndex);
        if (it == sw.interfaces.end()) return;
        event.node = it->second.node;
        sw.UnindexInterface(it->second);
        sw.interfaces.erase(it);
        observers = SnapshotObservers(sw);
    }
    Notify(observers, {event});
    NoteDataChange();
}

std::optional<Interface> FindInterface(uint32_t ifIndex) {
    Switch &sw = Switch::Get();
    std::shared_lock guard(sw.lock);
    auto it = sw.interfaces.find(ifIndex);
    if (it == sw.interfaces.end()) return std::nullopt;
    return it->second;
}

std::vector<Interface> Interfaces() {
    Switch &sw = Switch::Get();
    std::shared_lock guard(sw.lock);
    std::vector<Interface> out;
    out.reserve(sw.interfaces.size());
    for (const auto &[ifIndex, intf] : sw.interfaces) out.push_back(intf);
    return out;
}

std::vector<Interface> InterfacesOfNode(uint16_t node) {
    Switch &sw = Switch::Get();
    std::shared_lock guard(sw.lock);
    std::vector<Interface> out;
    auto owned = sw.ifIndexesByNode.find(node);
    if (owned == sw.ifIndexesByNode.end()) return out;
    out.reserve(owned->second.size());
    for (uint32_t ifIndex : owned->second) out.push_back(sw.interfaces.at(ifIndex));
    return out;
}

void SetLocalUnit(uint32_t unit) {
    Switch &sw = Switch::Get();
    std::unique_lock guard(sw.lock);
    sw.localUnit = unit;
    NoteDataChange();
}

uint32_t LocalUnit() {
    Switch &sw = Switch::Get();
    std::shared_lock guard(sw.lock);
    return sw.localUnit;
}

void SetServiceStarted(uint16_t unit, bool started) {
    Switch &sw = Switch::Get();
    std::unique_lock guard(sw.lock);
    if (started) {
        sw.startedUnits.insert(unit);
    } else {
        sw.startedUnits.erase(unit);
    }
    NoteDataChange();
}

bool ServiceStarted(uint16_t unit) {
    Switch &sw = Switch::Get();
    std::shared_lock guard(sw.lock);
    return sw.startedUnits.contains(unit);
}

size_t LiveIterators() {
    Switch &sw = Switch::Get();
    std::shared_lock guard(sw.lock);
    return sw.liveIterators;
}

bool Attach(uint16_t node, const std::string &key, std::shared_ptr<NodeAttachment> state) {
    Switch &sw = Switch::Get();
    std::shared_ptr<NodeAttachment> previous;  // destroyed after the lock is released
    std::unique_lock guard(sw.lock);
    auto it = sw.nodes.find(node);
    if (it == sw.nodes.end()) return false;
    previous = std::exchange(it->second.attachments[key], std::move(state));
    NoteDataChange();
    return true;
}

void Detach(uint16_t node, const std::string &key) {
    Switch &sw = Switch::Get();
    std::shared_ptr<NodeAttachment> previous;  // destroyed after the lock is released
    std::unique_lock guard(sw.lock);
    auto it = sw.nodes.find(node);
    if (it == sw.nodes.end()) return;
    auto found = it->second.attachments.find(key);
    if (found == it->second.attachments.end()) return;
    previous = std::move(found->second);
    it->second.attachments.erase(found);
    NoteDataChange();
}

std::shared_ptr<NodeAttachment> Attached(uint16_t node, const std::string &key) {
    Switch &sw = Switch::Get();
    std::shared_lock guard(sw.lock);
    auto it = sw.nodes.find(node);
    if (it == sw.nodes.end()) return nullptr;
    auto found = it->second.attachments.find(key);
    return found == it->second.attachments.end() ? nullptr : found->second;
}

uint64_t AddSwitchObserver(SwitchObserver observer) {
    Switch &sw = Switch::Get();
    std::unique_lock guard(sw.lock);
    uint64_t id = sw.nextObserverId++;
    sw.observers.emplace(id, std::make_shared<const SwitchObserver>(std::move(observer)));
    return id;
}

void RemoveSwitchObserver(uint64_t id) {
    Switch &sw = Switch::Get();
    std::unique_lock guard(sw.lock);
    sw.observers.erase(id);
}

}  // namespace lldpv2host
