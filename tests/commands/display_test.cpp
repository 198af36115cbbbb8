#include "abecs/commands/display.h"
#include "core/owned.h"
#include "core/string_list.h"
#include "tests/commands/device_fixture.h"

#include <vector>

namespace {

using ListPtr = PclOwned<PclList, pcl_list_destroy>;

class Display : public Device {
protected:
    std::vector<std::string> names() {
        std::vector<std::string> all;
        for (const PclListNode *node = pcl_list_first(m_list.get()); node != nullptr;
             node = pcl_list_node_next(node)) {
            all.emplace_back(static_cast<const char *>(pcl_list_node_item(node)));
        }
        return all;
    }
    PclList *list() { return m_list.get(); }

    ListPtr m_list{pcl_string_list_create()};
};
INSTANTIATE_TEST_SUITE_P(Channel, Display, testing::Bool(), channelName);

TEST_P(Display, DexShowsAText) {
    plugIn();
    EXPECT_NO_FAILURE(EXPECT_EQ(0, abecs_dex(pinpad(), "A\rB")));
    EXPECT_EQ("DEX006003A\rB", sent());
    EXPECT_EQ(GetParam(), sentEncrypted());
    EXPECT_EQ((std::vector<std::string>{"A", "B"}), device().snapshot().display);
    EXPECT_NO_FAILURE(EXPECT_EQ(0, abecs_dex(pinpad(), "")));
    EXPECT_EQ("DEX003000", sent());
    const std::string longest(160, 'm');
    EXPECT_NO_FAILURE(EXPECT_EQ(0, abecs_dex(pinpad(), longest.c_str())));
    EXPECT_EQ("DEX163160" + longest, sent());
}

TEST_P(Display, DexChecksItsTextUnsent) {
    plugIn();
    const auto code = PCL_RESULT_ILLEGAL_ARGUMENT;
    EXPECT_FAILURE(abecs_dex(nullptr, nullptr), code, "'pinpad' is NULL");
    EXPECT_FAILURE(abecs_dex(pinpad(), nullptr), code, "'msg' is NULL");
    EXPECT_FAILURE(abecs_dex(pinpad(), std::string(161, 'm').c_str()), code,
                   "'msg' it too long (maximum: 160, requested: 161)");
    EXPECT_FAILURE(abecs_dex(pinpad(), "a\nb"), code, "Invalid character (0x0A) at position 1");
    expectNothingSent();
}

TEST_P(Display, DexReadsTheAnswer) {
    plugIn(
        "reply DEX nth 1 body \"DEX0\"\nreply DEX nth 2 id DSI\nreply DEX nth 3 body \"ERR011\"\n"
        "status DEX 010 nth 4\n");
    const auto show = [&] { return abecs_dex(pinpad(), "x"); };
    EXPECT_FAILURE(show(), PCL_RESULT_PROTOCOL_ERROR, "Unrecognized response");
    EXPECT_FAILURE(show(), PCL_RESULT_PROTOCOL_ERROR, "(DEX) Invalid RSP_ID: DSI)");
    EXPECT_NO_FAILURE(EXPECT_EQ(11, show()));
    EXPECT_NO_FAILURE(EXPECT_EQ(10, show()));
    EXPECT_NO_FAILURE(EXPECT_EQ(0, show()));
}

TEST_P(Display, DsiShowsAnImage) {
    plugIn("media ABC text \"picture\"\n");
    EXPECT_NO_FAILURE(EXPECT_EQ(0, abecs_dsi(pinpad(), "ABC")));
    EXPECT_EQ("DSI012" + tagged(0x001E, "ABC     "), sent());
    EXPECT_EQ(GetParam(), sentEncrypted());
    EXPECT_EQ(std::vector<std::string>{"ABC"}, device().snapshot().shown_media);
    EXPECT_NO_FAILURE(EXPECT_EQ(100, abecs_dsi(pinpad(), "EIGHTCHR")));
    EXPECT_EQ("DSI012" + tagged(0x001E, "EIGHTCHR"), sent());
}

TEST_P(Display, DsiChecksItsNameUnsent) {
    plugIn();
    const auto code = PCL_RESULT_ILLEGAL_ARGUMENT;
    EXPECT_FAILURE(abecs_dsi(nullptr, nullptr), code, "'pinpad' is NULL");
    EXPECT_FAILURE(abecs_dsi(pinpad(), nullptr), code, "'filename' is NULL");
    EXPECT_FAILURE(abecs_dsi(pinpad(), ""), code, "'filename' is empty");
    EXPECT_FAILURE(abecs_dsi(pinpad(), "LONGNAME9"), code,
                   "'filename' is too long (max: 8, requested: 9)");
    EXPECT_FAILURE(abecs_dsi(pinpad(), "CAF\xC9"), code, "Invalid character (0xC9) at position 3");
    expectNothingSent();
}

TEST_P(Display, DsiReadsTheAnswer) {
    plugIn("reply DSI nth 1 body \"DSI0\"\nreply DSI nth 2 id DEX\nreply DSI nth 3 err\n"
           "media ABC text \"picture\"\n");
    const auto show = [&] { return abecs_dsi(pinpad(), "ABC"); };
    EXPECT_FAILURE(show(), PCL_RESULT_PROTOCOL_ERROR, "Unrecognized response");
    EXPECT_FAILURE(show(), PCL_RESULT_PROTOCOL_ERROR, "(DSI) Invalid RSP_ID: DEX)");
    EXPECT_NO_FAILURE(EXPECT_EQ(0, show()));
}

TEST_P(Display, DmfShowsFilesInTheirOrder) {
    plugIn("media ONE text \"1\"\nmedia TWO text \"2\"\nmedia CAF\\xC9 text \"3\"\n");
    pcl_list_append(list(), "TWO");
    pcl_list_append(list(), "ONE");
    EXPECT_NO_FAILURE(EXPECT_EQ(0, abecs_dmf(pinpad(), list())));
    EXPECT_EQ("DMF024" + tagged(0x001E, "TWO     ") + tagged(0x001E, "ONE     "), sent());
    EXPECT_EQ(GetParam(), sentEncrypted());
}

TEST_P(Display, DmfTakesExtendedCharacters) {
    plugIn();
    pcl_list_append(list(), "CAF\xC9");
    EXPECT_NO_FAILURE(abecs_dmf(pinpad(), list()));
    EXPECT_EQ("DMF012" + tagged(0x001E, "CAF\xC9    "), sent());
}

TEST_P(Display, DmfChecksEveryNameUnsent) {
    plugIn();
    const auto code = PCL_RESULT_ILLEGAL_ARGUMENT;
    EXPECT_FAILURE(abecs_dmf(nullptr, nullptr), code, "'pinpad' is NULL");
    EXPECT_FAILURE(abecs_dmf(pinpad(), nullptr), code, "'files' is NULL");
    EXPECT_FAILURE(abecs_dmf(pinpad(), list()), code, "At least one file must be supplied");
    pcl_list_append(list(), "GOOD");
    pcl_list_append(list(), "LONGNAME9");
    EXPECT_FAILURE(abecs_dmf(pinpad(), list()), code,
                   "\"LONGNAME9\" it too long (max: 8, requested: 9)");
    expectNothingSent();
}

TEST_P(Display, DmfReadsTheAnswer) {
    plugIn("reply DMF nth 1 body \"DMF0\"\nreply DMF nth 2 id DEX\nreply DMF nth 3 body "
           "\"ERR100\"\n");
    pcl_list_append(list(), "X");
    EXPECT_FAILURE(abecs_dmf(pinpad(), list()), PCL_RESULT_IO_ERROR,
                   "Invalid packet (not enough data)");
    EXPECT_FAILURE(abecs_dmf(pinpad(), list()), PCL_RESULT_PROTOCOL_ERROR,
                   "(DMF) Invalid RSP_ID: DEX)");
    EXPECT_NO_FAILURE(EXPECT_EQ(100, abecs_dmf(pinpad(), list())));
}

TEST_P(Display, LmfListsTheNames) {
    plugIn("media LOGO text \"1\"\nmedia EIGHTCHR text \"2\"\n");
    pcl_list_append(list(), "old");
    EXPECT_NO_FAILURE(EXPECT_EQ(0, abecs_lmf(pinpad(), list())));
    EXPECT_EQ("LMF", sent());
    EXPECT_EQ(GetParam(), sentEncrypted());
    EXPECT_EQ((std::vector<std::string>{"LOGO", "EIGHTCHR"}), names());
}

TEST_P(Display, LmfReadsTheAnswer) {
    plugIn("status LMF 011 nth 1\nreply LMF nth 2 id DEX\nreply LMF nth 3 param 8040 \"00\"\n"
           "media LOGO text \"1\"\n");
    pcl_list_append(list(), "old");
    EXPECT_NO_FAILURE(EXPECT_EQ(11, abecs_lmf(pinpad(), list())));
    EXPECT_TRUE(names().empty());
    EXPECT_FAILURE(abecs_lmf(pinpad(), list()), PCL_RESULT_PROTOCOL_ERROR,
                   "(LMF) Invalid RSP_ID: DEX)");
    EXPECT_FAILURE(abecs_lmf(pinpad(), list()), PCL_RESULT_PROTOCOL_ERROR,
                   "Unrecognized RSP_DATID: 32832");
    EXPECT_EQ(std::vector<std::string>{"LOGO"}, names());
    EXPECT_FAILURE(abecs_lmf(nullptr, nullptr), PCL_RESULT_ILLEGAL_ARGUMENT, "'pinpad' is NULL");
    EXPECT_FAILURE(abecs_lmf(pinpad(), nullptr), PCL_RESULT_ILLEGAL_ARGUMENT, "'out' is NULL");
}

} // namespace
