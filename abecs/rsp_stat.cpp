#include "abecs/rsp_stat.h"

#include "core/exception.h"

#include <algorithm>
#include <array>

namespace {

struct StatusName {
    AbecsRspStat_e status;
    const char *name;
};

#define STATUS_NAME(status)                                                                        \
    StatusName {                                                                                   \
        status, #status                                                                            \
    }

constexpr std::array STATUS_NAMES = {
    STATUS_NAME(ABECS_RSP_STAT_ST_NOTIFICATION),
    STATUS_NAME(ABECS_RSP_STAT_ST_PROCESSING),
    STATUS_NAME(ABECS_RSP_STAT_ST_OK),
    STATUS_NAME(ABECS_RSP_STAT_ST_NOSEC),
    STATUS_NAME(ABECS_RSP_STAT_ST_F1),
    STATUS_NAME(ABECS_RSP_STAT_ST_F2),
    STATUS_NAME(ABECS_RSP_STAT_ST_F3),
    STATUS_NAME(ABECS_RSP_STAT_ST_F4),
    STATUS_NAME(ABECS_RSP_STAT_ST_BACKSP),
    STATUS_NAME(ABECS_RSP_STAT_ST_ERRPKTSEC),
    STATUS_NAME(ABECS_RSP_STAT_ST_INVCALL),
    STATUS_NAME(ABECS_RSP_STAT_ST_INVPARM),
    STATUS_NAME(ABECS_RSP_STAT_ST_TIMEOUT),
    STATUS_NAME(ABECS_RSP_STAT_ST_CANCEL),
    STATUS_NAME(ABECS_RSP_STAT_ST_MANDAT),
    STATUS_NAME(ABECS_RSP_STAT_ST_TABVERDIF),
    STATUS_NAME(ABECS_RSP_STAT_ST_TABERR),
    STATUS_NAME(ABECS_RSP_STAT_ST_INTERR),
    STATUS_NAME(ABECS_RSP_STAT_ST_MCDATAERR),
    STATUS_NAME(ABECS_RSP_STAT_ST_ERRKEY),
    STATUS_NAME(ABECS_RSP_STAT_ST_NOCARD),
    STATUS_NAME(ABECS_RSP_STAT_ST_PINBUSY),
    STATUS_NAME(ABECS_RSP_STAT_ST_RSPOVRFL),
    STATUS_NAME(ABECS_RSP_STAT_ST_ERRCRYPT),
    STATUS_NAME(ABECS_RSP_STAT_ST_NOSAM),
    STATUS_NAME(ABECS_RSP_STAT_ST_DUMBCARD),
    STATUS_NAME(ABECS_RSP_STAT_ST_ERRCARD),
    STATUS_NAME(ABECS_RSP_STAT_ST_CARDINVALIDAT),
    STATUS_NAME(ABECS_RSP_STAT_ST_CARDPROBLEMS),
    STATUS_NAME(ABECS_RSP_STAT_ST_CARDINVDATA),
    STATUS_NAME(ABECS_RSP_STAT_ST_CARDAPPNAV),
    STATUS_NAME(ABECS_RSP_STAT_ST_CARDAPPNAUT),
    STATUS_NAME(ABECS_RSP_STAT_ST_ERRFALLBACK),
    STATUS_NAME(ABECS_RSP_STAT_ST_INVAMOUNT),
    STATUS_NAME(ABECS_RSP_STAT_ST_ERRMAXAID),
    STATUS_NAME(ABECS_RSP_STAT_ST_CARDBLOCKED),
    STATUS_NAME(ABECS_RSP_STAT_ST_CTLSMULTIPLE),
    STATUS_NAME(ABECS_RSP_STAT_ST_CTLSCOMMERR),
    STATUS_NAME(ABECS_RSP_STAT_ST_CTLSINVALIDAT),
    STATUS_NAME(ABECS_RSP_STAT_ST_CTLSPROBLEMS),
    STATUS_NAME(ABECS_RSP_STAT_ST_CTLSAPPNAV),
    STATUS_NAME(ABECS_RSP_STAT_ST_CTLSAPPNAUT),
    STATUS_NAME(ABECS_RSP_STAT_ST_CTLSEXTCVM),
    STATUS_NAME(ABECS_RSP_STAT_ST_CTLSIFCHG),
    STATUS_NAME(ABECS_RSP_STAT_ST_MFNFOUND),
    STATUS_NAME(ABECS_RSP_STAT_ST_MFERRFMT),
    STATUS_NAME(ABECS_RSP_STAT_ST_MFERR),
};

#undef STATUS_NAME

const StatusName *findStatus(std::int64_t value) {
    const auto *entry =
        std::find_if(STATUS_NAMES.begin(), STATUS_NAMES.end(),
                     [value](const StatusName &candidate) { return candidate.status == value; });
    return entry == STATUS_NAMES.end() ? nullptr : entry;
}

} // namespace

const char *abecsRspStatFindName(std::int32_t value) {
    const StatusName *entry = findStatus(value);
    return entry == nullptr ? nullptr : entry->name;
}

const char *abecsRspStatName(AbecsRspStat_e status) {
    const char *name = abecsRspStatFindName(status);
    if (name == nullptr) {
        pcl_raise(PCL_RESULT_RUNTIME_ERROR, "Unhandled AbecsRspStat_e: %d\n", status);
        return "";
    }
    return name;
}

AbecsRspStat_e abecsReadRspStat(AbecsField from) {
    const auto value = static_cast<std::int32_t>(abecsFieldGetNumber(from, 3));
    const StatusName *entry = findStatus(value);
    if (entry == nullptr) {
        pcl_raise(PCL_RESULT_PROTOCOL_ERROR, "Unknown value for RSP_STAT: %03d", value);
        return ABECS_RSP_STAT_ST_INTERR;
    }
    return entry->status;
}
