#include "server.h"

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>
#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <algorithm>
#include <cstdio>
#include <optional>
#include <type_traits>

#include "set_undo.h"

namespace lldpv2agent {

namespace {

Oid ToOid(const oid *name, size_t len) { return Oid(name, name + len); }

void AssignOid(Oid &out, const oid *name, size_t len) { out.assign(name, name + len); }

static_assert(std::is_same_v<oid, unsigned long>, "Server::Buffers::arcs holds net-snmp's oid");

std::vector<oid> ToNetsnmp(const Oid &o) { return std::vector<oid>(o.begin(), o.end()); }

SnmpValue ValueOfVarbind(const netsnmp_variable_list *vb) {
    SnmpValue v;
    v.type = vb->type;
    switch (vb->type) {
        case ASN_INTEGER:
            if (vb->val.integer != nullptr) v.number = *vb->val.integer;
            break;
        case ASN_UNSIGNED:
        case ASN_COUNTER:
        case ASN_TIMETICKS:
            if (vb->val.integer != nullptr) v.number = static_cast<int64_t>(*reinterpret_cast<const u_long *>(vb->val.integer));
            break;
        case ASN_OCTET_STR:
            if (vb->val.string != nullptr) v.octets.assign(vb->val.string, vb->val.string + vb->val_len);
            break;
        case ASN_OBJECT_ID:
            if (vb->val.objid != nullptr) {
                size_t n = vb->val_len / sizeof(oid);
                for (size_t i = 0; i < n; ++i) {
                    // Sub-identifiers wider than 32 bits cannot be carried.
                    if (vb->val.objid[i] > 0xFFFFFFFFu) {
                        v.type = ASN_NULL;
                        break;
                    }
                    v.objectId.push_back(static_cast<uint32_t>(vb->val.objid[i]));
                }
            }
            break;
        default:
            break;
    }
    return v;
}

// arcs: a buffer for an object identifier value in net-snmp's form.
void SetVarbindValue(netsnmp_variable_list *vb, const SnmpValue &v, std::vector<oid> &arcs) {
    switch (v.type) {
        case ASN_OCTET_STR:
            snmp_set_var_typed_value(vb, v.type, v.octets.data(), v.octets.size());
            break;
        case ASN_OBJECT_ID: {
            arcs.assign(v.objectId.begin(), v.objectId.end());
            snmp_set_var_typed_value(vb, v.type, arcs.data(), arcs.size() * sizeof(oid));
            break;
        }
        case ASN_INTEGER: {
            long n = static_cast<long>(v.number);
            snmp_set_var_typed_value(vb, v.type, &n, sizeof n);
            break;
        }
        default: {
            u_long n = static_cast<u_long>(v.number);
            snmp_set_var_typed_value(vb, v.type, &n, sizeof n);
            break;
        }
    }
}

// What a set carries from one phase to the next.
struct SetState {
    std::vector<netsnmp_request_info *> requests;  // aligned with targets
    std::vector<SetTarget> targets;
    std::vector<SetGroup> groups;
    std::vector<RowSnapshot> before;  // per group: what its row held before the set
    std::vector<bool> attempted;      // per group: sent to the module
};

void FreeSetState(void *p) { delete static_cast<SetState *>(p); }

// net-snmp may call a handler more than once per phase when its subtree is
// split around more specific registrations; each call gets its own list of
// requests, the same list in every phase, so the list's head names the state.
std::string SetStateKey(const netsnmp_request_info *requests) {
    char key[64];
    std::snprintf(key, sizeof key, "lldpv2-set-%p", static_cast<const void *>(requests));
    return key;
}

void HandleGet(Engine &engine, Server::Buffers &buf, const MibTree &tree, netsnmp_agent_request_info *reqinfo,
               netsnmp_request_info *requests) {
    for (netsnmp_request_info *r = requests; r != nullptr; r = r->next) {
        if (r->processed) continue;
        AssignOid(buf.name, r->requestvb->name, r->requestvb->name_length);
        engine.Get(tree, buf.name, buf.get);
        if (buf.get.failed) {
            netsnmp_set_request_error(reqinfo, r, SNMP_ERR_GENERR);
        } else if (buf.get.exception != 0) {
            netsnmp_set_request_error(reqinfo, r, buf.get.exception);
        } else {
            SetVarbindValue(r->requestvb, buf.get.value, buf.arcs);
        }
    }
}

void HandleGetNext(Engine &engine, Server::Buffers &buf, const MibTree &tree, netsnmp_agent_request_info *reqinfo,
                   netsnmp_request_info *requests) {
    for (netsnmp_request_info *r = requests; r != nullptr; r = r->next) {
        if (r->processed) continue;
        AssignOid(buf.name, r->requestvb->name, r->requestvb->name_length);
        buf.limit.clear();
        if (r->range_end != nullptr) AssignOid(buf.limit, r->range_end, r->range_end_len);
        NextResult &result = buf.next;
        engine.GetNext(tree, buf.name, r->inclusive != 0, buf.limit, result);
        if (result.status == NextResult::Failed) {
            netsnmp_set_request_error(reqinfo, r, SNMP_ERR_GENERR);
        } else if (result.status == NextResult::Found) {
            buf.arcs.assign(result.oid.begin(), result.oid.end());
            snmp_set_var_objid(r->requestvb, buf.arcs.data(), buf.arcs.size());
            SetVarbindValue(r->requestvb, result.value, buf.arcs);
        }
        // Nothing found: the varbind stays untouched and net-snmp goes on
        // with the next registered subtree.
    }
}

void SetReserve1(Engine &engine, const MibTree &tree, netsnmp_agent_request_info *reqinfo, netsnmp_request_info *requests) {
    auto *state = new SetState;
    netsnmp_agent_add_list_data(reqinfo, netsnmp_create_data_list(SetStateKey(requests).c_str(), state, FreeSetState));
    for (netsnmp_request_info *r = requests; r != nullptr; r = r->next) {
        if (r->processed) continue;
        Oid name = ToOid(r->requestvb->name, r->requestvb->name_length);
        SetTarget target;
        int err = engine.ResolveSet(tree, name, ValueOfVarbind(r->requestvb), target);
        if (err != SNMP_ERR_NOERROR) {
            netsnmp_set_request_error(reqinfo, r, err);
            continue;
        }
        state->requests.push_back(r);
        state->targets.push_back(std::move(target));
    }
}

SetState *StateOf(netsnmp_request_info *requests, netsnmp_agent_request_info *reqinfo) {
    return static_cast<SetState *>(netsnmp_agent_get_list_data(reqinfo, SetStateKey(requests).c_str()));
}

// A set is all or nothing. Every varbind has been checked against its node
// record; before anything is written, what each row of the set holds is read,
// so that when the module refuses one write every row already written (and
// the refused one, in case the module wrote part of it) is put back. The
// module checks a request before it writes, so its refusal answers that
// varbind with the module's reason. Whatever a write set off outside the MIB
// objects (an LLDPDU already sent, a notification) cannot be taken back; a
// row that cannot be put back answers undoFailed.
void SetReserve2(Engine &engine, SetState &state, netsnmp_agent_request_info *reqinfo) {
    state.groups = GroupSets(state.targets);
    state.attempted.assign(state.groups.size(), false);
    state.before.assign(state.groups.size(), RowSnapshot{});
    for (size_t g = 0; g < state.groups.size(); ++g) {
        if (!TakeSnapshot(engine, state.targets, state.groups[g], state.before[g])) {
            // What could not be read could not be put back.
            size_t first = state.groups[g].members.front();
            snmp_log(LOG_WARNING, "set of %s refused: its row cannot be read\n", state.targets[first].leaf->name);
            netsnmp_set_request_error(reqinfo, state.requests[first], SNMP_ERR_GENERR);
            return;
        }
    }
}

void SetAction(Engine &engine, SetState &state, netsnmp_agent_request_info *reqinfo) {
    for (size_t g = 0; g < state.groups.size(); ++g) {
        SetGroup &group = state.groups[g];
        uint32_t paraIndex = MOR_PARA_INDEX_ALL;
        state.attempted[g] = true;
        uint32_t status = engine.Apply(group, paraIndex);
        if (status != 0) {
            size_t blamed = group.Blame(paraIndex);
            snmp_log(LOG_DEBUG, "set of %s refused: 0x%X at %u\n", state.targets[blamed].leaf->name, status,
                     paraIndex);
            netsnmp_set_request_error(reqinfo, state.requests[blamed], SetErrorOf(status));
            return;
        }
    }
}

void SetUndo(Engine &engine, SetState &state, netsnmp_agent_request_info *reqinfo) {
    // Latest first, so that a row written twice ends as it began.
    for (size_t g = state.groups.size(); g-- > 0;) {
        if (!state.attempted[g]) continue;
        state.attempted[g] = false;
        if (!Restore(engine, state.before[g])) {
            netsnmp_set_request_error(reqinfo, state.requests[state.groups[g].members.front()], SNMP_ERR_UNDOFAILED);
        }
    }
}

int Handle(netsnmp_mib_handler *handler, netsnmp_handler_registration * /*reg*/, netsnmp_agent_request_info *reqinfo,
           netsnmp_request_info *requests) {
    auto *ctx = static_cast<Server::Context *>(handler->myvoid);
    Engine &engine = ctx->server->engine();
    switch (reqinfo->mode) {
        case MODE_GET:
            HandleGet(engine, ctx->server->buffers(), *ctx->tree, reqinfo, requests);
            break;
        case MODE_GETNEXT:
            HandleGetNext(engine, ctx->server->buffers(), *ctx->tree, reqinfo, requests);
            break;
        case MODE_SET_RESERVE1:
            SetReserve1(engine, *ctx->tree, reqinfo, requests);
            break;
        case MODE_SET_RESERVE2:
            if (SetState *state = StateOf(requests, reqinfo)) SetReserve2(engine, *state, reqinfo);
            break;
        case MODE_SET_ACTION:
            if (SetState *state = StateOf(requests, reqinfo)) SetAction(engine, *state, reqinfo);
            break;
        case MODE_SET_UNDO:
            if (SetState *state = StateOf(requests, reqinfo)) SetUndo(engine, *state, reqinfo);
            break;
        default:  // COMMIT and FREE: the module has written already; nothing to release
            break;
    }
    return SNMP_ERR_NOERROR;
}

}  // namespace

Server::Server(DeliverFn deliver) : engine_(std::move(deliver)) {}

Server::~Server() { Detach(); }

void Server::Attach() {
    if (attached_) return;
    attached_ = true;
    lldpv2host::SetTreeObserver([this](const lldpv2host::RegisteredTree &tree, bool added) { OnTree(tree, added); });
    for (const lldpv2host::RegisteredTree &tree : lldpv2host::RegisteredTrees()) OnTree(tree, true);
}

void Server::Detach() {
    if (!attached_) return;
    attached_ = false;
    lldpv2host::SetTreeObserver(nullptr);
    trees_.clear();
    Replan();
}

void Server::OnTree(const lldpv2host::RegisteredTree &tree, bool added) {
    // Kept rows name the trees' node records.
    engine_.ForgetRows();
    if (added) {
        if (tree.root == nullptr) return;
        trees_.push_back(std::make_unique<MibTree>(tree.name, tree.root));
        snmp_log(LOG_INFO, "tree %s added\n", tree.name.c_str());
        Replan();
        return;
    }
    auto it = std::find_if(trees_.begin(), trees_.end(),
                           [&](const std::unique_ptr<MibTree> &t) { return t->Root() == tree.root; });
    if (it == trees_.end()) return;
    // Registrations still point at the tree: move it out, replan, then let it go.
    std::unique_ptr<MibTree> gone = std::move(*it);
    trees_.erase(it);
    Replan();
    snmp_log(LOG_INFO, "tree %s removed\n", tree.name.c_str());
}

std::vector<ServedSubtree> Server::Served() const {
    std::vector<ServedSubtree> served;
    for (const Registration &r : registrations_) served.push_back(r.subtree);
    return served;
}

void Server::Replan() {
    std::vector<const MibTree *> trees;
    for (const auto &t : trees_) trees.push_back(t.get());
    std::vector<ServedSubtree> plan = PlanServedSubtrees(trees);

    // Drop registrations that the plan no longer has.
    for (auto it = registrations_.begin(); it != registrations_.end();) {
        if (std::find(plan.begin(), plan.end(), it->subtree) != plan.end()) {
            ++it;
            continue;
        }
        snmp_log(LOG_INFO, "no longer serving %s\n", OidToString(it->subtree.prefix).c_str());
        netsnmp_unregister_handler(it->reg);
        it = registrations_.erase(it);
    }
    for (const ServedSubtree &s : plan) {
        bool present = std::any_of(registrations_.begin(), registrations_.end(),
                                   [&](const Registration &r) { return r.subtree == s; });
        if (!present) Register(s);
    }
}

bool Server::Register(const ServedSubtree &subtree) {
    auto context = std::make_unique<Context>(Context{this, subtree.tree});
    std::string name = "lldpv2:" + subtree.tree->Name() + ":" + OidToString(subtree.prefix);
    netsnmp_mib_handler *handler = netsnmp_create_handler(name.c_str(), Handle);
    if (handler == nullptr) return false;
    handler->myvoid = context.get();
    std::vector<oid> prefix = ToNetsnmp(subtree.prefix);
    netsnmp_handler_registration *reg =
        netsnmp_handler_registration_create(name.c_str(), handler, prefix.data(), prefix.size(), HANDLER_CAN_RWRITE);
    if (reg == nullptr) {
        netsnmp_handler_free(handler);
        return false;
    }
    // On failure net-snmp releases the registration and its handler.
    if (netsnmp_register_handler(reg) != MIB_REGISTERED_OK) {
        snmp_log(LOG_ERR, "cannot register %s for %s\n", OidToString(subtree.prefix).c_str(),
                 subtree.tree->Name().c_str());
        return false;
    }
    snmp_log(LOG_INFO, "serving %s from %s\n", OidToString(subtree.prefix).c_str(), subtree.tree->Name().c_str());
    registrations_.push_back({subtree, reg, std::move(context)});
    return true;
}

}  // namespace lldpv2agent
