#include "sim/scenario.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using sim::parse_scenario;
using sim::Scenario;
using sim::Step;
using std::chrono::milliseconds;

std::string complaint(const std::string &text) {
    try {
        parse_scenario(text);
    } catch (const sim::ScenarioError &error) {
        return error.what();
    }
    return "understood";
}

TEST(Scenario, OfNothingIsTheDefaultDevice) {
    const Scenario scenario = parse_scenario("\n   \n# only a comment\n");
    EXPECT_EQ(scenario.columns, 20U);
    EXPECT_TRUE(scenario.faults.empty());
    EXPECT_FALSE(scenario.session_key.has_value());
}

TEST(Scenario, DescribesTheDevice) {
    const Scenario scenario = parse_scenario("display 16 2 # small\n"
                                             "prompt 7 \"YOUR \\\"ID\\\"\\r\\xE9\"\n"
                                             "media LOGO text \"abc\" type 3\n"
                                             "media BIN hex 00FF\n"
                                             "media BIG size 300\n"
                                             "card gold track2 \"4000=99\"\n"
                                             "session-key 000102030405060708090a0b0c0d0e0f\n"
                                             "refuse-plain\nrequire-open\nreplug 200\n");
    EXPECT_EQ(scenario.columns, 16U);
    EXPECT_EQ(scenario.rows, 2U);
    EXPECT_EQ(scenario.prompts.at(7), "YOUR \"ID\"\r\xE9");
    ASSERT_EQ(scenario.media.size(), 3U);
    EXPECT_EQ(scenario.media[0].type, 3);
    EXPECT_EQ(scenario.media[0].crc, 0x9DD6);
    EXPECT_EQ(scenario.media[1].content, (sim::Bytes{0x00, 0xFF}));
    EXPECT_EQ(scenario.media[2].content.size(), 300U);
    EXPECT_EQ(scenario.media[2].content[257], 0x01);
    EXPECT_EQ(scenario.cards.at("gold").track2, "4000=99");
    EXPECT_EQ(scenario.session_key->at(15), 0x0F);
    EXPECT_TRUE(scenario.refuse_plain);
    EXPECT_TRUE(scenario.require_open);
    EXPECT_EQ(scenario.replug_after, milliseconds(200));
}

TEST(Scenario, ScriptsBecomeSteps) {
    const Scenario scenario =
        parse_scenario("typing 30\n"
                       "capture wait 10 notify \"HI\" keys 12 every 5 keys 3 enter\n");
    const sim::Script script = scenario.scripts(sim::ScriptKind::capture).script_for(1);
    ASSERT_EQ(script.size(), 6U);
    EXPECT_EQ(script[0].kind, Step::Kind::pause);
    EXPECT_EQ(script[0].delay, milliseconds(10));
    EXPECT_EQ(script[1].text, "HI");
    EXPECT_EQ(script[2].delay, milliseconds(5));
    EXPECT_EQ(script[3].text, "2");
    EXPECT_EQ(script[4].delay, milliseconds(30));
    EXPECT_EQ(script[5].kind, Step::Kind::key);
    EXPECT_EQ(script[5].key, sim::Key::enter);
    EXPECT_EQ(script[5].delay, milliseconds(30));
    EXPECT_TRUE(scenario.scripts(sim::ScriptKind::capture).script_for(2).empty());
}

TEST(Scenario, UnnumberedScriptsFollowTheLastNumber) {
    const Scenario scenario =
        parse_scenario("event key f1\nevent 5 key f2\nevent key f3\nevent * timeout\n");
    EXPECT_EQ(scenario.scripts(sim::ScriptKind::event).script_for(1).front().text, "04");
    EXPECT_EQ(scenario.scripts(sim::ScriptKind::event).script_for(5).front().text, "05");
    EXPECT_EQ(scenario.scripts(sim::ScriptKind::event).script_for(6).front().text, "06");
    EXPECT_EQ(scenario.scripts(sim::ScriptKind::event).script_for(2).front().kind,
              Step::Kind::timeout);
}

TEST(Scenario, OccasionsMayStandBeforeOrAfterAnAction) {
    const Scenario scenario = parse_scenario("fault ack GCD nth 2 nak times 3\n"
                                             "fault response cut 4 always\n"
                                             "fault can byte 15\n");
    ASSERT_EQ(scenario.faults.size(), 3U);
    EXPECT_EQ(scenario.faults[0].target.command, "GCD");
    EXPECT_EQ(scenario.faults[0].target.nth, 2U);
    EXPECT_EQ(scenario.faults[0].target.times, 3U);
    EXPECT_EQ(scenario.faults[1].target.times, sim::Target::always);
    EXPECT_EQ(scenario.faults[1].fault.number, 4U);
    EXPECT_EQ(scenario.faults[2].fault.number, 0x15U);
    EXPECT_EQ(scenario.faults[2].target.times, 1U);
}

TEST(Scenario, EveryFaultWordIsUnderstood) {
    using Argument = sim::FaultWord::Argument;
    for (const sim::FaultWord &word : sim::fault_words()) {
        std::string line = std::string("fault ") + sim::stage_word(word.stage) + " " + word.word;
        if (word.argument == Argument::byte || word.argument == Argument::hex)
            line += " 5A";
        if (word.argument == Argument::number || word.argument == Argument::duration)
            line += " 2";
        if (word.argument == Argument::number_duration)
            line += " 2 30";
        const Scenario scenario = parse_scenario(line);
        ASSERT_EQ(scenario.faults.size(), 1U) << line;
        EXPECT_EQ(scenario.faults.front().fault.kind, word.kind) << line;
        EXPECT_STREQ(sim::action_word(word.kind), word.word);
    }
}

TEST(Scenario, DescribesTheContactlessCard) {
    const Scenario scenario =
        parse_scenario("mifare uid 11223344 key A 1 A0A1A2A3A4A5 key B * B0B1B2B3B4B5\n"
                       "mifare block 5 000102030405060708090a0b0c0d0e0f value 4 -7 access 4 110\n"
                       "mifare missed 3\nbinary-status\n");
    const sim::MifareCard &card = scenario.contactless_card;
    EXPECT_TRUE(scenario.card_held);
    EXPECT_TRUE(scenario.binary_status);
    EXPECT_EQ(scenario.missed_activations, 3U);
    EXPECT_EQ(card.uid(), (sim::MifareCard::Uid{0x11, 0x22, 0x33, 0x44}));
    EXPECT_EQ(card.content(7).at(0), 0xA0);
    EXPECT_EQ(card.content(3).at(0), 0xFF);
    EXPECT_EQ(card.content(3).at(10), 0xB0);
    EXPECT_EQ(card.content(63).at(15), 0xB5);
    EXPECT_EQ(card.content(5).at(15), 0x0F);
    EXPECT_EQ(card.content(4).at(0), 0xF9);
    EXPECT_TRUE(card.access(4)->c1);
    EXPECT_FALSE(card.access(5)->c1);
}

TEST(Scenario, HasNoContactlessCardInTheFieldUnlessToldSo) {
    EXPECT_FALSE(parse_scenario("").card_held);
    EXPECT_FALSE(parse_scenario("mifare uid 11223344\nmifare away").card_held);
}

TEST(Scenario, ScriptsOfQrCodesAndSurveysBecomeSteps) {
    const Scenario scenario =
        parse_scenario("typing 30\nqrcode wait 10 enter\nsurvey 2 press 7\n"
                       "cxsurvey press 05 enter\ncxsurvey answer hex 4100\ncxsurvey * timeout");
    const sim::Script code = scenario.scripts(sim::ScriptKind::qr_code).script_for(1);
    ASSERT_EQ(code.size(), 2U);
    EXPECT_EQ(code[0].delay, milliseconds(10));
    EXPECT_EQ(code[1].key, sim::Key::enter);
    EXPECT_TRUE(scenario.scripts(sim::ScriptKind::survey).script_for(1).empty());
    EXPECT_EQ(scenario.scripts(sim::ScriptKind::survey).script_for(2).front().kind,
              Step::Kind::button);
    EXPECT_EQ(scenario.scripts(sim::ScriptKind::survey).script_for(2).front().text, "7");
    const sim::Script typed = scenario.scripts(sim::ScriptKind::cx_survey).script_for(1);
    ASSERT_EQ(typed.size(), 3U);
    EXPECT_EQ(typed[0].text, "0");
    EXPECT_EQ(typed[1].text, "5");
    EXPECT_EQ(scenario.scripts(sim::ScriptKind::cx_survey).script_for(2).front().bytes,
              (sim::Bytes{0x41, 0x00}));
    EXPECT_EQ(scenario.scripts(sim::ScriptKind::cx_survey).script_for(9).front().kind,
              Step::Kind::timeout);
}

TEST(Scenario, RulesNameExtensionCommandsToo) {
    const Scenario scenario = parse_scenario("status MF01 044\nreply QR01 id QR99\n"
                                             "fault ack EX10 nak\nfault response EX08 bad-crc");
    ASSERT_EQ(scenario.replies.size(), 2U);
    EXPECT_EQ(scenario.replies[0].target.command, "MF01");
    EXPECT_EQ(scenario.replies[1].change.id, "QR99");
    ASSERT_EQ(scenario.faults.size(), 2U);
    EXPECT_EQ(scenario.faults[1].target.command, "EX08");
}

struct BadLine {
    const char *text;
    const char *complaint;
};

TEST(ScenarioError, NamesTheLineAndWhatWasExpected) {
    const BadLine lines[] = {
        BadLine{"typing 5\n\nfoo 1", "line 3: expected a directive, found 'foo'"},
        BadLine{"\"x\"", "line 1: expected a directive, found \"x\""},
        BadLine{"typing",
                "line 1: expected milliseconds (0 to 86400000), found the end of the line"},
        BadLine{"typing -1", "line 1: expected milliseconds (0 to 86400000), found '-1'"},
        BadLine{"typing 1 2", "line 1: expected the end of the line, found '2'"},
        BadLine{"prompt 7 HELLO", "line 1: expected the prompt in quotes, found 'HELLO'"},
        BadLine{"prompt 70000 \"x\"",
                "line 1: expected a prompt number (0 to 65535), found '70000'"},
        BadLine{"prompt 7 \"x", "line 1: expected a closing quote"},
        BadLine{"prompt 7 \"\\q\"", "line 1: expected one of \\\" \\\\ \\r \\xNN in the text"},
        BadLine{"prompt 7 \"\\x4\"", "line 1: expected one of \\\" \\\\ \\r \\xNN in the text"},
        BadLine{"display 0 2", "line 1: a display has at least one column and one row"},
        BadLine{"media NINECHARS size 1",
                "line 1: a media name has at most 8 characters: 'NINECHARS'"},
        BadLine{"media A 3", "line 1: expected text, hex or size, found '3'"},
        BadLine{"media A hex 0", "line 1: expected the content as hexadecimal digits, found '0'"},
        BadLine{"card", "line 1: expected a card name, found the end of the line"},
        BadLine{"card a track4 \"x\"", "line 1: expected track1, track2 or track3, found 'track4'"},
        BadLine{"session-key 00", "line 1: expected a key of 16 bytes, found 1"},
        BadLine{"capture", "line 1: expected a step, found the end of the line"},
        BadLine{"capture keys 12x", "line 1: expected digits, found '12x'"},
        BadLine{"capture f1", "line 1: expected a step of a capture, found 'f1'"},
        BadLine{"capture 0 enter", "line 1: expected an occasion from 1 on, found 0"},
        BadLine{"capture 2 enter\ncapture 2 enter",
                "line 2: there is a line for occasion 2 already"},
        BadLine{"capture * enter\ncapture * enter", "line 2: there is a line for * already"},
        BadLine{"capture timeout enter", "line 1: expected the end of the line, because nothing "
                                         "can follow the last step, found 'enter'"},
        BadLine{"capture live enter", "line 1: expected the end of the line, because nothing can "
                                      "follow the last step, found 'enter'"},
        BadLine{"event swipe gold",
                "line 1: expected the name of a card of an earlier line, found 'gold'"},
        BadLine{"event key zz", "line 1: expected a key that has an event, found 'zz'"},
        BadLine{"event keys 1", "line 1: expected a step of an event check, found 'keys'"},
        BadLine{"status GC 11", "line 1: expected a command identifier or any, found 'GC'"},
        BadLine{"status GCD 1000", "line 1: expected a status (0 to 999), found '1000'"},
        BadLine{"reply GCD", "line 1: expected a change of the reply, found the end of the line"},
        BadLine{"reply GCD id AB", "line 1: an identifier has three characters: 'AB'"},
        BadLine{"reply GCD omit 80",
                "line 1: expected a parameter identifier as four hexadecimal digits, found '80'"},
        BadLine{"reply GCD body GCD000",
                "line 1: expected a body in quotes, or hex and digits, found 'GCD000'"},
        BadLine{"fault wire nak",
                "line 1: expected ack, response, secure, opn or can, found 'wire'"},
        BadLine{"fault ack explode", "line 1: expected an action of ack, found 'explode'"},
        BadLine{"fault ack", "line 1: expected an action of ack, found the end of the line"},
        BadLine{"fault ack nak times 0", "line 1: expected a count from 1 on, found 0"},
        BadLine{"fault ack byte 5",
                "line 1: expected one byte as two hexadecimal digits, found '5'"},
        BadLine{"fault can GCD silent", "line 1: expected an action of can, found 'GCD'"},
        BadLine{"mifare",
                "line 1: expected what the contactless card is like, found the end of the line"},
        BadLine{"mifare uid 112233", "line 1: expected a card number of 4 bytes, found 3"},
        BadLine{"mifare uid",
                "line 1: expected a card number as hexadecimal digits, found the end of the line"},
        BadLine{"mifare key C 1 FFFFFFFFFFFF", "line 1: expected A or B, found 'C'"},
        BadLine{"mifare key A 16 FFFFFFFFFFFF",
                "line 1: expected a sector or * (0 to 15), found '16'"},
        BadLine{"mifare key A 1 FFFF", "line 1: expected a key of 6 bytes, found 2"},
        BadLine{"mifare block 64 00", "line 1: expected a block (0 to 63), found '64'"},
        BadLine{"mifare block 4 00", "line 1: expected a block of 16 bytes, found 1"},
        BadLine{"mifare value 4 x", "line 1: expected a value, found 'x'"},
        BadLine{"mifare value 4 4294967296", "line 1: expected a value, found '4294967296'"},
        BadLine{"mifare access 4 112", "line 1: expected three access bits, found '112'"},
        BadLine{"mifare access 4", "line 1: expected three access bits, found the end of the line"},
        BadLine{"mifare missed 0", "line 1: expected a count from 1 on, found 0"},
        BadLine{"mifare colour red",
                "line 1: expected uid, key, block, value, access, missed or away, found 'colour'"},
        BadLine{"qrcode press",
                "line 1: expected buttons (0 to 9, A to C), found the end of the line"},
        BadLine{"qrcode keys 1", "line 1: expected a step of a screen, found 'keys'"},
        BadLine{"survey press 1x", "line 1: expected buttons (0 to 9, A to C), found '1x'"},
        BadLine{"survey", "line 1: expected a step, found the end of the line"},
        BadLine{"cxsurvey answer Z",
                "line 1: expected an answer in quotes, or hex and digits, found 'Z'"},
        BadLine{"status QR01 001", "line 1: the answer to QR01 has no status"},
        BadLine{"reply MF01 id MF9", "line 1: an identifier has four characters: 'MF9'"},
        BadLine{"reply MF01 omit 804D", "line 1: the answer to MF01 has no parameters"},
        BadLine{"reply MF01 param 8001 \"x\"", "line 1: the answer to MF01 has no parameters"},
        BadLine{"fault response MF1X9 silent",
                "line 1: expected an action of response, found 'MF1X9'"},
        BadLine{"binary-status yes", "line 1: expected the end of the line, found 'yes'"},
        BadLine{"fault opn lead-30 3", "line 1: expected 1 or 2 leading bytes, found 3"},
        BadLine{"fault opn len1 1000", "line 1: expected a number of three digits, found 1000"},
        BadLine{"fault opn ksec-length 201",
                "line 1: expected at most 200 bytes of key, found 201"}};
    for (const BadLine &line : lines)
        EXPECT_EQ(complaint(line.text), line.complaint) << line.text;
}

TEST(ScenarioError, CarriesTheLine) {
    try {
        parse_scenario("\n\nnonsense");
        FAIL();
    } catch (const sim::ScenarioError &error) {
        EXPECT_EQ(error.line(), 3U);
    }
}

} // namespace
