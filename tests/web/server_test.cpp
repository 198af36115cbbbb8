#include "sim/web/message.h"
#include "sim/web/server.h"
#include "tests/sim/host.h"
#include "tests/web/web_client.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace sim_test;
using nlohmann::json;
using sim::web::Feed;
using sim::web::Server;
using sim::web::ServerOptions;
using sim::web::Station;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

const std::string show = command("DEX", "003BOM");
const std::string capture =
    command("GCD", record(11, std::string("\x00\x03", 2)) + record(13, std::string("\x01", 1)) +
                       record(14, std::string("\x08", 1)));

class ServerTest : public testing::Test {
protected:
    std::string origin() const { return "http://" + host(); }
    std::string host() const { return "127.0.0.1:" + std::to_string(server_.port()); }
    WebClient client() const { return {server_.port(), host(), origin()}; }
    std::string get(const std::string &path, const std::string &named_host) const {
        return ask_server(server_.port(), "GET " + path + " HTTP/1.1\r\nHost: " + named_host +
                                              "\r\nConnection: close\r\n\r\n");
    }
    std::string get(const std::string &path) const { return get(path, host()); }

    Feed feed_;
    Station station_{"media LOGO hex 89504E470D0A1A0A\ncard gold track2 \"1=2\"",
                     {},
                     [this](const sim::JournalEntry &) { feed_.touch(); },
                     [this](const sim::WireFrame &frame) { feed_.add(frame); }};
    ServerOptions options_{"127.0.0.1", 0, 4};
    Server server_{station_, feed_, options_};
};

TEST_F(ServerTest, ServesThePageWithEverythingForbiddenThatItDoesNotNeed) {
    const std::string page = get("/");
    EXPECT_THAT(page, StartsWith("HTTP/1.1 200 OK"));
    EXPECT_THAT(page, HasSubstr("Content-Security-Policy: default-src 'none'"));
    EXPECT_THAT(page, HasSubstr("<title>Virtual PIN pad</title>"));
    EXPECT_THAT(get("/app.js"), HasSubstr("Content-Type: text/javascript"));
    EXPECT_THAT(get("/style.css"), HasSubstr("Content-Type: text/css"));
    EXPECT_THAT(get("/../etc/passwd"), StartsWith("HTTP/1.1 404"));
    EXPECT_THAT(get("/media/00-0000"), StartsWith("HTTP/1.1 404"));
}

TEST_F(ServerTest, NothingOfThePageComesFromElsewhere) {
    for (const char *path : {"/", "/app.js", "/style.css"}) {
        const std::string content = get(path).substr(get(path).find("\r\n\r\n"));
        EXPECT_THAT(content, Not(HasSubstr("https:"))) << path;
        EXPECT_THAT(content, Not(HasSubstr("src=\"http"))) << path;
    }
}

TEST_F(ServerTest, ServesTheMediaOfTheStore) {
    const sim::MediaFile file = station_.device()->snapshot().media.at(0);
    const std::string name = "/media/" + hex(bytes(file.name)) + "-";
    const std::string crc =
        hex({static_cast<std::uint8_t>(file.crc >> 8), static_cast<std::uint8_t>(file.crc & 0xFF)});
    EXPECT_THAT(get(name + crc), HasSubstr("Content-Type: image/png"));
    EXPECT_THAT(get(name + crc), testing::EndsWith("\x89PNG\r\n\x1A\n"));
}

TEST_F(ServerTest, AnotherHostIsRefused) {
    EXPECT_THAT(get("/", "evil.example"), StartsWith("HTTP/1.1 403"));
    EXPECT_THAT(get("/", "evil.example:" + std::to_string(server_.port())),
                StartsWith("HTTP/1.1 403"));
    EXPECT_THAT(ask_server(server_.port(), "GET / HTTP/1.1\r\n\r\n"), StartsWith("HTTP/1.1 403"));
}

TEST_F(ServerTest, AnotherOriginIsRefused) {
    EXPECT_THROW(WebClient(server_.port(), host(), "http://evil.example"), std::runtime_error);
    EXPECT_THROW(WebClient(server_.port(), host(), ""), std::runtime_error);
    EXPECT_THROW(WebClient(server_.port(), "evil.example", "http://evil.example"),
                 std::runtime_error);
    EXPECT_NO_THROW(client().wait_for("state"));
}

TEST_F(ServerTest, OtherMethodsAreRefused) {
    EXPECT_THAT(ask_server(server_.port(), "POST / HTTP/1.1\r\nHost: " + host() +
                                               "\r\nContent-Length: 2\r\n\r\nhi"),
                StartsWith("HTTP/1.1 405"));
}

TEST_F(ServerTest, RequestsThatAreTooLongEndTheConnection) {
    const std::string request =
        "GET / HTTP/1.1\r\nHost: " + host() + "\r\nX: " + std::string(100000, 'x') + "\r\n\r\n";
    EXPECT_EQ(ask_server(server_.port(), request), "");
}

TEST_F(ServerTest, MessagesThatAreTooLongEndTheConnection) {
    WebClient page = client();
    page.wait_for("state");
    page.send(std::string(sim::web::max_message + 1, ' '));
    EXPECT_THROW(page.wait_for("problem"), std::runtime_error);
}

TEST_F(ServerTest, TooManyConnectionsAreTurnedAway) {
    std::vector<std::unique_ptr<WebClient>> pages;
    for (std::size_t i = 0; i < options_.max_connections; ++i) {
        pages.push_back(std::make_unique<WebClient>(server_.port(), host(), origin()));
        pages.back()->wait_for("state");
    }
    EXPECT_EQ(get("/"), "");
    pages.clear();
    std::string page;
    for (int tries = 0; tries < 100 && page.empty(); ++tries)
        page = get("/");
    EXPECT_THAT(page, StartsWith("HTTP/1.1 200"));
}

TEST_F(ServerTest, KeysGoInAndTheDisplayComesOut) {
    WebClient page = client();
    EXPECT_EQ(page.wait_for("state").at("cards").at(0).at("name"), "gold");
    Host host(station_.device()->port());
    ASSERT_EQ(host.send(capture), ack);
    page.wait_for("state", [](const json &state) { return state.at("pending") == "GCD"; });
    page.send(R"({"do":"press","digits":"42"})");
    page.wait_for("state", [](const json &state) { return state.at("lines").at(1) == "42"; });
    page.send(R"({"do":"key","key":"enter"})");
    EXPECT_THAT(host.answer(), StartsWith("GCD000"));
    page.wait_for("state", [](const json &state) { return state.at("waiting") == false; });
}

TEST_F(ServerTest, EveryBrowserSeesEveryFrame) {
    WebClient one = client();
    WebClient other = client();
    Host host(station_.device()->port());
    ASSERT_EQ(host.ask(show), "DEX000");
    for (WebClient *page : {&one, &other}) {
        std::vector<std::string> kinds;
        page->wait_for("frames", [&kinds](const json &message) {
            for (const json &frame : message.at("frames"))
                kinds.push_back(frame.at("kind"));
            return kinds.size() >= 3;
        });
        kinds.resize(3);
        EXPECT_THAT(kinds, testing::ElementsAre("command", "ACK", "response"));
    }
}

TEST_F(ServerTest, TheCableAndTheCardsAreMoved) {
    WebClient page = client();
    page.send(R"({"do":"insert"})");
    page.wait_for("state", [](const json &state) { return state.at("chip") == true; });
    page.send(R"({"do":"hold"})");
    page.wait_for("state", [](const json &state) { return state.at("held") == true; });
    page.send(R"({"do":"take"})");
    page.wait_for("state", [](const json &state) { return state.at("held") == false; });
    page.send(R"({"do":"unplug"})");
    page.wait_for("state", [](const json &state) { return state.at("plugged") == false; });
    page.send(R"({"do":"replug"})");
    page.wait_for("state", [](const json &state) { return state.at("plugged") == true; });
}

TEST_F(ServerTest, FaultsAreArmedAndLaidDown) {
    WebClient page = client();
    Host host(station_.device()->port());
    const auto armed = [&page](std::size_t count) {
        page.wait_for("state",
                      [count](const json &state) { return state.at("armed").size() == count; });
    };
    page.send(R"({"do":"arm","rule":"fault ack DEX times 1 nak"})");
    armed(1);
    EXPECT_EQ(host.send(show), nak);
    armed(0);
    page.send(R"({"do":"arm","rule":"fault ack always nak"})");
    armed(1);
    page.send(R"({"do":"disarm","rule":"fault ack always nak"})");
    armed(0);
    EXPECT_EQ(host.ask(show), "DEX000");
}

// What the page's Status switch sends for CLO.
TEST_F(ServerTest, AStatusForTheCloseEndsTheSessionAndTheChannel) {
    WebClient page = client();
    Host host(station_.device()->port());
    open_secure(host, KeyPair());
    page.send(R"({"do":"arm","rule":"reply CLO nth 1 times 1 skip status 040"})");
    const auto armed = [](std::size_t count) {
        return [count](const json &state) { return state.at("armed").size() == count; };
    };
    page.wait_for("state", armed(1));
    EXPECT_TRUE(host.send_secure("CLO032" + std::string(32, ' ')));
    EXPECT_EQ(host.answer(), "CLO040");
    page.wait_for("state", armed(0));
    EXPECT_FALSE(station_.device()->snapshot().secure);
    EXPECT_EQ(host.ask("OPN"), "OPN000");
}

TEST_F(ServerTest, AProblemIsToldToTheBrowserThatMadeIt) {
    WebClient page = client();
    page.send("hello");
    EXPECT_EQ(page.wait_for("problem").at("why"), "the message is not a JSON object");
    page.send(R"({"do":"replay","scenario":"no such word"})");
    EXPECT_THAT(page.wait_for("problem").at("why").get<std::string>(), StartsWith("line 1:"));
}

TEST_F(ServerTest, ARecordingIsSavedAndReplayed) {
    WebClient page = client();
    page.send(R"({"do":"save"})");
    const std::string scenario = page.wait_for("recording").at("scenario");
    EXPECT_THAT(scenario, HasSubstr("media LOGO"));
    page.send(json{{"do", "replay"}, {"scenario", scenario}}.dump());
    page.wait_for("replaying");
    Host host(station_.device()->port());
    EXPECT_EQ(host.ask(show), "DEX000");
}

TEST_F(ServerTest, ABrowserThatDoesNotReadHoldsNothingUp) {
    WebClient lazy = client();
    Host host(station_.device()->port());
    for (int i = 0; i < 3000; ++i)
        ASSERT_EQ(host.ask(show), "DEX000");
    WebClient page = client();
    EXPECT_NO_THROW(
        page.wait_for("state", [](const json &state) { return state.at("commands") == 3000; }));
}

std::string failure_of(Station &station, Feed &feed, const ServerOptions &options) {
    try {
        const Server server(station, feed, options);
    } catch (const std::runtime_error &error) {
        return error.what();
    }
    return "";
}

TEST_F(ServerTest, AnAddressThatCannotBeHadIsToldSo) {
    EXPECT_EQ(failure_of(station_, feed_, {"localhost", 0, 4}), "'localhost' is not an address");
    EXPECT_EQ(failure_of(station_, feed_, {"127.0.0.1", server_.port(), 4}),
              "cannot listen on 127.0.0.1 port " + std::to_string(server_.port()) +
                  ": Address already in use");
}

TEST_F(ServerTest, TheAddressToOpenIsTold) {
    EXPECT_TRUE(server_.local());
    EXPECT_EQ(server_.url(), "http://127.0.0.1:" + std::to_string(server_.port()) + "/");
    Feed feed;
    const Server open_to_all(station_, feed, {"0.0.0.0", 0, 4});
    EXPECT_FALSE(open_to_all.local());
    EXPECT_THAT(open_to_all.url(), StartsWith("http://localhost:"));
}

} // namespace
