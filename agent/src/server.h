// Serves the compiled trees that modules register with the platform through
// net-snmp: follows tree registration and removal, keeps one net-snmp handler
// registration per served subtree, and answers the requests that reach them.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "engine.h"
#include "lldpv2host/registry.h"
#include "mib_tree.h"

struct netsnmp_handler_registration_s;

namespace lldpv2agent {

class Server {
public:
    explicit Server(DeliverFn deliver);
    ~Server();
    Server(const Server &) = delete;
    Server &operator=(const Server &) = delete;

    // Starts following the platform's tree registry (call before a module is
    // loaded, so that the trees its constructor adds are seen).
    void Attach();
    // Stops following it and drops every registration.
    void Detach();

    // Called for every tree added to or removed from the platform.
    void OnTree(const lldpv2host::RegisteredTree &tree, bool added);

    // The subtrees currently registered with net-snmp.
    std::vector<ServedSubtree> Served() const;

    // Per registration: what its handler needs.
    struct Context {
        Server *server = nullptr;
        const MibTree *tree = nullptr;
    };

    Engine &engine() { return engine_; }

    // What the get and get-next handlers reuse from one varbind to the next.
    struct Buffers {
        Oid name;
        Oid limit;
        GetResult get;
        NextResult next;
        std::vector<unsigned long> arcs;  // net-snmp's oid
    };
    Buffers &buffers() { return buffers_; }

private:
    struct Registration {
        ServedSubtree subtree;
        netsnmp_handler_registration_s *reg = nullptr;
        std::unique_ptr<Context> context;
    };

    void Replan();
    bool Register(const ServedSubtree &subtree);

    Engine engine_;
    Buffers buffers_;
    bool attached_ = false;
    std::vector<std::unique_ptr<MibTree>> trees_;  // in registration order
    std::vector<Registration> registrations_;
};

}  // namespace lldpv2agent
