#include "sim/web/message.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace {

using namespace sim::web;

template <typename Kind>
Kind taken(const std::string &text) {
    const auto parsed = parse_message(text);
    if (const auto *bad = std::get_if<BadMessage>(&parsed)) {
        ADD_FAILURE() << text << ": " << bad->why;
        return {};
    }
    const auto *kind = std::get_if<Kind>(&std::get<Message>(parsed));
    if (kind == nullptr) {
        ADD_FAILURE() << text << ": read as another message";
        return {};
    }
    return *kind;
}

// The reason why a message was not taken; empty when it was.
std::string refusal(const std::string &text) {
    const auto parsed = parse_message(text);
    const auto *bad = std::get_if<BadMessage>(&parsed);
    return bad == nullptr ? "" : bad->why;
}

TEST(MessageTest, KeysAreRead) {
    EXPECT_EQ(taken<PressDigits>(R"({"do":"press","digits":"0123456789"})").digits, "0123456789");
    EXPECT_EQ(taken<PressKey>(R"({"do":"key","key":"cancel"})").key, sim::Key::cancel);
    EXPECT_EQ(taken<PressKey>(R"({"key":"f4","do":"key"})").key, sim::Key::f4);
    EXPECT_EQ(taken<PressButton>(R"({"do":"button","button":"C"})").button, 'C');
}

TEST(MessageTest, OnlyKeysThatExistAreRead) {
    EXPECT_EQ(refusal(R"({"do":"press","digits":"12a"})"),
              "a text has characters that it must not have");
    EXPECT_EQ(refusal(R"({"do":"key","key":"power"})"), "no such key");
    EXPECT_EQ(refusal(R"({"do":"button","button":"D"})"),
              "a text has characters that it must not have");
    EXPECT_EQ(refusal(R"({"do":"button","button":""})"), "no such button");
    EXPECT_EQ(refusal(R"({"do":"button","button":"12"})"), "a text is too long");
}

TEST(MessageTest, CardsAreRead) {
    const auto swipe = taken<Swipe>(R"({"do":"swipe","track1":"B1^A","track2":"1=2"})");
    EXPECT_EQ(swipe.card.track1, "B1^A");
    EXPECT_EQ(swipe.card.track2, "1=2");
    EXPECT_EQ(swipe.card.track3, "");
    using How = MoveCard::How;
    EXPECT_EQ(taken<MoveCard>(R"({"do":"insert"})").how, How::insert);
    EXPECT_EQ(taken<MoveCard>(R"({"do":"remove"})").how, How::remove);
    EXPECT_EQ(taken<MoveCard>(R"({"do":"tap"})").how, How::tap);
    EXPECT_EQ(taken<MoveCard>(R"({"do":"hold"})").how, How::hold);
    EXPECT_EQ(taken<MoveCard>(R"({"do":"take"})").how, How::take);
}

TEST(MessageTest, CardsWithoutTracksOrWithControlCharactersAreNotRead) {
    EXPECT_EQ(refusal(R"({"do":"swipe"})"), "a card without tracks");
    EXPECT_EQ(refusal(R"({"do":"swipe","track1":""})"), "a card without tracks");
    EXPECT_EQ(refusal(R"({"do":"swipe","track1":"a\u0000b"})"),
              "a text has characters that it must not have");
    EXPECT_EQ(refusal(R"({"do":"swipe","track1":")" + std::string(256, '1') + "\"}"),
              "a text is too long");
}

TEST(MessageTest, TheCableIsRead) {
    EXPECT_FALSE(taken<MoveCable>(R"({"do":"unplug"})").in);
    EXPECT_TRUE(taken<MoveCable>(R"({"do":"replug"})").in);
}

TEST(MessageTest, RulesAreRead) {
    EXPECT_EQ(taken<Arm>(R"({"do":"arm","rule":"fault ack nak"})").rule, "fault ack nak");
    EXPECT_EQ(taken<Arm>(R"({"do":"arm","rule":"reply GCD skip status 013"})").rule,
              "reply GCD skip status 013");
    EXPECT_EQ(taken<Disarm>(R"({"do":"disarm","rule":"fault ack nak"})").rule, "fault ack nak");
    taken<DisarmAll>(R"({"do":"disarm-all"})");
}

TEST(MessageTest, ARuleIsOneLineForAFaultOrAStatus) {
    EXPECT_EQ(refusal(R"({"do":"arm","rule":"media A size 99999999"})"),
              "a rule begins with fault or reply");
    EXPECT_EQ(refusal(R"({"do":"arm","rule":"fault ack nak\nmedia A size 9"})"),
              "a text has characters that it must not have");
    EXPECT_EQ(refusal(R"({"do":"disarm","rule":"fault )" + std::string(200, ' ') + "\"}"),
              "a text is too long");
}

TEST(MessageTest, SavingAndReplayingAreRead) {
    taken<Save>(R"({"do":"save"})");
    EXPECT_EQ(taken<Replay>(R"({"do":"replay","scenario":"capture keys 1\n"})").scenario,
              "capture keys 1\n");
}

TEST(MessageTest, WhatIsNoMessageIsNotRead) {
    EXPECT_EQ(refusal(""), "the message is not a JSON object");
    EXPECT_EQ(refusal("[]"), "the message is not a JSON object");
    EXPECT_EQ(refusal("{\"do\":\"save\"} x"), "the message is not a JSON object");
    EXPECT_EQ(refusal("{\"do\":\"\xFF\"}"), "the message is not a JSON object");
    EXPECT_EQ(refusal("{}"), "a text is missing");
    EXPECT_EQ(refusal(R"({"do":7})"), "a text is missing");
    EXPECT_EQ(refusal(R"({"do":"reboot"})"), "no such message");
    EXPECT_EQ(refusal(R"({"do":"save","to":"/etc/passwd"})"),
              "a member that the message does not have");
}

TEST(MessageTest, TheLengthIsLimited) {
    const std::string head = R"({"do":"replay","scenario":")";
    const std::string tail = "\"}";
    const std::string fitting(max_message - head.size() - tail.size(), '#');
    EXPECT_EQ(refusal(head + fitting + tail), "");
    EXPECT_EQ(refusal(head + fitting + "#" + tail), "the message is too long");
}

TEST(MessageTest, DeepNestingIsNoDanger) {
    EXPECT_EQ(refusal(std::string(max_message, '[')), "the message is not a JSON object");
    const std::string half(max_message / 2 - 16, '[');
    const std::string nested = "{\"do\":" + half + std::string(half.size(), ']') + "}";
    EXPECT_EQ(refusal(nested), "a text is missing");
}

} // namespace
