// Recomputes every dump of docs/wire-format.md with the library, both ways.
#include "ext/ext_link.h"
#include "tests/link/session_fixture.h"

#include <fstream>
#include <sstream>

namespace {

using namespace line;

struct Dump {
    std::string kind;
    std::string key;
    Bytes body;
    Bytes line;
};

Bytes fromHex(const std::string &text) {
    std::istringstream words(text);
    Bytes result;
    std::string word;
    while (words >> word) {
        for (std::size_t digit = 0; digit < word.size(); digit += 2) {
            result.push_back(
                static_cast<std::uint8_t>(std::stoul(word.substr(digit, 2), nullptr, 16)));
        }
    }
    return result;
}

// A block is a line with the kind of frame, then lines of bytes marked "body", "line" or as going
// on with blanks.
Dump readDump(std::istream &document) {
    Dump dump;
    std::string text;
    std::getline(document, text);
    std::istringstream(text) >> dump.kind >> dump.key;
    Bytes *part = nullptr;
    while (std::getline(document, text) && text != "```") {
        if (text.rfind("body", 0) == 0) {
            part = &dump.body;
        } else if (text.rfind("line", 0) == 0) {
            part = &dump.line;
        }
        if (part == nullptr) {
            ADD_FAILURE() << "bytes of nothing: " << text;
            break;
        }
        *part = *part + fromHex(text.substr(4));
    }
    return dump;
}

std::vector<Dump> readDumps() {
    std::ifstream document(PINPAD_WIRE_FORMAT);
    std::vector<Dump> dumps;
    std::string text;
    while (std::getline(document, text)) {
        if (text == "```frame") {
            dumps.push_back(readDump(document));
        }
    }
    return dumps;
}

class WireFormat : public Link {
protected:
    void expectSent(const Dump &dump) {
        m_peer.play([line = dump.line](Peer &peer) {
            peer.expect(line);
            peer.write(ACK);
        });
        put(dump.body);
        if (dump.kind == "extension") {
            EXPECT_NO_FAILURE(abecs_ext_send_packet(pinpad(), packet()));
        } else {
            EXPECT_NO_FAILURE(abecs_link_send_command(pinpad(), packet()));
        }
        m_peer.finish();
    }

    void expectReceived(const Dump &dump) {
        m_peer.play([line = dump.line](Peer &peer) { peer.write(line); });
        if (dump.kind == "extension") {
            EXPECT_NO_FAILURE(abecs_ext_receive_packet(pinpad(), packet()));
        } else {
            EXPECT_NO_FAILURE(abecs_link_receive_response(pinpad(), packet()));
        }
        m_peer.finish();
        EXPECT_EQ(peer::hex(dump.body), peer::hex(content()));
    }
};

TEST_F(WireFormat, DumpsAreWhatPassesOnTheLine) {
    const std::vector<Dump> dumps = readDumps();
    ASSERT_GE(dumps.size(), 10U);
    for (const Dump &dump : dumps) {
        SCOPED_TRACE(dump.kind + ' ' + peer::hex(dump.body));
        const Bytes key = fromHex(dump.key);
        ASSERT_EQ(dump.kind == "secure" ? ABECS_SESSION_KEY_SIZE : 0, key.size());
        abecs_pinpad_set_session_key(pinpad(), key.empty() ? nullptr : key.data());
        expectSent(dump);
        expectReceived(dump);
    }
}

} // namespace
