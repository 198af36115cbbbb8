#include "abecs/rsp_datid.h"

#include "core/exception.h"
#include "core/string.h"

#include <array>

namespace {

struct PlainName {
    std::uint16_t id;
    const char *name;
};

#define PLAIN_NAME(id)                                                                             \
    PlainName {                                                                                    \
        id, #id                                                                                    \
    }

constexpr std::array PLAIN_NAMES = {
    PLAIN_NAME(ABECS_RSP_DATID_PP_SERNUM),     PLAIN_NAME(ABECS_RSP_DATID_PP_PARTNBR),
    PLAIN_NAME(ABECS_RSP_DATID_PP_MODEL),      PLAIN_NAME(ABECS_RSP_DATID_PP_MNNAME),
    PLAIN_NAME(ABECS_RSP_DATID_PP_CAPAB),      PLAIN_NAME(ABECS_RSP_DATID_PP_SOVER),
    PLAIN_NAME(ABECS_RSP_DATID_PP_SPECVER),    PLAIN_NAME(ABECS_RSP_DATID_PP_MANVERS),
    PLAIN_NAME(ABECS_RSP_DATID_PP_APPVERS),    PLAIN_NAME(ABECS_RSP_DATID_PP_GENVERS),
    PLAIN_NAME(ABECS_RSP_DATID_PP_KRNLVER),    PLAIN_NAME(ABECS_RSP_DATID_PP_CTLSVER),
    PLAIN_NAME(ABECS_RSP_DATID_PP_MCTLSVER),   PLAIN_NAME(ABECS_RSP_DATID_PP_VCTLSVER),
    PLAIN_NAME(ABECS_RSP_DATID_PP_AECTLSVER),  PLAIN_NAME(ABECS_RSP_DATID_PP_DPCTLSVER),
    PLAIN_NAME(ABECS_RSP_DATID_PP_PUREVER),    PLAIN_NAME(ABECS_RSP_DATID_PP_DSPTXTSZ),
    PLAIN_NAME(ABECS_RSP_DATID_PP_DSPGRSZ),    PLAIN_NAME(ABECS_RSP_DATID_PP_MFSUP),
    PLAIN_NAME(ABECS_RSP_DATID_PP_MKDESP),     PLAIN_NAME(ABECS_RSP_DATID_PP_MKDESD),
    PLAIN_NAME(ABECS_RSP_DATID_PP_MKTDESP),    PLAIN_NAME(ABECS_RSP_DATID_PP_MKTDESD),
    PLAIN_NAME(ABECS_RSP_DATID_PP_DKPTDESP),   PLAIN_NAME(ABECS_RSP_DATID_PP_DKPTTDESP),
    PLAIN_NAME(ABECS_RSP_DATID_PP_DKPTTDESD),  PLAIN_NAME(ABECS_RSP_DATID_PP_EVENT),
    PLAIN_NAME(ABECS_RSP_DATID_PP_TRK1INC),    PLAIN_NAME(ABECS_RSP_DATID_PP_TRK2INC),
    PLAIN_NAME(ABECS_RSP_DATID_PP_TRK3INC),    PLAIN_NAME(ABECS_RSP_DATID_PP_TRACK1),
    PLAIN_NAME(ABECS_RSP_DATID_PP_TRACK2),     PLAIN_NAME(ABECS_RSP_DATID_PP_TRACK3),
    PLAIN_NAME(ABECS_RSP_DATID_PP_TRK1KSN),    PLAIN_NAME(ABECS_RSP_DATID_PP_TRK2KSN),
    PLAIN_NAME(ABECS_RSP_DATID_PP_TRK3KSN),    PLAIN_NAME(ABECS_RSP_DATID_PP_ENCPAN),
    PLAIN_NAME(ABECS_RSP_DATID_PP_ENCPANKSN),  PLAIN_NAME(ABECS_RSP_DATID_PP_KSN),
    PLAIN_NAME(ABECS_RSP_DATID_PP_VALUE),      PLAIN_NAME(ABECS_RSP_DATID_PP_DATAOUT),
    PLAIN_NAME(ABECS_RSP_DATID_PP_CARDTYPE),   PLAIN_NAME(ABECS_RSP_DATID_PP_ICCSTAT),
    PLAIN_NAME(ABECS_RSP_DATID_PP_AIDTABINFO), PLAIN_NAME(ABECS_RSP_DATID_PP_PAN),
    PLAIN_NAME(ABECS_RSP_DATID_PP_PANSEQNO),   PLAIN_NAME(ABECS_RSP_DATID_PP_EMVDATA),
    PLAIN_NAME(ABECS_RSP_DATID_PP_CHNAME),     PLAIN_NAME(ABECS_RSP_DATID_PP_GOXRES),
    PLAIN_NAME(ABECS_RSP_DATID_PP_PINBLK),     PLAIN_NAME(ABECS_RSP_DATID_PP_FCXRES),
    PLAIN_NAME(ABECS_RSP_DATID_PP_ISRESULTS),  PLAIN_NAME(ABECS_RSP_DATID_PP_BIGRAND),
    PLAIN_NAME(ABECS_RSP_DATID_PP_LABEL),      PLAIN_NAME(ABECS_RSP_DATID_PP_ISSCNTRY),
    PLAIN_NAME(ABECS_RSP_DATID_PP_CARDEXP),    PLAIN_NAME(ABECS_RSP_DATID_PP_MFNAME),
    PLAIN_NAME(ABECS_RSP_DATID_PP_DEVTYPE),    PLAIN_NAME(ABECS_RSP_DATID_PP_ENCKEY),
    PLAIN_NAME(ABECS_RSP_DATID_PP_TLRMEM),     PLAIN_NAME(ABECS_RSP_DATID_PP_ENCKRAND),
};

#undef PLAIN_NAME

struct Family {
    std::uint16_t base;
    const char *name;
};

#define FAMILY(id)                                                                                 \
    Family {                                                                                       \
        id, #id                                                                                    \
    }

constexpr std::array FAMILIES = {
    FAMILY(ABECS_RSP_DATID_PP_KSNDESPnn),
    FAMILY(ABECS_RSP_DATID_PP_KSNTDESPnn),
    FAMILY(ABECS_RSP_DATID_PP_KSNTDESDnn),
    FAMILY(ABECS_RSP_DATID_PP_TABVERnn),
};

#undef FAMILY

constexpr int FAMILY_SIZE = 100;

char familyText[128];

} // namespace

const char *abecsRspDatIdFindName(std::uint16_t id) {
    for (const PlainName &entry : PLAIN_NAMES) {
        if (entry.id == id) {
            return entry.name;
        }
    }
    for (const Family &family : FAMILIES) {
        const int index = id - family.base;
        if (index >= 0 && index < FAMILY_SIZE) {
            return pcl_snprintf(familyText, sizeof familyText, "%s[%d]", family.name, index);
        }
    }
    return nullptr;
}

const char *abecsRspDatIdName(std::uint16_t id) {
    const char *name = abecsRspDatIdFindName(id);
    if (name == nullptr) {
        pcl_raise(PCL_RESULT_RUNTIME_ERROR, "Unhandled id: %d\n", id);
        return "";
    }
    return name;
}
