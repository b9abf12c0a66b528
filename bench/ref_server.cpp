// The reference server of the SNMP benchmark: net-snmp alone, answering from
// memory the varbinds another agent served.
//
//   snmp_ref_server --record TARGET --subtree OID --listen ENDPOINT [--community C]
//
// It first walks OID on TARGET (get-bulk, 50 repetitions, SNMPv2c) and keeps
// every varbind in a table sorted by OID, then serves that table as a
// standalone net-snmp agent on ENDPOINT (e.g. udp:127.0.0.1:1162) through one
// handler registered at OID: a get is a binary search, a get-next the entry
// after the asked OID. It prints "ready N" (N varbinds) on standard output
// once it answers, and runs until SIGTERM or SIGINT.
#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>
#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <signal.h>
#include <sys/stat.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

struct Entry {
    std::vector<oid> name;
    u_char type = 0;
    std::vector<u_char> value;
};

std::vector<Entry> g_table;  // sorted by name
volatile std::sig_atomic_t g_stop = 0;

void OnSignal(int) { g_stop = 1; }

bool Less(const Entry &e, const oid *name, size_t len) {
    return snmp_oid_compare(e.name.data(), e.name.size(), name, len) < 0;
}

bool ParseOid(const std::string &text, std::vector<oid> &out) {
    oid buf[MAX_OID_LEN];
    size_t len = MAX_OID_LEN;
    if (read_objid(text.c_str(), buf, &len) == 0) return false;
    out.assign(buf, buf + len);
    return true;
}

// Walks subtree on target and fills g_table.
bool Record(const std::string &target, const std::string &community, const std::vector<oid> &subtree) {
    netsnmp_session s;
    snmp_sess_init(&s);
    s.peername = const_cast<char *>(target.c_str());
    s.version = SNMP_VERSION_2c;
    s.community = reinterpret_cast<u_char *>(const_cast<char *>(community.c_str()));
    s.community_len = community.size();
    s.timeout = 60L * 1000000L;
    s.retries = 0;
    netsnmp_session *ss = snmp_open(&s);
    if (ss == nullptr) {
        snmp_sess_perror("snmp_ref_server: open", &s);
        return false;
    }
    std::vector<oid> at = subtree;
    bool ok = true;
    for (bool more = true; more;) {
        netsnmp_pdu *pdu = snmp_pdu_create(SNMP_MSG_GETBULK);
        pdu->non_repeaters = 0;
        pdu->max_repetitions = 50;
        snmp_add_null_var(pdu, at.data(), at.size());
        netsnmp_pdu *response = nullptr;
        int status = snmp_synch_response(ss, pdu, &response);
        if (status != STAT_SUCCESS || response == nullptr || response->errstat != SNMP_ERR_NOERROR) {
            std::fprintf(stderr, "snmp_ref_server: the walk of %s failed\n", target.c_str());
            if (response != nullptr) snmp_free_pdu(response);
            ok = false;
            break;
        }
        more = false;
        for (netsnmp_variable_list *vb = response->variables; vb != nullptr; vb = vb->next_variable) {
            if (vb->type == SNMP_ENDOFMIBVIEW || vb->type == SNMP_NOSUCHOBJECT || vb->type == SNMP_NOSUCHINSTANCE ||
                vb->name_length < subtree.size() ||
                snmp_oid_compare(vb->name, subtree.size(), subtree.data(), subtree.size()) != 0) {
                more = false;
                break;
            }
            Entry e;
            e.name.assign(vb->name, vb->name + vb->name_length);
            e.type = vb->type;
            const auto *bytes = static_cast<const u_char *>(static_cast<const void *>(vb->val.string));
            if (bytes != nullptr) e.value.assign(bytes, bytes + vb->val_len);
            if (!g_table.empty() && !Less(g_table.back(), e.name.data(), e.name.size())) {
                std::fprintf(stderr, "snmp_ref_server: the walk of %s does not increase\n", target.c_str());
                ok = false;
                break;
            }
            at = e.name;
            g_table.push_back(std::move(e));
            more = true;
        }
        snmp_free_pdu(response);
        if (!ok) break;
    }
    snmp_close(ss);
    return ok;
}

void Answer(netsnmp_variable_list *vb, const Entry &e) {
    snmp_set_var_typed_value(vb, e.type, e.value.data(), e.value.size());
}

int Handle(netsnmp_mib_handler *, netsnmp_handler_registration *, netsnmp_agent_request_info *reqinfo,
           netsnmp_request_info *requests) {
    for (netsnmp_request_info *r = requests; r != nullptr; r = r->next) {
        if (r->processed) continue;
        netsnmp_variable_list *vb = r->requestvb;
        auto it = std::lower_bound(g_table.begin(), g_table.end(), vb,
                                   [](const Entry &e, const netsnmp_variable_list *v) {
                                       return Less(e, v->name, v->name_length);
                                   });
        const bool exact = it != g_table.end() &&
                           snmp_oid_compare(it->name.data(), it->name.size(), vb->name, vb->name_length) == 0;
        switch (reqinfo->mode) {
            case MODE_GET:
                if (exact) {
                    Answer(vb, *it);
                } else {
                    netsnmp_set_request_error(reqinfo, r, SNMP_NOSUCHINSTANCE);
                }
                break;
            case MODE_GETNEXT:
                if (exact && r->inclusive == 0) ++it;
                if (it != g_table.end() &&
                    (r->range_end == nullptr ||
                     snmp_oid_compare(it->name.data(), it->name.size(), r->range_end, r->range_end_len) < 0)) {
                    snmp_set_var_objid(vb, it->name.data(), it->name.size());
                    Answer(vb, *it);
                }
                break;
            default:
                netsnmp_set_request_error(reqinfo, r, SNMP_ERR_NOTWRITABLE);
                break;
        }
    }
    return SNMP_ERR_NOERROR;
}

int Usage() {
    std::fprintf(stderr,
                 "usage: snmp_ref_server --record TARGET --subtree OID --listen ENDPOINT [--community C]\n");
    return 2;
}

}  // namespace

int main(int argc, char **argv) {
    std::string target, subtreeText, listen, community = "public";
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string arg = argv[i];
        if (arg == "--record") target = argv[i + 1];
        else if (arg == "--subtree") subtreeText = argv[i + 1];
        else if (arg == "--listen") listen = argv[i + 1];
        else if (arg == "--community") community = argv[i + 1];
        else return Usage();
    }
    if (argc % 2 != 1 || target.empty() || subtreeText.empty() || listen.empty()) return Usage();

    // Configuration only from a private directory: one read-only community.
    char dirTemplate[] = "/tmp/snmp_ref_server.XXXXXX";
    if (mkdtemp(dirTemplate) == nullptr) {
        std::perror("snmp_ref_server: mkdtemp");
        return 1;
    }
    const std::string dir = dirTemplate;
    // net-snmp keeps its certificate index here; made now so that it does
    // not announce creating it.
    mkdir((dir + "/cert_indexes").c_str(), 0700);
    {
        std::ofstream conf(dir + "/snmp_ref_server.conf");
        conf << "rocommunity " << community << " default\n";
    }
    setenv("MIBS", "", 1);
    setenv("MIBDIRS", dir.c_str(), 1);
    setenv("SNMPCONFPATH", dir.c_str(), 1);
    unsetenv("SNMP_PERSISTENT_DIR");
    netsnmp_ds_set_string(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_CONFIGURATION_DIR, dir.c_str());
    netsnmp_ds_set_string(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_PERSISTENT_DIR, dir.c_str());
    netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DISABLE_PERSISTENT_LOAD, 1);
    netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DISABLE_PERSISTENT_SAVE, 1);
    netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_ROLE, 0);
    netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_AGENTX_MASTER, 0);
    netsnmp_ds_set_string(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_PORTS, listen.c_str());
    char noSmux[] = "-smux";
    add_to_init_list(noSmux);
    snmp_disable_log();
    snmp_enable_stderrlog();

    int status = 0;
    std::vector<oid> subtree;
    if (init_agent("snmp_ref_server") != 0) {
        std::fprintf(stderr, "snmp_ref_server: init_agent failed\n");
        status = 1;
    } else {
        init_snmp("snmp_ref_server");
        if (!ParseOid(subtreeText, subtree)) {
            std::fprintf(stderr, "snmp_ref_server: bad OID %s\n", subtreeText.c_str());
            status = 2;
        } else if (!Record(target, community, subtree) || g_table.empty()) {
            std::fprintf(stderr, "snmp_ref_server: nothing recorded from %s\n", target.c_str());
            status = 1;
        } else if (init_master_agent() != 0) {
            std::fprintf(stderr, "snmp_ref_server: cannot listen on %s\n", listen.c_str());
            status = 1;
        } else {
            netsnmp_handler_registration *reg = netsnmp_create_handler_registration(
                "snmp_ref_server", Handle, subtree.data(), subtree.size(), HANDLER_CAN_RONLY);
            if (reg == nullptr || netsnmp_register_handler(reg) != MIB_REGISTERED_OK) {
                std::fprintf(stderr, "snmp_ref_server: cannot register %s\n", subtreeText.c_str());
                status = 1;
            } else {
                std::signal(SIGTERM, OnSignal);
                std::signal(SIGINT, OnSignal);
                std::printf("ready %zu\n", g_table.size());
                std::fflush(stdout);
                while (g_stop == 0) agent_check_and_process(1);
            }
        }
        snmp_shutdown("snmp_ref_server");
    }
    std::error_code ec;
    std::filesystem::remove_all(dir, ec);
    return status;
}
