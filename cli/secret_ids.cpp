#include "cli/secret_ids.h"

#include "abecs/rsp_datid.h"

#include <algorithm>
#include <array>

namespace cli {

namespace {

struct Range {
    std::uint16_t first;
    std::uint16_t last;
};

// What may be shown: facts about the device, its keys' serial numbers and its tables, and outcomes.
constexpr std::array HARMLESS = {
    Range{ABECS_RSP_DATID_PP_SERNUM, ABECS_RSP_DATID_PP_GENVERS},
    Range{ABECS_RSP_DATID_PP_KRNLVER, ABECS_RSP_DATID_PP_PUREVER},
    Range{ABECS_RSP_DATID_PP_DSPTXTSZ, ABECS_RSP_DATID_PP_MFSUP},
    Range{ABECS_RSP_DATID_PP_MKDESP, ABECS_RSP_DATID_PP_DKPTTDESD},
    Range{ABECS_RSP_DATID_PP_EVENT, ABECS_RSP_DATID_PP_EVENT},
    Range{ABECS_RSP_DATID_PP_TRK1KSN, ABECS_RSP_DATID_PP_TRK3KSN},
    Range{ABECS_RSP_DATID_PP_ENCPANKSN, ABECS_RSP_DATID_PP_KSN},
    Range{ABECS_RSP_DATID_PP_CARDTYPE, ABECS_RSP_DATID_PP_AIDTABINFO},
    Range{ABECS_RSP_DATID_PP_PANSEQNO, ABECS_RSP_DATID_PP_PANSEQNO},
    Range{ABECS_RSP_DATID_PP_LABEL, ABECS_RSP_DATID_PP_ISSCNTRY},
    Range{ABECS_RSP_DATID_PP_MFNAME, ABECS_RSP_DATID_PP_MFNAME},
    Range{ABECS_RSP_DATID_PP_DEVTYPE, ABECS_RSP_DATID_PP_DEVTYPE},
    Range{ABECS_RSP_DATID_PP_TLRMEM, ABECS_RSP_DATID_PP_TLRMEM},
    Range{ABECS_RSP_DATID_PP_KSNDESPnn, ABECS_RSP_DATID_PP_KSNDESPnn + 99},
    Range{ABECS_RSP_DATID_PP_KSNTDESPnn, ABECS_RSP_DATID_PP_KSNTDESPnn + 99},
    Range{ABECS_RSP_DATID_PP_KSNTDESDnn, ABECS_RSP_DATID_PP_KSNTDESDnn + 99},
    Range{ABECS_RSP_DATID_PP_TABVERnn, ABECS_RSP_DATID_PP_TABVERnn + 99},
};

} // namespace

bool isSecretId(std::uint16_t id) {
    return std::none_of(HARMLESS.begin(), HARMLESS.end(),
                        [id](const Range &range) { return id >= range.first && id <= range.last; });
}

} // namespace cli
