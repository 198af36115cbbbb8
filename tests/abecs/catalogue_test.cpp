#include "abecs/rsp_datid.h"
#include "abecs/rsp_stat.h"
#include "core/buffer.h"
#include "core/owned.h"
#include "tests/support/failures.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <set>
#include <string>

namespace {

// Typed from the standard's tables, not from the headers.
const std::map<int, std::string> STATUSES = {{-2, "NOTIFICATION"},
                                             {-1, "PROCESSING"},
                                             {0, "OK"},
                                             {3, "NOSEC"},
                                             {4, "F1"},
                                             {5, "F2"},
                                             {6, "F3"},
                                             {7, "F4"},
                                             {8, "BACKSP"},
                                             {9, "ERRPKTSEC"},
                                             {10, "INVCALL"},
                                             {11, "INVPARM"},
                                             {12, "TIMEOUT"},
                                             {13, "CANCEL"},
                                             {19, "MANDAT"},
                                             {20, "TABVERDIF"},
                                             {21, "TABERR"},
                                             {40, "INTERR"},
                                             {41, "MCDATAERR"},
                                             {42, "ERRKEY"},
                                             {43, "NOCARD"},
                                             {44, "PINBUSY"},
                                             {45, "RSPOVRFL"},
                                             {46, "ERRCRYPT"},
                                             {51, "NOSAM"},
                                             {60, "DUMBCARD"},
                                             {61, "ERRCARD"},
                                             {67, "CARDINVALIDAT"},
                                             {68, "CARDPROBLEMS"},
                                             {69, "CARDINVDATA"},
                                             {70, "CARDAPPNAV"},
                                             {71, "CARDAPPNAUT"},
                                             {76, "ERRFALLBACK"},
                                             {77, "INVAMOUNT"},
                                             {78, "ERRMAXAID"},
                                             {79, "CARDBLOCKED"},
                                             {80, "CTLSMULTIPLE"},
                                             {81, "CTLSCOMMERR"},
                                             {82, "CTLSINVALIDAT"},
                                             {83, "CTLSPROBLEMS"},
                                             {84, "CTLSAPPNAV"},
                                             {85, "CTLSAPPNAUT"},
                                             {86, "CTLSEXTCVM"},
                                             {87, "CTLSIFCHG"},
                                             {100, "MFNFOUND"},
                                             {101, "MFERRFMT"},
                                             {102, "MFERR"}};

class Catalogue : public testing::Test {
protected:
    AbecsRspStat_e read(const std::string &field) {
        pcl_buffer_clear(m_buffer.get());
        pcl_buffer_write(m_buffer.get(), field.data(), field.size());
        return abecsReadRspStat(m_buffer.get());
    }

    PclOwned<PclBuffer, pcl_buffer_destroy> m_buffer{pcl_buffer_create(16)};
};

TEST_F(Catalogue, NamesEveryStatusAndNoOther) {
    for (int value = -5; value < 1100; ++value) {
        const auto status = static_cast<AbecsRspStat_e>(value);
        const auto known = STATUSES.find(value);
        if (known != STATUSES.end()) {
            EXPECT_EQ("ABECS_RSP_STAT_ST_" + known->second, abecsRspStatName(status));
        } else {
            EXPECT_FAILURE(abecsRspStatName(status), PCL_RESULT_RUNTIME_ERROR,
                           "Unhandled AbecsRspStat_e: " + std::to_string(value) + "\n");
        }
    }
}

TEST_F(Catalogue, FindsNamesWithoutRaising) {
    const ScopedHandler handler;
    for (int value = -5; value < 1100; ++value) {
        const char *name = abecsRspStatFindName(value);
        const auto known = STATUSES.find(value);
        if (known != STATUSES.end()) {
            EXPECT_EQ("ABECS_RSP_STAT_ST_" + known->second, name);
        } else {
            EXPECT_EQ(nullptr, name) << value;
        }
    }
    EXPECT_STREQ("ABECS_RSP_DATID_PP_VALUE", abecsRspDatIdFindName(0x804D));
    EXPECT_STREQ("ABECS_RSP_DATID_PP_TABVERnn[99]", abecsRspDatIdFindName(0x9363));
    for (const int id : {0, 0x800B, 0x8FFF, 0x9064, 0x9364, 0xFFFF}) {
        EXPECT_EQ(nullptr, abecsRspDatIdFindName(static_cast<std::uint16_t>(id))) << id;
    }
    EXPECT_EQ(0U, handler.count());
}

TEST_F(Catalogue, ReadsEveryStatusAndNoOther) {
    for (int value = 0; value < 1000; ++value) {
        char field[8];
        std::snprintf(field, sizeof field, "%03d", value);
        if (STATUSES.count(value) != 0) {
            EXPECT_EQ(value, read(field));
            EXPECT_EQ(0U, pcl_buffer_available(m_buffer.get()));
        } else {
            EXPECT_FAILURE(read(field), PCL_RESULT_PROTOCOL_ERROR,
                           std::string("Unknown value for RSP_STAT: ") + field);
        }
    }
}

TEST_F(Catalogue, ChecksTheFieldOfAStatusFirst) {
    EXPECT_FAILURE(read("01"), PCL_RESULT_IO_ERROR,
                   "Buffer does not have enough data (requested: 3, available: 2)");
    EXPECT_FAILURE(read("0x4"), PCL_RESULT_IO_ERROR, "Invalid char (0x78) at index 1");
    EXPECT_FAILURE(abecsReadRspStat(static_cast<AbecsPacket *>(nullptr)),
                   PCL_RESULT_ILLEGAL_ARGUMENT, "'packet' is NULL");
}

const std::map<int, std::string> ROWS = {
    {0x8001, "PP_SERNUM PP_PARTNBR PP_MODEL PP_MNNAME PP_CAPAB PP_SOVER PP_SPECVER PP_MANVERS "
             "PP_APPVERS PP_GENVERS"},
    {0x8010, "PP_KRNLVER PP_CTLSVER PP_MCTLSVER PP_VCTLSVER PP_AECTLSVER PP_DPCTLSVER PP_PUREVER"},
    {0x8020, "PP_DSPTXTSZ PP_DSPGRSZ PP_MFSUP"},
    {0x8030, "PP_MKDESP PP_MKDESD PP_MKTDESP PP_MKTDESD PP_DKPTDESP PP_DKPTTDESP PP_DKPTTDESD"},
    {0x8040, "PP_EVENT PP_TRK1INC PP_TRK2INC PP_TRK3INC PP_TRACK1 PP_TRACK2 PP_TRACK3 PP_TRK1KSN "
             "PP_TRK2KSN PP_TRK3KSN PP_ENCPAN PP_ENCPANKSN PP_KSN PP_VALUE PP_DATAOUT PP_CARDTYPE"},
    {0x8050, "PP_ICCSTAT PP_AIDTABINFO PP_PAN PP_PANSEQNO PP_EMVDATA PP_CHNAME PP_GOXRES PP_PINBLK "
             "PP_FCXRES PP_ISRESULTS PP_BIGRAND PP_LABEL PP_ISSCNTRY PP_CARDEXP PP_MFNAME"},
    {0x8060, "PP_DEVTYPE PP_ENCKEY PP_TLRMEM PP_ENCKRAND"}};

TEST_F(Catalogue, NamesEveryPlainIdentifierAndNoOther) {
    std::map<int, std::string> plain;
    for (const auto &[first, names] : ROWS) {
        int id = first;
        for (std::size_t at = 0; at < names.size();) {
            const std::size_t end = std::min(names.find(' ', at), names.size());
            plain[id++] = names.substr(at, end - at);
            at = end + 1;
        }
    }
    EXPECT_EQ(62U, plain.size());
    for (int id = 0x7FF0; id < 0x8100; ++id) {
        const auto known = plain.find(id);
        if (known != plain.end()) {
            EXPECT_EQ("ABECS_RSP_DATID_" + known->second,
                      abecsRspDatIdName(static_cast<std::uint16_t>(id)));
        } else {
            EXPECT_FAILURE(abecsRspDatIdName(static_cast<std::uint16_t>(id)),
                           PCL_RESULT_RUNTIME_ERROR, "Unhandled id: " + std::to_string(id) + "\n");
        }
    }
}

TEST_F(Catalogue, NamesTheIndexedFamilies) {
    EXPECT_STREQ("ABECS_RSP_DATID_PP_KSNDESPnn[0]", abecsRspDatIdName(0x9000));
    EXPECT_STREQ("ABECS_RSP_DATID_PP_KSNDESPnn[5]", abecsRspDatIdName(0x9005));
    EXPECT_STREQ("ABECS_RSP_DATID_PP_KSNTDESPnn[99]", abecsRspDatIdName(0x9163));
    EXPECT_STREQ("ABECS_RSP_DATID_PP_KSNTDESDnn[10]", abecsRspDatIdName(0x920A));
    EXPECT_STREQ("ABECS_RSP_DATID_PP_TABVERnn[99]", abecsRspDatIdName(0x9363));
    for (const int id : {0x8FFF, 0x9064, 0x90FF, 0x9164, 0x9364, 0xFFFF}) {
        EXPECT_FAILURE(abecsRspDatIdName(static_cast<std::uint16_t>(id)), PCL_RESULT_RUNTIME_ERROR,
                       "Unhandled id: " + std::to_string(id) + "\n");
    }
}

} // namespace
