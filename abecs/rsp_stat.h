#pragma once

#include "abecs/field.h"

#include <cstdint>

/// The outcome of a command: the device's three-digit RSP_STAT, and two values of the library's own
/// which never travel (notification and processing).
enum AbecsRspStat_e : std::int32_t {
    ABECS_RSP_STAT_ST_NOTIFICATION = -2,
    ABECS_RSP_STAT_ST_PROCESSING = -1,
    ABECS_RSP_STAT_ST_OK = 0,
    ABECS_RSP_STAT_ST_NOSEC = 3,
    ABECS_RSP_STAT_ST_F1 = 4,
    ABECS_RSP_STAT_ST_F2 = 5,
    ABECS_RSP_STAT_ST_F3 = 6,
    ABECS_RSP_STAT_ST_F4 = 7,
    ABECS_RSP_STAT_ST_BACKSP = 8,
    ABECS_RSP_STAT_ST_ERRPKTSEC = 9,
    ABECS_RSP_STAT_ST_INVCALL = 10,
    ABECS_RSP_STAT_ST_INVPARM = 11,
    ABECS_RSP_STAT_ST_TIMEOUT = 12,
    ABECS_RSP_STAT_ST_CANCEL = 13,
    ABECS_RSP_STAT_ST_MANDAT = 19,
    ABECS_RSP_STAT_ST_TABVERDIF = 20,
    ABECS_RSP_STAT_ST_TABERR = 21,
    ABECS_RSP_STAT_ST_INTERR = 40,
    ABECS_RSP_STAT_ST_MCDATAERR = 41,
    ABECS_RSP_STAT_ST_ERRKEY = 42,
    ABECS_RSP_STAT_ST_NOCARD = 43,
    ABECS_RSP_STAT_ST_PINBUSY = 44,
    ABECS_RSP_STAT_ST_RSPOVRFL = 45,
    ABECS_RSP_STAT_ST_ERRCRYPT = 46,
    ABECS_RSP_STAT_ST_NOSAM = 51,
    ABECS_RSP_STAT_ST_DUMBCARD = 60,
    ABECS_RSP_STAT_ST_ERRCARD = 61,
    ABECS_RSP_STAT_ST_CARDINVALIDAT = 67,
    ABECS_RSP_STAT_ST_CARDPROBLEMS = 68,
    ABECS_RSP_STAT_ST_CARDINVDATA = 69,
    ABECS_RSP_STAT_ST_CARDAPPNAV = 70,
    ABECS_RSP_STAT_ST_CARDAPPNAUT = 71,
    ABECS_RSP_STAT_ST_ERRFALLBACK = 76,
    ABECS_RSP_STAT_ST_INVAMOUNT = 77,
    ABECS_RSP_STAT_ST_ERRMAXAID = 78,
    ABECS_RSP_STAT_ST_CARDBLOCKED = 79,
    ABECS_RSP_STAT_ST_CTLSMULTIPLE = 80,
    ABECS_RSP_STAT_ST_CTLSCOMMERR = 81,
    ABECS_RSP_STAT_ST_CTLSINVALIDAT = 82,
    ABECS_RSP_STAT_ST_CTLSPROBLEMS = 83,
    ABECS_RSP_STAT_ST_CTLSAPPNAV = 84,
    ABECS_RSP_STAT_ST_CTLSAPPNAUT = 85,
    ABECS_RSP_STAT_ST_CTLSEXTCVM = 86,
    ABECS_RSP_STAT_ST_CTLSIFCHG = 87,
    ABECS_RSP_STAT_ST_MFNFOUND = 100,
    ABECS_RSP_STAT_ST_MFERRFMT = 101,
    ABECS_RSP_STAT_ST_MFERR = 102
};

/// The name of the enumerator of this value; null when there is none.
const char *abecsRspStatFindName(std::int32_t value);

/// The same for a value that must be one. Another raises PCL_RESULT_RUNTIME_ERROR
/// "Unhandled AbecsRspStat_e: %d\n" and gives the empty text when the handler returns.
const char *abecsRspStatName(AbecsRspStat_e status);

/// Consumes a 3-digit status from a buffer, packet or parameter. A number that is no status raises
/// PCL_RESULT_PROTOCOL_ERROR "Unknown value for RSP_STAT: %03d".
AbecsRspStat_e abecsReadRspStat(AbecsField from);
