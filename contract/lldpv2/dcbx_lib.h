/* DCBX decoding library: reads the DCBX TLVs (IEEE 802.1Q) out of a TLV list,
 * and the layout of the daemon's per-port DCBX admin record. */
#ifndef LLDPV2_CONTRACT_DCBX_LIB_H
#define LLDPV2_CONTRACT_DCBX_LIB_H

#include "lldpv2/lldp_client.h"

LLDPV2_EXTERN_C_BEGIN

/* ETS configuration or recommendation data. The first eight bytes are the
 * ETS basic record. */
typedef struct DCBX_ETS_DATA_S {
    uint8_t cbs;              /* credit-based shaper support */
    uint8_t willing;
    uint8_t tcs;              /* traffic classes supported, 0 meaning 8 */
    uint8_t reserved0;
    uint16_t cbsPresent;
    uint16_t tcsPresent;
    uint8_t priorityTc[8];    /* traffic class of each priority */
    uint8_t reserved1[8];
    uint8_t bandwidth[8];     /* per traffic class */
    uint8_t tsa[8];           /* per traffic class */
} DCBX_ETS_DATA_S;
LLDPV2_ASSERT_OFFSET(DCBX_ETS_DATA_S, cbsPresent, 4);
LLDPV2_ASSERT_OFFSET(DCBX_ETS_DATA_S, tcsPresent, 6);
LLDPV2_ASSERT_OFFSET(DCBX_ETS_DATA_S, priorityTc, 8);
LLDPV2_ASSERT_OFFSET(DCBX_ETS_DATA_S, bandwidth, 24);
LLDPV2_ASSERT_SIZE(DCBX_ETS_DATA_S, 40);

typedef struct DCBX_TSA_DATA_S {
    uint8_t tsa[8];
} DCBX_TSA_DATA_S;

typedef struct DCBX_PFC_DATA_S {
    uint8_t willing;
    uint8_t mbc;
    uint8_t cap;
    uint8_t reserved0;
    uint16_t mbcPresent;
    uint16_t capPresent;
    uint8_t reserved1;
    uint8_t enable[8];        /* per priority, 1 enabled */
    uint8_t reserved2[3];
} DCBX_PFC_DATA_S;
LLDPV2_ASSERT_OFFSET(DCBX_PFC_DATA_S, mbcPresent, 4);
LLDPV2_ASSERT_OFFSET(DCBX_PFC_DATA_S, capPresent, 6);
LLDPV2_ASSERT_OFFSET(DCBX_PFC_DATA_S, enable, 9);
LLDPV2_ASSERT_SIZE(DCBX_PFC_DATA_S, 20);

#define DCBX_APP_MAX 168
typedef struct DCBX_APP_ENTRY_S {
    uint16_t protocol;
    uint8_t priority;
    uint8_t selector;
} DCBX_APP_ENTRY_S;
LLDPV2_ASSERT_SIZE(DCBX_APP_ENTRY_S, 4);
typedef struct DCBX_APP_DATA_S {
    DCBX_APP_ENTRY_S entry[DCBX_APP_MAX];
    uint32_t count;
} DCBX_APP_DATA_S;
LLDPV2_ASSERT_OFFSET(DCBX_APP_DATA_S, count, 672);
LLDPV2_ASSERT_SIZE(DCBX_APP_DATA_S, 676);

/* The daemon's DCBX admin record of a port (item 23), at least 732 bytes;
 * multi-byte fields in network order. */
#define DCBX_ADMIN_MIN_LEN 732
typedef struct DCBX_ADMIN_S {
    uint16_t etsStatus;       /* byte 0: 1 when the ETS admin data is valid */
    uint16_t reserved0;
    uint16_t pfcStatus;       /* byte 4 */
    uint16_t appStatus;       /* byte 6 */
    uint8_t etsFirst;         /* byte 8: bit 7 willing, bit 6 CBS, bits 0..2 classes */
    uint8_t priorityTc[4];    /* bytes 9..12: two priorities per byte, even one high */
    uint8_t confBandwidth[8]; /* bytes 13..20 */
    uint8_t confTsa[8];       /* bytes 21..28 */
    uint8_t reserved1[5];
    uint8_t recoBandwidth[8]; /* bytes 34..41 */
    uint8_t recoTsa[8];       /* bytes 42..49 */
    uint8_t pfcFirst;         /* byte 50: bit 7 willing, bit 6 MBC, bits 0..3 capability */
    uint8_t pfcEnable;        /* byte 51: bit p = priority p enabled */
    uint8_t reserved2[4];
    DCBX_APP_ENTRY_S app[DCBX_APP_MAX]; /* byte 56 */
    uint32_t appCount;        /* byte 728 */
} DCBX_ADMIN_S;
LLDPV2_ASSERT_OFFSET(DCBX_ADMIN_S, etsFirst, 8);
LLDPV2_ASSERT_OFFSET(DCBX_ADMIN_S, confBandwidth, 13);
LLDPV2_ASSERT_OFFSET(DCBX_ADMIN_S, confTsa, 21);
LLDPV2_ASSERT_OFFSET(DCBX_ADMIN_S, recoBandwidth, 34);
LLDPV2_ASSERT_OFFSET(DCBX_ADMIN_S, pfcFirst, 50);
LLDPV2_ASSERT_OFFSET(DCBX_ADMIN_S, app, 56);
LLDPV2_ASSERT_OFFSET(DCBX_ADMIN_S, appCount, 728);
LLDPV2_ASSERT_SIZE(DCBX_ADMIN_S, DCBX_ADMIN_MIN_LEN);

/* Origin of an application priority TLV list. */
enum { DCBX_ORIGIN_REMOTE = 0, DCBX_ORIGIN_LOCAL = 1 };
/* ETS TLV subtypes. */
enum { DCBX_SUBTYPE_ETS_CONF = 9, DCBX_SUBTYPE_ETS_RECO = 10, DCBX_SUBTYPE_PFC = 11, DCBX_SUBTYPE_APP = 12 };

uint32_t DCBX_lib_GetETSConfDataFromTLVList(const LLDP_TLV_LIST_S *list, DCBX_ETS_DATA_S *out);
uint32_t DCBX_lib_GetETSRecoDataFromTLVList(const LLDP_TLV_LIST_S *list, DCBX_ETS_DATA_S *out);
uint32_t DCBX_lib_GetETSTSAFromTLVList(const LLDP_TLV_LIST_S *list, uint32_t subtype, DCBX_TSA_DATA_S *out);
uint32_t DCBX_lib_GetPFCDataFromTLVList(const LLDP_TLV_LIST_S *list, DCBX_PFC_DATA_S *out);
uint32_t DCBX_lib_GetAPPDataFromTLVList(uint32_t origin, const LLDP_TLV_LIST_S *list, DCBX_APP_DATA_S *out);
/* 0 when (selector, protocol) names a valid application. */
uint32_t DCBX_lib_CheckSelProtocol(uint32_t selector, uint32_t protocol);
/* The priority as answered for a stored priority byte. */
uint32_t DCBX_lib_TransformUPMap(uint8_t priority);

LLDPV2_EXTERN_C_END

#endif
