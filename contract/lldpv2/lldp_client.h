/* LLDP client library: the queries and writes of the switch's LLDP daemons,
 * the parsers of the daemon's buffers, the TLV list manager and the TLV
 * codecs of the basic, IEEE 802.1 and IEEE 802.3 TLV families.
 *
 * Multi-byte fields of daemon records are in host order unless the record's
 * comment says network order. */
#ifndef LLDPV2_CONTRACT_LLDP_CLIENT_H
#define LLDPV2_CONTRACT_LLDP_CLIENT_H

#include "lldpv2/types.h"

LLDPV2_EXTERN_C_BEGIN

/* ------------------------------------------------------------------ */
/* Service state                                                       */

/* 1 when the named service runs on the unit. */
uint16_t LLDP_util_IsServiceStarted(uint16_t unit, const char *service, uint32_t flags);
/* The first agent (destination-address index) LLDP uses on an interface. */
uint32_t LLDP_util_SetIfFirstAgentID(uint32_t ifIndex);

/* ------------------------------------------------------------------ */
/* Keys                                                                */

/* Time mark, port, agent, remote index: the key of a neighbour. */
typedef struct LLDP_TFAI_S {
    uint32_t timeMark;
    uint32_t ifIndex;
    uint32_t agent;
    uint32_t remIndex;
} LLDP_TFAI_S;
LLDPV2_ASSERT_SIZE(LLDP_TFAI_S, 16);

/* Management address key. */
#define LLDP_MANADDR_CAPACITY 32
typedef struct LLDP_MANADDR_KEY_S {
    uint32_t subtype;
    uint8_t addr[LLDP_MANADDR_CAPACITY];
    uint32_t len;
} LLDP_MANADDR_KEY_S;
LLDPV2_ASSERT_SIZE(LLDP_MANADDR_KEY_S, 40);

/* Sub-index of an organizationally defined TLV. */
typedef struct LLDP_ORGDEF_SUBINDEX_S {
    uint8_t oui[4];
    uint32_t ouiLen;
    uint32_t subtype;
    uint32_t index;
} LLDP_ORGDEF_SUBINDEX_S;
LLDPV2_ASSERT_SIZE(LLDP_ORGDEF_SUBINDEX_S, 16);

/* Index parameter of the daemon's keyed queries (LLDP_mor_Get with an index,
 * LLDP_mor_MibGetNext). Made with LLDP_mor_InitIndexPara. The caller fills
 * the key fields its item uses; the daemon rewrites them to the key of the
 * entry it returns. Numbers marked (n) travel in network order. */
typedef struct LLDP_INDEX_PARA_S {
    uint32_t selector;       /* which table or column of the item */
    uint32_t ifIndex;        /* (n) */
    uint32_t index2;         /* (n) second index: agent, VLAN, class, priority, selector */
    uint32_t index3;         /* (n) third index: application protocol */
    LLDP_TFAI_S tfai;        /* host order */
    LLDP_MANADDR_KEY_S manAddr;         /* subtype and len (n) */
    uint32_t tlvType;                   /* (n) unknown-TLV sub-index */
    LLDP_ORGDEF_SUBINDEX_S orgDef;      /* ouiLen, subtype, index (n) */
} LLDP_INDEX_PARA_S;
LLDPV2_ASSERT_OFFSET(LLDP_INDEX_PARA_S, tfai, 16);
LLDPV2_ASSERT_OFFSET(LLDP_INDEX_PARA_S, manAddr, 32);
LLDPV2_ASSERT_OFFSET(LLDP_INDEX_PARA_S, tlvType, 72);
LLDPV2_ASSERT_OFFSET(LLDP_INDEX_PARA_S, orgDef, 76);
LLDPV2_ASSERT_SIZE(LLDP_INDEX_PARA_S, 92);

void LLDP_mor_InitIndexPara(LLDP_INDEX_PARA_S *para);

/* ------------------------------------------------------------------ */
/* Daemon queries                                                      */

/* Selector of the local management address query (item 13). */
enum { LLDP_LOCMANADDR_BY_KEY = 2 };

/* Items of LLDP_mor_MibGet / LLDP_mor_Get / LLDP_mor_MibGetNext. */
enum {
    LLDP_ITEM_IF_STATUS = 1,      /* per (port, agent): interface status buffer */
    LLDP_ITEM_IF_STATS = 2,       /* per (port, agent): interface statistics buffer */
    LLDP_ITEM_LOC_PORT = 3,       /* per port: the local LLDPDU, 4-byte header then TLVs */
    LLDP_ITEM_TLV_CFG = 5,        /* per (port, agent): TLV transmit configuration buffer */
    LLDP_ITEM_GLOBAL_CFG = 8,     /* global configuration buffer */
    LLDP_ITEM_GLOBAL_STATS = 9,   /* per node: remote-table statistics buffer */
    LLDP_ITEM_LOC_SYSTEM = 10,    /* local system information buffer */
    LLDP_ITEM_LOC_MANADDR = 13,   /* per node: local management address record */
    LLDP_ITEM_DOT1_LOC = 19,      /* get-next: local dot1 data of a node */
    LLDP_ITEM_REM_SUBTABLE = 21,  /* get-next: remote sub-table entries of a node */
    LLDP_ITEM_DCBX_ADMIN = 23,    /* per port: DCBX admin record; get-next: admin rows */
    LLDP_ITEM_DCBX_LOC = 24,      /* get-next: local DCBX rows of a node */
    LLDP_ITEM_MANADDR_TX = 25     /* get-next: management-address transmit entries */
};

/* Selectors of the local 802.1 get-next (item 19). */
enum {
    LLDP_DOT1LOC_PORT_VLAN = 1,
    LLDP_DOT1LOC_PROTO_VLAN = 2,   /* by PPVID */
    LLDP_DOT1LOC_VLAN_NAME = 3,    /* by VLAN id */
    LLDP_DOT1LOC_MAN_VID = 4,
    LLDP_DOT1LOC_LINK_AGG = 5
};

/* Selectors of the local DCBX get-next (item 24): one per column of a basic
 * row, or one per per-class or per-priority table. */
enum {
    LLDP_DCBXLOC_ETS_CBS = 0,
    LLDP_DCBXLOC_ETS_TCS = 1,
    LLDP_DCBXLOC_ETS_WILLING = 2,
    LLDP_DCBXLOC_ETS_PRIORITY = 3,
    LLDP_DCBXLOC_ETS_BANDWIDTH = 4,
    LLDP_DCBXLOC_ETS_TSA = 5,
    LLDP_DCBXLOC_RECO_BANDWIDTH = 6,
    LLDP_DCBXLOC_RECO_TSA = 7,
    LLDP_DCBXLOC_PFC_WILLING = 8,
    LLDP_DCBXLOC_PFC_MBC = 9,
    LLDP_DCBXLOC_PFC_CAP = 10,
    LLDP_DCBXLOC_PFC_ENABLE = 11,
    LLDP_DCBXLOC_APP_PRIORITY = 12
};

/* Selectors of the DCBX admin get-next (item 23): whole basic rows, or one
 * per per-class or per-priority table. */
enum {
    LLDP_DCBXADM_ETS_BASIC = 0,
    LLDP_DCBXADM_ETS_PRIORITY = 1,
    LLDP_DCBXADM_ETS_BANDWIDTH = 2,
    LLDP_DCBXADM_ETS_TSA = 3,
    LLDP_DCBXADM_RECO_BANDWIDTH = 4,
    LLDP_DCBXADM_RECO_TSA = 5,
    LLDP_DCBXADM_PFC_BASIC = 6,
    LLDP_DCBXADM_PFC_ENABLE = 7,
    LLDP_DCBXADM_APP_PRIORITY = 8
};

/* The fourth argument of LLDP_mor_Get: a node id, or this value to ask the
 * node that owns the interface. */
#define LLDP_NODE_OF_IFINDEX 0x8000u

/* Copies the daemon's answer for (ifIndex, agent, item) into buf (at most
 * capacity bytes) and sets *len. 0 on success, else a daemon error. */
uint32_t LLDP_mor_MibGet(uint32_t ifIndex, uint32_t agent, uint32_t item, uint32_t capacity, void *buf,
                         uint16_t *len);
/* Like LLDP_mor_MibGet on a chosen node, with an optional index parameter;
 * *len gives the capacity on entry and the answer's length on return. */
uint32_t LLDP_mor_Get(uint32_t ifIndex, uint32_t agent, uint32_t item, uint32_t node, LLDP_INDEX_PARA_S *para,
                      uint16_t *len, void *buf);
/* Get-next on one node: the entry of item after the key in para. *len gives
 * the expected result size on entry; on success para holds the key found and
 * *len the result length (0: the node has no further entry). */
uint32_t LLDP_mor_MibGetNext(uint32_t reserved, uint32_t item, uint16_t node, LLDP_INDEX_PARA_S *para,
                             uint16_t *len, void *result);
/* Kinds of LLDP_mor_V2MibGetNextLocTable. */
enum {
    LLDP_LOC_KIND_ANY = 0,
    LLDP_LOC_KIND_MAC_PHY = 1,
    LLDP_LOC_KIND_POWER = 2,
    LLDP_LOC_KIND_MAX_FRAME = 3
};
/* The next local port row after *ifIndex with local data of the given kind;
 * rewrites *ifIndex and fills buf with that port's local LLDPDU. */
uint32_t LLDP_mor_V2MibGetNextLocTable(uint32_t kind, uint32_t capacity, uint32_t *ifIndex, void *buf,
                                       uint16_t *len);

/* The stored LLDPDU information of one neighbour: a 1-byte header, then TLVs. */
uint32_t LLDP_mor_GetRemTableByTFAI(const LLDP_TFAI_S *tfai, uint32_t capacity, void *buf, uint16_t *len);
/* The same by time mark, port and agent alone: the first neighbour of the
 * (port, agent) changed at or after the time mark. */
uint32_t LLDP_mor_GetRemTableByTFA(const LLDP_TFAI_S *tfai, uint32_t capacity, void *buf, uint16_t *len);

/* Kinds of LLDP_mor_GetNextRemTableByTFAI. */
enum {
    LLDP_REM_KIND_SYSTEM = 0,         /* LLDP_REM_SYSTEM_S, network order */
    LLDP_REM_KIND_PORT_VLAN = 4,      /* 16-bit port VLAN id (n) */
    LLDP_REM_KIND_LINK_AGG = 8,       /* status octet, 32-bit port id (n) */
    LLDP_REM_KIND_MAC_PHY = 9,        /* octet, 16-bit capability (n), 16-bit MAU type (n) */
    LLDP_REM_KIND_POWER = 10,         /* 3 octets used of 8 */
    LLDP_REM_KIND_MAX_FRAME = 11,     /* 16-bit size (n) */
    LLDP_REM_KIND_ETS_CBS = 12,       /* 32-bit values (n) from here on */
    LLDP_REM_KIND_ETS_TCS = 13,
    LLDP_REM_KIND_ETS_WILLING = 14,
    LLDP_REM_KIND_PFC_WILLING = 20,
    LLDP_REM_KIND_PFC_MBC = 21,
    LLDP_REM_KIND_PFC_CAP = 22
};
/* The next neighbour after *tfai that carries the data of kind; rewrites
 * *tfai and fills resultLen bytes of result. A non-zero status also marks
 * the end of the table. */
uint32_t LLDP_mor_GetNextRemTableByTFAI(uint32_t kind, uint32_t resultLen, LLDP_TFAI_S *tfai, void *result);
/* A remote system record of which only remoteChanges and tooManyNeighbors
 * are filled, in network order. */
uint32_t LLDP_mor_GetRemTableRcAndTmnByTFAI(const LLDP_TFAI_S *tfai, uint32_t capacity, void *record);

/* ------------------------------------------------------------------ */
/* Daemon writes                                                       */

/* Global configuration ids of LLDP_mor_SetGlobalCfg. */
enum {
    LLDP_GLB_TX_INTERVAL = 2,
    LLDP_GLB_HOLD_MULTIPLIER = 3,
    LLDP_GLB_REINIT_DELAY = 4,
    LLDP_GLB_TX_FAST_INIT = 6,
    LLDP_GLB_NOTIFICATION_INTERVAL = 7,
    LLDP_GLB_TX_CREDIT_MAX = 9,
    LLDP_GLB_MSG_FAST_TX = 10
};
uint32_t LLDP_mor_SetGlobalCfg(uint32_t scope, uint32_t id, uint32_t value);

/* Interface configuration items of LLDP_mor_SetIfCfg. For the admin status
 * the value travels in the fifth argument; for the notification switch in
 * the third, with 0xFFFFFFFF in the fifth. */
enum { LLDP_IFCFG_NOTIFICATION = 12, LLDP_IFCFG_ADMIN_STATUS = 15 };
uint32_t LLDP_mor_SetIfCfg(uint32_t ifIndex, uint32_t agent, uint32_t value3, uint32_t item, uint32_t value5);

/* TLV transmit change: request is a 3072-byte block, LLDP_TLV_CFG_REQ_S. */
uint32_t LLDP_mor_SetTlvCfg(uint32_t ifIndex, uint32_t agent, uint32_t enable, const void *request);

/* Management-address transmit entry: operation 1 create, 2 change the
 * transmit flag, 4 destroy, 10 confirm the row. */
enum { LLDP_MANADDR_OP_CREATE = 1, LLDP_MANADDR_OP_CHANGE = 2, LLDP_MANADDR_OP_DESTROY = 4,
       LLDP_MANADDR_OP_CONFIRM = 10 };
uint32_t LLDP_mor_SetV2MibManAddrTlvCfg(uint32_t ifIndex, uint32_t agent, uint16_t txEnable, uint32_t operation,
                                        const void *block);

/* Daemon error codes. */
#define LLDP_ERR_GENERAL 0x40010001u
#define LLDP_ERR_NO_SUCH_ROW 0x40010005u
#define LLDP_ERR_ROW_EXISTS 0x40010006u
#define LLDP_ERR_ROW_NOT_READY 0x4001000Au
#define LLDP_ERR_TABLE_FULL 0x4001000Bu
#define LLDP_ERR_BAD_VALUE 0x40010002u
#define LLDP_ERR_NO_ENTRY 0x40010003u   /* no such or no next entry */

/* Request block of LLDP_mor_SetTlvCfg and LLDP_mor_SetV2MibManAddrTlvCfg. */
#define LLDP_TLV_CFG_REQ_SIZE 3072
typedef struct LLDP_TLV_CFG_REQ_S {
    uint32_t length;    /* 1044 */
    uint32_t mask;      /* TLV bits concerned */
    uint32_t word2;
    uint32_t word3;
    uint8_t reserved[1026];
    uint16_t dataLen;   /* byte 1042: length of the data that follows, or a VLAN marker (2) */
    uint8_t data[LLDP_TLV_CFG_REQ_SIZE - 1044];
} LLDPV2_PACKED LLDP_TLV_CFG_REQ_S;
LLDPV2_ASSERT_OFFSET(LLDP_TLV_CFG_REQ_S, dataLen, 1042);
LLDPV2_ASSERT_OFFSET(LLDP_TLV_CFG_REQ_S, data, 1044);
LLDPV2_ASSERT_SIZE(LLDP_TLV_CFG_REQ_S, 3072);

/* Daemon TLV bit numbers (the transmit mask bit and the entry index of a TLV
 * in the parsed TLV configuration). */
enum {
    LLDP_TLVBIT_PORT_DESC = 3,
    LLDP_TLVBIT_SYS_NAME = 4,
    LLDP_TLVBIT_SYS_DESC = 5,
    LLDP_TLVBIT_SYS_CAP = 6,
    LLDP_TLVBIT_MAN_ADDR = 7,
    LLDP_TLVBIT_PORT_VLAN = 8,
    LLDP_TLVBIT_PROTO_VLAN = 9,
    LLDP_TLVBIT_VLAN_NAME = 10,
    LLDP_TLVBIT_DCBX = 11,
    LLDP_TLVBIT_MAC_PHY = 15,
    LLDP_TLVBIT_POWER = 16,
    LLDP_TLVBIT_LINK_AGG = 17,
    LLDP_TLVBIT_MAX_FRAME = 18,
    LLDP_TLVBIT_MAN_VID = 24
};

/* Management address record (part of the TLV configuration). */
typedef struct LLDP_MANADDR_REC_S {
    uint32_t ipv4;          /* host order, family 0 */
    uint8_t reserved[52];
    uint32_t family;        /* 0 IPv4, 2 IPv6; 1 and 3 also occur */
    uint8_t ipv6[16];
} LLDP_MANADDR_REC_S;
LLDPV2_ASSERT_OFFSET(LLDP_MANADDR_REC_S, family, 56);
LLDPV2_ASSERT_OFFSET(LLDP_MANADDR_REC_S, ipv6, 60);
LLDPV2_ASSERT_SIZE(LLDP_MANADDR_REC_S, 76);

/* ------------------------------------------------------------------ */
/* Buffer parsers                                                      */

/* Parsed global configuration (LLDP_util_CreateFromGBuf). */
typedef struct LLDP_GLOBAL_CFG_S {
    uint16_t txInterval;            /* byte 0 */
    uint16_t txDelay;               /* byte 2 */
    uint16_t notificationInterval;  /* byte 4 */
    uint16_t reinitDelay;           /* byte 6 */
    uint8_t txFastInit;             /* byte 8 */
    uint8_t holdMultiplier;         /* byte 9 */
    uint8_t reserved[4];
    uint8_t txCreditMax;            /* byte 14 */
    uint16_t msgFastTx;             /* byte 15 */
    uint8_t tail[4];
} LLDPV2_PACKED LLDP_GLOBAL_CFG_S;
LLDPV2_ASSERT_OFFSET(LLDP_GLOBAL_CFG_S, notificationInterval, 4);
LLDPV2_ASSERT_OFFSET(LLDP_GLOBAL_CFG_S, reinitDelay, 6);
LLDPV2_ASSERT_OFFSET(LLDP_GLOBAL_CFG_S, txFastInit, 8);
LLDPV2_ASSERT_OFFSET(LLDP_GLOBAL_CFG_S, holdMultiplier, 9);
LLDPV2_ASSERT_OFFSET(LLDP_GLOBAL_CFG_S, txCreditMax, 14);
LLDPV2_ASSERT_OFFSET(LLDP_GLOBAL_CFG_S, msgFastTx, 15);
LLDPV2_ASSERT_SIZE(LLDP_GLOBAL_CFG_S, 21);
uint32_t LLDP_util_CreateFromGBuf(const void *buf, uint16_t len, LLDP_GLOBAL_CFG_S *out);

/* Parsed interface status (LLDP_msg_CreateFromIfStatusBuf). */
typedef struct LLDP_IF_STATUS_S {
    uint8_t reserved0[2];
    uint8_t adminStatus;     /* byte 2: 1 txOnly, 2 rxOnly, 3 txAndRx, else disabled */
    uint8_t reserved1[6];
    uint16_t notification;   /* byte 9: 1 enabled */
    uint8_t reserved2[12];
} LLDPV2_PACKED LLDP_IF_STATUS_S;
LLDPV2_ASSERT_OFFSET(LLDP_IF_STATUS_S, adminStatus, 2);
LLDPV2_ASSERT_OFFSET(LLDP_IF_STATUS_S, notification, 9);
LLDPV2_ASSERT_SIZE(LLDP_IF_STATUS_S, 23);
uint32_t LLDP_msg_CreateFromIfStatusBuf(const void *buf, uint16_t len, LLDP_IF_STATUS_S *out);

/* Parsed TLV transmit configuration (LLDP_util_CreateFromTLVCfgBuf): one
 * 24-byte entry per daemon TLV bit. Released with LLDP_util_ClearTLVCfg. */
#define LLDP_TLV_CFG_ENTRIES 32
typedef struct LLDP_TLV_CFG_ENTRY_S {
    uint16_t enable;     /* 1: the TLV is transmitted (32 bits wide for the DCBX entry) */
    uint16_t hasId;      /* 1: id holds a configured VLAN or protocol VLAN id */
    uint16_t id;
    uint16_t reserved;
    void *data;          /* management address entry: its LLDP_MANADDR_REC_S, or null */
    uint32_t count;
    uint32_t reserved2;
} LLDP_TLV_CFG_ENTRY_S;
LLDPV2_ASSERT_SIZE(LLDP_TLV_CFG_ENTRY_S, 24);
typedef struct LLDP_TLV_CFG_S {
    LLDP_TLV_CFG_ENTRY_S entry[LLDP_TLV_CFG_ENTRIES];
} LLDP_TLV_CFG_S;
LLDPV2_STATIC_ASSERT(offsetof(LLDP_TLV_CFG_S, entry) + LLDP_TLVBIT_DCBX * sizeof(LLDP_TLV_CFG_ENTRY_S) == 264,
                     "the DCBX transmit flag lies at byte 264");
uint32_t LLDP_util_CreateFromTLVCfgBuf(const void *buf, uint16_t len, LLDP_TLV_CFG_S *out);
void LLDP_util_ClearTLVCfg(LLDP_TLV_CFG_S *cfg);

/* Per-node remote-table statistics (LLDP_msg_CreateFromGStatBuf). */
typedef struct LLDP_GLOBAL_STATS_S {
    uint32_t inserts;
    uint32_t deletes;
    uint32_t drops;
    uint32_t ageouts;
    uint32_t lastChangeTime;
} LLDP_GLOBAL_STATS_S;
LLDPV2_ASSERT_SIZE(LLDP_GLOBAL_STATS_S, 20);
uint32_t LLDP_msg_CreateFromGStatBuf(const void *buf, uint16_t len, LLDP_GLOBAL_STATS_S *out);

/* Interface statistics (LLDP_msg_CreateFromIfStatBuf). */
typedef struct LLDP_IF_STATS_S {
    uint32_t framesOut;
    uint32_t framesIn;
    uint32_t framesDiscarded;
    uint32_t framesInError;
    uint32_t tlvsDiscarded;
    uint32_t unused[4];
    uint32_t tlvsUnrecognized;
    uint32_t ageouts;
    uint32_t lengthErrors;
} LLDP_IF_STATS_S;
LLDPV2_ASSERT_OFFSET(LLDP_IF_STATS_S, tlvsUnrecognized, 36);
LLDPV2_ASSERT_OFFSET(LLDP_IF_STATS_S, ageouts, 40);
LLDPV2_ASSERT_OFFSET(LLDP_IF_STATS_S, lengthErrors, 44);
LLDPV2_ASSERT_SIZE(LLDP_IF_STATS_S, 48);
uint32_t LLDP_msg_CreateFromIfStatBuf(const void *buf, uint16_t len, LLDP_IF_STATS_S *out);

/* Local system information (LLDP_util_CreateFromSysInfoBuf). */
typedef struct LLDP_LOC_SYSTEM_S {
    uint16_t capSupported;   /* bit i = capability i */
    uint16_t capEnabled;
    uint8_t reserved[7];
    char sysName[256];
    char sysDesc[256];
    uint8_t chassisIdSubtype;
    uint8_t chassisIdLen;
    uint8_t chassisId[255];
    uint8_t tail[232];
} LLDPV2_PACKED LLDP_LOC_SYSTEM_S;
LLDPV2_ASSERT_OFFSET(LLDP_LOC_SYSTEM_S, sysName, 11);
LLDPV2_ASSERT_OFFSET(LLDP_LOC_SYSTEM_S, chassisIdSubtype, 523);
LLDPV2_ASSERT_SIZE(LLDP_LOC_SYSTEM_S, 1012);
uint32_t LLDP_util_CreateFromSysInfoBuf(const void *buf, uint16_t len, LLDP_LOC_SYSTEM_S *out);

/* Local port record (LLDP_libbasic_LocPortTableBufToData). */
typedef struct LLDP_LOC_PORT_S {
    uint32_t portIdSubtype;
    uint32_t portIdLen;
    uint8_t portId[255];
    char portDesc[257];
} LLDP_LOC_PORT_S;
LLDPV2_ASSERT_SIZE(LLDP_LOC_PORT_S, 520);

/* Local management address record (item 13); the four named 32-bit fields
 * arrive in network order. */
typedef struct LLDP_LOC_MANADDR_S {
    uint32_t addrLen;
    uint32_t ifSubtype;
    uint32_t ifId;
    uint8_t reserved[128];
    uint32_t tail;
} LLDP_LOC_MANADDR_S;
LLDPV2_ASSERT_SIZE(LLDP_LOC_MANADDR_S, 144);

/* Management-address transmit record (item 25 get-next), network order. */
typedef struct LLDP_MANADDR_TX_S {
    uint32_t txEnable;
    uint32_t rowStatus;
} LLDP_MANADDR_TX_S;
LLDPV2_ASSERT_SIZE(LLDP_MANADDR_TX_S, 8);

/* Remote system record. */
typedef struct LLDP_REM_SYSTEM_S {
    uint32_t chassisIdSubtype;
    uint8_t chassisId[256];
    uint32_t chassisIdLen;
    uint32_t portIdSubtype;
    uint8_t portId[256];
    uint32_t portIdLen;
    char portDesc[256];
    char sysName[256];
    char sysDesc[256];
    uint16_t capSupported;
    uint16_t capEnabled;
    uint16_t remoteChanges;
    uint16_t tooManyNeighbors;
    uint16_t lastField;
    uint8_t reserved[2];
} LLDP_REM_SYSTEM_S;
LLDPV2_ASSERT_OFFSET(LLDP_REM_SYSTEM_S, portIdSubtype, 264);
LLDPV2_ASSERT_OFFSET(LLDP_REM_SYSTEM_S, capSupported, 1296);
LLDPV2_ASSERT_SIZE(LLDP_REM_SYSTEM_S, 1308);

/* Selectors of the remote sub-table get-next (item 21): the base sub-tables,
 * the DCBX remote rows and the 802.1 remote lists. Records in network order. */
enum {
    LLDP_REMSUB_MANADDR = 1,
    LLDP_REMSUB_UNKNOWN = 2,
    LLDP_REMSUB_ORGDEF = 3,
    LLDP_REMSUB_ETS_BANDWIDTH = 16,      /* ETS configuration bandwidth by class */
    LLDP_REMSUB_ETS_TSA = 17,            /* ETS configuration TSA by class */
    LLDP_REMSUB_RECO_BANDWIDTH = 18,     /* ETS recommendation bandwidth by class */
    LLDP_REMSUB_RECO_TSA = 19,           /* ETS recommendation TSA by class */
    LLDP_REMSUB_PFC_ENABLE = 20,         /* PFC enable by priority */
    LLDP_REMSUB_ETS_PRIORITY = 21,       /* ETS priority assignment by priority */
    LLDP_REMSUB_APP_PRIORITY = 22,       /* application priority by (selector, protocol) */
    LLDP_REMSUB_PROTO_VLAN = 24,         /* port and protocol VLANs by PPVID */
    LLDP_REMSUB_VLAN_NAME = 25,          /* VLAN names by VLAN id */
    LLDP_REMSUB_PROTOCOL = 26,           /* protocol identities by index from 1 */
    LLDP_REMSUB_VID_USAGE_DIGEST = 27,   /* one per neighbour */
    LLDP_REMSUB_MAN_VID = 28             /* one per neighbour */
};
typedef struct LLDP_REM_MANADDR_REC_S {
    uint32_t ifSubtype;
    uint32_t ifId;
    uint8_t reserved[128];
    uint32_t tail;
} LLDP_REM_MANADDR_REC_S;
LLDPV2_ASSERT_SIZE(LLDP_REM_MANADDR_REC_S, 140);
typedef struct LLDP_REM_UNKNOWN_REC_S {
    uint32_t len;
    uint8_t info[512];
} LLDP_REM_UNKNOWN_REC_S;
LLDPV2_ASSERT_SIZE(LLDP_REM_UNKNOWN_REC_S, 516);
typedef struct LLDP_REM_ORGDEF_REC_S {
    uint32_t len;
    uint8_t info[508];
} LLDP_REM_ORGDEF_REC_S;
LLDPV2_ASSERT_SIZE(LLDP_REM_ORGDEF_REC_S, 512);

/* Address lengths by management address subtype (1: 4, 2: 16). */
extern const uint8_t g_aucManaAddrLen[];

/* ------------------------------------------------------------------ */
/* Comparisons and bit order                                           */

/* Negative when a comes first, 0 when equal, positive otherwise. */
int32_t LLDP_util_CmpTfai(const LLDP_TFAI_S *a, const LLDP_TFAI_S *b);
int32_t LLDP_util_CmpManAddrIndex(const LLDP_MANADDR_KEY_S *a, const LLDP_MANADDR_KEY_S *b);
int32_t LLDP_util_CmpOrgDefSubIndex(const LLDP_ORGDEF_SUBINDEX_S *a, const LLDP_ORGDEF_SUBINDEX_S *b);

/* Reverses the bit order inside each of the first count octets, in place. */
void LLDP_util_Overturn(uint32_t count, uint8_t *bytes);
/* The 16 bits of value in reversed order. */
uint16_t LLDP_util_OverturnS(uint16_t value);
/* *isSet = 1 when bit (0 = least significant of the first octet) is set. */
uint32_t LLDP_util_BitIsSet(const uint8_t *bytes, uint32_t count, uint32_t bit, uint16_t *isSet);

/* Dot1 and dot3 port facts. */
uint16_t LLDP_util_GetMinVlanForPort(uint32_t ifIndex); /* 0xFFFF when none */
uint16_t LLDP_util_GetPortPVId(uint32_t ifIndex);
uint32_t LLDP_util_GetValidProtoVlanValid(uint8_t flags, uint16_t *supported, uint16_t *enabled);
uint16_t LLDP_util_IsDot3ValidIfIndex(uint32_t ifIndex);
uint16_t LLDP_util_IsDot3SupportLldp(uint32_t ifIndex);

/* ------------------------------------------------------------------ */
/* TLV list manager                                                    */

typedef struct LLDP_TLV_NODE_S {
    struct LLDP_TLV_NODE_S *next;
    uint16_t type;
    uint16_t len;
    const uint8_t *value; /* points into the split buffer */
} LLDP_TLV_NODE_S;

/* A list head kept by the caller; the nodes belong to the manager. */
typedef struct LLDP_TLV_LIST_S {
    LLDP_TLV_NODE_S *head;
    LLDP_TLV_NODE_S *tail;
    uint32_t count;
} LLDP_TLV_LIST_S;

uint32_t LLDP_tlvmng_Init(void);
uint32_t LLDP_tlvmng_Exit(void);
/* Parses consecutive TLVs of buf into list (which it resets first). */
uint32_t LLDP_tlvmng_SplitTLV(const uint8_t *buf, uint16_t len, LLDP_TLV_LIST_S *list);
uint32_t LLDP_tlvmng_FreeNbTLVNode(LLDP_TLV_LIST_S *list);

/* ------------------------------------------------------------------ */
/* TLV codecs                                                          */

uint32_t LLDP_libbasic_Reg(void);
uint32_t LLDP_libbasic_UnReg(void);
uint32_t LLDP_libdot1_Reg(void);
uint32_t LLDP_libdot1_UnReg(void);
uint32_t LLDP_libdot3_Reg(void);
uint32_t LLDP_libdot3_UnReg(void);
uint32_t LLDP_libDcbx_Reg(void);
uint32_t LLDP_libDcbx_UnReg(void);

/* Basic family. */
uint32_t LLDP_libbasic_LocPortTableBufToData(const LLDP_TLV_LIST_S *list, LLDP_LOC_PORT_S *out);
uint32_t LLDP_libbasic_V2RemTableBufToData(const LLDP_TLV_LIST_S *list, LLDP_REM_SYSTEM_S *out);

/* Decoded remote management addresses: 25 slots, each the head of a list. */
#define LLDP_MANADDR_SLOTS 25
typedef struct LLDP_REM_MANADDR_S {
    struct LLDP_REM_MANADDR_S *next;
    uint32_t ifId;
    uint16_t subtype;
    uint8_t addrLen;
    uint8_t addr[31];
    uint8_t ifSubtype;
} LLDP_REM_MANADDR_S;
typedef struct LLDP_REM_MANADDR_DATA_S {
    LLDP_REM_MANADDR_S *slot[LLDP_MANADDR_SLOTS];
} LLDP_REM_MANADDR_DATA_S;
/* Null when the list holds no management address. */
LLDP_REM_MANADDR_DATA_S *LLDP_libbasic_ManAddrTLVBufToData(const LLDP_TLV_LIST_S *list, uint8_t header);
void LLDP_libbasic_FreeManAddrTLVData(LLDP_REM_MANADDR_DATA_S *data);

typedef struct LLDP_UNKNOWN_TLV_S {
    struct LLDP_UNKNOWN_TLV_S *next;
    uint16_t type;
    uint16_t len;
    uint8_t info[512];
} LLDP_UNKNOWN_TLV_S;
typedef struct LLDP_ORGDEF_TLV_S {
    struct LLDP_ORGDEF_TLV_S *next;
    uint8_t oui[3];
    uint8_t subtype;
    uint32_t index;   /* 1 for the first TLV of an (OUI, subtype), then 2, ... */
    uint16_t len;
    uint8_t info[512];
} LLDP_ORGDEF_TLV_S;
typedef void (*LLDP_TLV_NODE_FREE_PF)(void *node);
/* Collects the TLVs the basic codec does not decode: organizationally
 * specific ones into *orgDef and the rest into *unknown (either may be null).
 * 0 on success. */
uint32_t LLDP_libbasic_ParseUnknownTLV(const LLDP_TLV_LIST_S *list, LLDP_ORGDEF_TLV_S **orgDef,
                                       LLDP_UNKNOWN_TLV_S **unknown);
uint32_t LLDP_libbasic_FreeUnknownTLV(void *head, LLDP_TLV_NODE_FREE_PF freeNode);
void LLDP_tlv_FreeOrgUnknownNode(void *node);
void LLDP_tlv_FreeBasicUnknownNode(void *node);

/* IEEE 802.1 family. */
typedef struct LLDP_VLAN_NAME_S {
    struct LLDP_VLAN_NAME_S *next;
    uint16_t vlanId;
    uint8_t nameLen;
    uint8_t name[32];
} LLDP_VLAN_NAME_S;
typedef struct LLDP_PPVID_S {
    struct LLDP_PPVID_S *next;
    uint8_t flags;
    uint16_t ppvid;
} LLDPV2_PACKED LLDP_PPVID_S;
LLDPV2_ASSERT_OFFSET(LLDP_PPVID_S, ppvid, sizeof(void *) + 1);
typedef struct LLDP_PROTOCOL_ID_S {
    struct LLDP_PROTOCOL_ID_S *next;
    uint8_t len;
    uint8_t id[255];
} LLDP_PROTOCOL_ID_S;
typedef struct LLDP_LINK_AGG_S {
    uint8_t status;    /* TLV bit order */
    uint32_t portId;
} LLDPV2_PACKED LLDP_LINK_AGG_S;
LLDPV2_ASSERT_SIZE(LLDP_LINK_AGG_S, 5);

uint32_t LLDP_libdot1_PortVlanIdBufToData(const LLDP_TLV_LIST_S *list, uint16_t *pvid);
uint32_t LLDP_libdot1_ManVlanIdBufToData(const LLDP_TLV_LIST_S *list, uint16_t *vid);
uint32_t LLDP_libdot1_VlanNameBufToData(const LLDP_TLV_LIST_S *list, LLDP_VLAN_NAME_S **out);
void LLDP_libdot1_FreeVlanNameData(LLDP_VLAN_NAME_S *head);
uint32_t LLDP_libdot1_PPVlanIdBufToData(const LLDP_TLV_LIST_S *list, LLDP_PPVID_S **out);
void LLDP_libdot1_FreePPVlanIdData(LLDP_PPVID_S *head);
uint32_t LLDP_libdot1_ProtocolIdBufToData(const LLDP_TLV_LIST_S *list, LLDP_PROTOCOL_ID_S **out);
void LLDP_libdot1_FreeProtocolIdData(LLDP_PROTOCOL_ID_S *head);
uint32_t LLDP_libdot1_VidUsageBufToData(const LLDP_TLV_LIST_S *list, uint8_t digest[4]);
uint32_t LLDP_libdot1_LinkAggBufToData(const LLDP_TLV_LIST_S *list, LLDP_LINK_AGG_S *out);

/* IEEE 802.3 family. */
typedef struct LLDP_MAC_PHY_S {
    uint8_t autoNeg;        /* bit 0 supported, bit 1 enabled */
    uint16_t advertisedCap;
    uint16_t operMauType;
} LLDPV2_PACKED LLDP_MAC_PHY_S;
LLDPV2_ASSERT_SIZE(LLDP_MAC_PHY_S, 5);
typedef struct LLDP_POWER_MDI_S {
    uint8_t support;        /* bit 0 PSE, 1 supported, 2 enabled, 3 pairs controllable */
    uint8_t pairs;
    uint8_t powerClass;
} LLDP_POWER_MDI_S;
LLDPV2_ASSERT_SIZE(LLDP_POWER_MDI_S, 3);
uint32_t LLDP_libdot3_MacPhysicBufToData(const LLDP_TLV_LIST_S *list, LLDP_MAC_PHY_S *out);
uint32_t LLDP_libdot3_PowerMDIBufToData(const LLDP_TLV_LIST_S *list, LLDP_POWER_MDI_S *out);
uint32_t LLDP_libdot3_MaxFrameSizeBufToData(const LLDP_TLV_LIST_S *list, uint16_t *size);

LLDPV2_EXTERN_C_END

#endif
