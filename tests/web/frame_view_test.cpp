#include "sim/web/frame_view.h"

#include "sim/text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace sim;
using sim::web::FrameView;
using sim::web::view_of;
using testing::ElementsAre;
using testing::Pair;

WireFrame frame(FrameKind kind, Direction direction, const std::string &body) {
    return {direction, {}, kind, false, to_bytes(body), to_bytes("\x16" + body), Framing::abecs};
}

TEST(FrameViewTest, ACommandIsTakenApart) {
    const FrameView view = view_of(frame(FrameKind::command, Direction::from_host,
                                         "GCD006" + std::string("\x00\x0B\x00\x02\x00\x03", 6)));
    EXPECT_EQ(view.from, "host");
    EXPECT_EQ(view.kind, "command");
    EXPECT_EQ(view.id, "GCD");
    EXPECT_EQ(view.meaning, "let the customer type");
    EXPECT_EQ(view.status, "");
    EXPECT_EQ(view.text, "GCD006\\x00\\x0B\\x00\\x02\\x00\\x03");
    EXPECT_THAT(view.params, ElementsAre(Pair("000B", "\\x00\\x03")));
    EXPECT_EQ(view.raw.substr(0, 8), "16474344");
}

TEST(FrameViewTest, AResponseHasAStatus) {
    const FrameView view = view_of(frame(FrameKind::response, Direction::to_host,
                                         "GCD000007" + std::string("\x80\x4D\x00\x03", 4) + "123"));
    EXPECT_EQ(view.from, "device");
    EXPECT_EQ(view.status, "000");
    EXPECT_THAT(view.params, ElementsAre(Pair("804D", "123")));
    EXPECT_EQ(view_of(frame(FrameKind::response, Direction::to_host, "NTM000002HI")).kind,
              "notification");
}

TEST(FrameViewTest, BodiesOfAnyLengthCanBeLookedAt) {
    for (const char *body : {"", "G", "GC", "GCD", "GCD0", "GCD00", "GCD000", "GCD000999"}) {
        const FrameView view = view_of(frame(FrameKind::response, Direction::to_host, body));
        EXPECT_EQ(view.text, body);
        EXPECT_TRUE(view.params.empty());
    }
}

TEST(FrameViewTest, ExtensionFramesHaveLongerIdentifiers) {
    WireFrame qr = frame(FrameKind::command, Direction::from_host, "QR01050");
    qr.framing = Framing::extension;
    EXPECT_EQ(view_of(qr).id, "QR01");
    EXPECT_EQ(view_of(qr).meaning, "show a QR code");
    EXPECT_EQ(view_of(qr).framing, "extension");
}

TEST(FrameViewTest, Latin1BecomesUtf8) {
    EXPECT_EQ(view_of(frame(FrameKind::response, Direction::to_host, "NTM000\xE7\x85")).text,
              "NTM000\xC3\xA7\\x85");
}

} // namespace
