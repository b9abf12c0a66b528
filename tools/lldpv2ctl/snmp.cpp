#include "snmp.h"

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>

namespace lldpv2ctl {

namespace {

// Frees a PDU the library handed over.
struct PduDeleter {
    void operator()(netsnmp_pdu *pdu) const { snmp_free_pdu(pdu); }
};
using PduPtr = std::unique_ptr<netsnmp_pdu, PduDeleter>;

VarBind Convert(const netsnmp_variable_list *v) {
    VarBind vb;
    vb.name.assign(v->name, v->name + v->name_length);
    vb.type = v->type;
    switch (v->type) {
        case ASN_INTEGER:
            vb.number = *v->val.integer;
            break;
        case ASN_COUNTER:
        case ASN_GAUGE:
        case ASN_TIMETICKS:
            vb.number = static_cast<int64_t>(static_cast<uint32_t>(*v->val.integer));
            break;
        case ASN_COUNTER64:
            vb.number = static_cast<int64_t>((static_cast<uint64_t>(v->val.counter64->high) << 32) |
                                             v->val.counter64->low);
            break;
        case ASN_OCTET_STR:
        case ASN_IPADDRESS:
        case ASN_OPAQUE:
            if (v->val.string != nullptr) vb.bytes.assign(reinterpret_cast<const char *>(v->val.string), v->val_len);
            break;
        case ASN_OBJECT_ID:
            vb.oid.assign(v->val.objid, v->val.objid + v->val_len / sizeof(oid));
            break;
        default:
            break;
    }
    return vb;
}

}  // namespace

NetSnmpTransport::NetSnmpTransport(snmp_session *settings) {
    v1_ = settings->version == SNMP_VERSION_1;
    session_ = snmp_sess_open(settings);
    if (session_ == nullptr) {
        int liberr = 0, syserr = 0;
        char *text = nullptr;
        snmp_error(settings, &syserr, &liberr, &text);
        std::string message = text != nullptr ? text : "cannot open the session";
        free(text);
        // SNMPv3 engine discovery that got no answer.
        if (liberr == SNMPERR_TIMEOUT) throw SnmpError(SnmpError::Kind::Timeout, message);
        throw SnmpError(SnmpError::Kind::Error, message);
    }
}

NetSnmpTransport::~NetSnmpTransport() {
    if (session_ != nullptr) snmp_sess_close(session_);
}

Response NetSnmpTransport::Get(const std::vector<Oid> &oids) { return Send(SNMP_MSG_GET, oids, 0); }

Response NetSnmpTransport::GetNext(const std::vector<Oid> &oids) { return Send(SNMP_MSG_GETNEXT, oids, 0); }

Response NetSnmpTransport::GetBulk(const std::vector<Oid> &oids, int maxRepetitions) {
    return Send(SNMP_MSG_GETBULK, oids, maxRepetitions);
}

Response NetSnmpTransport::Send(int command, const std::vector<Oid> &oids, int maxRepetitions) {
    netsnmp_pdu *request = snmp_pdu_create(command);
    if (command == SNMP_MSG_GETBULK) {
        request->non_repeaters = 0;
        request->max_repetitions = maxRepetitions;
    }
    for (const Oid &o : oids) snmp_add_null_var(request, o.data(), o.size());
    ++requests_;
    netsnmp_pdu *raw = nullptr;
    const int status = snmp_sess_synch_response(session_, request, &raw);  // frees the request
    PduPtr response(raw);
    if (status == STAT_TIMEOUT) throw SnmpError(SnmpError::Kind::Timeout, "timeout");
    if (status != STAT_SUCCESS || !response) {
        int liberr = 0, syserr = 0;
        char *text = nullptr;
        snmp_sess_error(session_, &syserr, &liberr, &text);
        std::string message = text != nullptr ? text : "request failed";
        free(text);
        if (liberr == SNMPERR_TIMEOUT) throw SnmpError(SnmpError::Kind::Timeout, "timeout");
        throw SnmpError(SnmpError::Kind::Error, message);
    }
    Response out;
    out.errorStatus = response->errstat;
    out.errorIndex = response->errindex;
    for (netsnmp_variable_list *v = response->variables; v != nullptr; v = v->next_variable) {
        out.varbinds.push_back(Convert(v));
    }
    return out;
}

}  // namespace lldpv2ctl
