#include "tests/sim/ext_host.h"
#include "tests/support/obeyed.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

using namespace sim_test;
using testing::HasSubstr;
using testing::StartsWith;

// The pinpad-sim program, run with its standard streams in our hands.
class Program {
public:
    explicit Program(std::vector<std::string> arguments) {
        int in[2];
        int out[2];
        int error[2];
        EXPECT_EQ(::pipe2(in, O_CLOEXEC), 0);
        EXPECT_EQ(::pipe2(out, O_CLOEXEC), 0);
        EXPECT_EQ(::pipe2(error, O_CLOEXEC), 0);
        arguments.insert(arguments.begin(), PINPAD_SIM_PROGRAM);
        std::vector<char *> argv;
        for (std::string &argument : arguments)
            argv.push_back(argument.data());
        argv.push_back(nullptr);
        child_ = ::fork();
        if (child_ == 0) {
            ::dup2(in[0], 0);
            ::dup2(out[1], 1);
            ::dup2(error[1], 2);
            ::execv(argv[0], argv.data());
            ::_exit(127);
        }
        for (int fd : {in[0], out[1], error[1]})
            ::close(fd);
        in_ = in[1];
        out_ = out[0];
        error_ = error[0];
    }

    ~Program() {
        if (child_ > 0) {
            ::kill(child_, SIGKILL);
            ::waitpid(child_, nullptr, 0);
        }
        for (int fd : {in_, out_, error_})
            ::close(fd);
    }
    Program(const Program &) = delete;
    Program &operator=(const Program &) = delete;

    std::string line() {
        std::string text;
        char c = 0;
        while (readable(out_) && ::read(out_, &c, 1) == 1 && c != '\n')
            text.push_back(c);
        return text;
    }

    // The first line that begins like this; empty when the output falls silent before.
    std::string line_starting(const std::string &start) {
        while (true) {
            const std::string text = line();
            if (text.empty() || text.compare(0, start.size(), start) == 0)
                return text;
        }
    }

    // The lines to the one that has this in it; to the last one when the output falls silent
    // before.
    std::string lines_until(const std::string &part) {
        std::string lines;
        while (lines.find(part) == std::string::npos) {
            const std::string next = line();
            if (next.empty())
                break;
            lines += next + '\n';
        }
        return lines;
    }

    // Room for all that is told before it is read.
    void make_room() { EXPECT_GT(::fcntl(out_, F_SETPIPE_SZ, 1 << 20), 0); }

    // All that the program still writes until it ends.
    std::string output() { return read_to_end(out_); }
    std::string errors() { return read_to_end(error_); }

    void type(const std::string &text) {
        EXPECT_EQ(::write(in_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }

    void signal(int number) { ::kill(child_, number); }

    // The exit status; -1 when the program does not end by itself.
    int wait() {
        for (int i = 0; i < 6000; ++i) {
            int status = 0;
            if (::waitpid(child_, &status, WNOHANG) == child_) {
                child_ = 0;
                return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
            }
            ::usleep(10000);
        }
        return -1;
    }

private:
    static bool readable(int fd) {
        pollfd watched{fd, POLLIN, 0};
        return ::poll(&watched, 1, 30000) == 1;
    }

    static std::string read_to_end(int fd) {
        std::string text;
        char c = 0;
        while (::read(fd, &c, 1) == 1)
            text.push_back(c);
        return text;
    }

    pid_t child_ = 0;
    int in_ = -1;
    int out_ = -1;
    int error_ = -1;
};

class ProgramTest : public testing::Test {
protected:
    ProgramTest() {
        std::string pattern = (std::filesystem::temp_directory_path() / "sim-test-XXXXXX").string();
        folder_ = ::mkdtemp(pattern.data());
    }
    ~ProgramTest() override { std::filesystem::remove_all(folder_); }

    std::string file(const std::string &name) const { return (folder_ / name).string(); }

    void expect_shown(const std::string &name) const;

    std::string scenario(const std::string &text) const {
        std::ofstream(file("scenario")) << text;
        return file("scenario");
    }

private:
    std::filesystem::path folder_;
};

TEST_F(ProgramTest, PrintsThePortAndTellsWhatTheCustomerSees) {
    Program program({"--scenario", scenario("capture notify \"N\" keys 7 enter")});
    Host host(program.line());
    ASSERT_EQ(host.ask("DEX008005HELLO"), "DEX000");
    EXPECT_EQ(program.line_starting("display"), "display: [HELLO]");
    ASSERT_EQ(host.send(command("GCD", record(11, "\1\1") + record(13, "\1") + record(14, "\4"))),
              ack);
    EXPECT_EQ(program.line_starting("display"), "display: [PROMPT 257]");
    EXPECT_EQ(program.line_starting("notify"), "notify: \"N\"");
    EXPECT_EQ(program.line_starting("key"), "key: 7");
    EXPECT_EQ(program.line_starting("captured"), "captured: \"7\"");
    program.signal(SIGTERM);
    EXPECT_EQ(program.wait(), 0);
}

TEST_F(ProgramTest, KeepsALinkAndRemovesItAtSigint) {
    Program program({"--quiet", "--link", file("pinpad")});
    EXPECT_EQ(program.line(), file("pinpad"));
    {
        Host host(file("pinpad"));
        EXPECT_EQ(host.ask("OPN"), "OPN000");
    }
    program.signal(SIGINT);
    EXPECT_EQ(program.wait(), 0);
    EXPECT_FALSE(std::filesystem::is_symlink(file("pinpad")));
    EXPECT_EQ(program.line(), "");
}

TEST_F(ProgramTest, SpeaksJson) {
    Program program({"--json", "--wire"});
    Host host(program.line());
    ASSERT_EQ(host.ask("DEX006003A\rB"), "DEX000");
    EXPECT_THAT(program.line_starting("{\"body\":\"444558"), HasSubstr("\"frame\":\"command\""));
    EXPECT_EQ(program.line_starting("{\"kind\":\"display\""),
              R"({"kind":"display","lines":["A","B"],"screen":"text"})");
}

TEST_F(ProgramTest, ShowsFramesWhenAsked) {
    Program program({"--wire", "--quiet"});
    Host host(program.line());
    ASSERT_EQ(host.ask("DEX004001\xE9"), "DEX000");
    EXPECT_EQ(program.line(), "host   > command DEX004001\\xE9");
    EXPECT_EQ(program.line(), "device > ack 06");
    EXPECT_EQ(program.line(), "device > response DEX000");
}

TEST_F(ProgramTest, TakesKeysFromItsInput) {
    Program program({"--type", "--scenario", scenario("card c track1 \"T\"")});
    Host host(program.line());
    ASSERT_EQ(host.send(command("GCD", record(11, "\1\1") + record(13, "\1") + record(14, "\4"))),
              ack);
    program.line_starting("display");
    program.type("12 backspace 3\nenter\n");
    EXPECT_EQ(host.answer(), "GCD000006" + record(0x804D, "13"));
    ASSERT_EQ(host.send(command("CEX", record(6, "111100"))), ack);
    program.line_starting("command id=CEX");
    program.type("swipe c\n");
    EXPECT_EQ(host.answer(), "CEX000011" + record(0x8040, "90") + record(0x8041, "T"));
}

TEST_F(ProgramTest, TakesButtonsAndMovesTheCardByItsInput) {
    Program program({"--type"});
    Host host(program.line());
    EXPECT_EQ(ext_ask(host, "MF01"), "MF0101");
    program.type("hold\n");
    std::string found;
    for (int tries = 0; tries < 100 && found != "MF010004A1B2C3"; ++tries)
        found = ext_ask(host, "MF01");
    EXPECT_EQ(found, "MF010004A1B2C3");
    ASSERT_TRUE(ext_start(host, "EX1010500000"
                                "0RATE US"));
    EXPECT_EQ(program.line_starting("display: ["), "display: [RATE US] buttons 0123456789");
    program.type("button 42\nenter\n");
    EXPECT_EQ(ext_answer(host), "EX10042");
}

TEST_F(ProgramTest, EndsAfterTheCloseWhenToldOnce) {
    Program program({"--once", "--time-scale", "10"});
    Host host(program.line());
    ASSERT_EQ(host.ask("OPN"), "OPN000");
    EXPECT_EQ(host.ask("CLX"), "CLX000");
    EXPECT_EQ(program.wait(), 0);
}

TEST_F(ProgramTest, ExplainsABadScenario) {
    const std::string path = scenario("typing 5\nnonsense\n");
    Program program({"--scenario", path});
    EXPECT_EQ(program.wait(), 1);
    EXPECT_EQ(program.errors(), path + ": line 2: expected a directive, found 'nonsense'\n");
}

TEST_F(ProgramTest, ExplainsAMissingScenarioAndABadLink) {
    Program missing({"--scenario", file("none")});
    EXPECT_EQ(missing.wait(), 1);
    EXPECT_EQ(missing.errors(), "pinpad-sim: cannot read the scenario '" + file("none") +
                                    "': No such file or directory\n");
    Program folder({"--scenario", file(".")});
    EXPECT_EQ(folder.wait(), 1);
    EXPECT_EQ(folder.errors(),
              "pinpad-sim: cannot read the scenario '" + file(".") + "': it is a directory\n");
    Program endless({"--scenario", "/dev/zero"});
    EXPECT_EQ(endless.wait(), 1);
    EXPECT_EQ(endless.errors(),
              "pinpad-sim: cannot read the scenario '/dev/zero': it has more than "
              "16777216 bytes\n");
    Program linked({"--link", file("no/such/folder")});
    EXPECT_EQ(linked.wait(), 1);
    EXPECT_THAT(linked.errors(), StartsWith("pinpad-sim: cannot make the link"));
}

TEST_F(ProgramTest, ReplacesTheLinkOfOneThatWasKilledAndNotOfOneThatLives) {
    {
        Program killed({"--quiet", "--link", file("pinpad")});
        EXPECT_EQ(killed.line(), file("pinpad"));
        Program second({"--quiet", "--link", file("pinpad")});
        EXPECT_EQ(second.wait(), 1);
        EXPECT_EQ(second.errors(),
                  "pinpad-sim: another virtual PIN pad keeps the link '" + file("pinpad") + "'\n");
        killed.signal(SIGKILL);
        killed.output(); // to the end, which is its own
    }
    EXPECT_TRUE(std::filesystem::is_symlink(file("pinpad")));
    Program next({"--quiet", "--link", file("pinpad")});
    EXPECT_EQ(next.line(), file("pinpad"));
    Host host(file("pinpad"));
    EXPECT_EQ(host.ask("OPN"), "OPN000");
}

TEST_F(ProgramTest, RefusesATimeScaleThatIsNone) {
    for (const std::string scale : {"nan", "inf", "1e999", "-1", "0", "", "2x"}) {
        Program program({"--time-scale", scale});
        EXPECT_GT(program.wait(), 0) << scale;
        EXPECT_THAT(program.errors(),
                    HasSubstr("'" + scale + "' is no number of 0.001 to 1000000"));
    }
}

// Every byte that an argument may have; without the slash it is the name of a file as well.
std::string every_byte(unsigned first, bool with_slash) {
    std::string text;
    for (unsigned byte = first; byte <= 0xFF; ++byte) {
        if (byte != '/' || with_slash)
            text.push_back(static_cast<char>(byte));
    }
    return text;
}

// A terminal must not obey what the host sends, what the customer does or what the scenario says.
TEST_F(ProgramTest, ShowsEveryByteInsteadOfHavingItObeyed) {
    const std::string all = every_byte(0, true);
    std::string every;
    for (unsigned byte = 0; byte <= 0xFF; ++byte)
        every += "\\x" + hex({static_cast<std::uint8_t>(byte)});
    const std::string path = scenario("card c track1 \"" + every + "\"\n" + //
                                      "prompt 1 \"" + every + "\"\n" +      //
                                      "capture notify \"" + every + "\" keys 1 enter\n" +
                                      "event code \"" + every + "\"\n" +    //
                                      "survey answer \"" + every + "\"\n" + //
                                      "qrcode answer \"" + every + "\"\n");
    for (const std::string style : {"--json", "--wire"}) {
        Program program({"--wire", style, "--scenario", path, "--type"});
        program.make_room();
        {
            Host host(program.line());
            // What comes back does not matter here.
            const auto give = [&host](const Bytes &data) {
                host.write(data);
                host.read_all(milliseconds(20));
            };
            for (std::size_t at = 0; at < all.size(); at += 64) {
                const std::string part = all.substr(at, 64);
                give(frame(
                    bytes("DEX" + number(part.size() + 3, 3) + number(part.size(), 3) + part)));
                give(frame(bytes("CLO" + number(part.size(), 3) + part)));
            }
            for (std::size_t at = 0; at < all.size(); at += 8) {
                const std::string name = all.substr(at, 8);
                give(frame(bytes(command("DSI", record(30, name)))));
                give(frame(
                    bytes(command("MLI", record(30, name) + record(31, std::string(10, '\0'))))));
                give(frame(bytes(name.substr(0, 3) + "000")));
                give(ext_frame(name.substr(4) + "0000"));
            }
            give(frame(bytes(command("GCD", record(11, std::string("\0\1", 2)) + record(13, "\1") +
                                                record(14, "\4")))));
            give(frame(bytes(command("CEX", record(6, "111111")))));
            give(ext_frame("QR01000"
                           "0"
                           "20"
                           "0256" +
                           all.substr(0x20, 20) + all));
            give(ext_frame("EX080000000"
                           "4"
                           "0"
                           "256" +
                           all + "0" + "000"));
            give(bytes(all));
            program.type(every_byte(1, true) + "\nswipe " + every_byte(0x21, true) + "\n");
        }
        program.type("unplug\n");
        const std::string output = program.lines_until("unplugged");
        program.signal(SIGTERM);
        EXPECT_EQ(program.wait(), 0);
        const std::string errors = program.errors();
        EXPECT_GT(std::count(output.begin(), output.end(), '\n'), 150);
        EXPECT_EQ(obeyed::in(output), "") << output;
        EXPECT_EQ(obeyed::in(errors), "") << errors;
        EXPECT_THAT(errors, HasSubstr("not understood: \\x01\\x02"));
        EXPECT_THAT(errors, HasSubstr("no such card: !"));
    }
}

// A program that this name is given to, whatever for, has none of it obeyed.
void ProgramTest::expect_shown(const std::string &name) const {
    std::ofstream(file(name)) << "\x1B" << every_byte(1, true);
    std::filesystem::create_directory(file("folder" + name.substr(6)));
    const std::vector<std::vector<std::string>> refused = {
        {"--scenario", file(name)},
        {"--scenario", file("none" + name.substr(4))},
        {"--scenario", file("folder" + name.substr(6))},
        {"--link", file(name)},
        {"--link", "/nowhere/" + name},
        {"--web", "0", "--web-address", name},
        {"--web", name},
        {"--time-scale", name},
        {"--" + name},
        {name}};
    for (const auto &arguments : refused) {
        Program program(arguments);
        EXPECT_GT(program.wait(), 0) << arguments.back();
        const std::string errors = program.errors();
        EXPECT_NE(errors, "") << arguments.front();
        EXPECT_EQ(obeyed::in(errors), "") << errors;
        EXPECT_EQ(program.output(), "");
    }
    for (const std::string style : {"--json", "--wire"}) {
        Program program({style, "--link", file("link" + name.substr(4))});
        const std::string path = program.line();
        EXPECT_THAT(path, HasSubstr("/link\\"));
        EXPECT_EQ(obeyed::in(path), "");
        program.signal(SIGTERM);
        EXPECT_EQ(obeyed::in(program.output()), "");
    }
}

TEST_F(ProgramTest, ShowsEveryByteOfANameInsteadOfHavingItObeyed) {
    expect_shown(every_byte(1, false));
}

TEST_F(ProgramTest, ShowsWhatTurnsALineInANameInsteadOfHavingItObeyed) {
    std::string name = "name";
    for (const std::string_view character : obeyed::TURNS_AND_BREAKS)
        name += character;
    expect_shown(name);
}

TEST_F(ProgramTest, ShowsTheLettersOfAName) {
    const std::string path = file("pinp\xC3\xA1"
                                  "d");
    Program program({"--type", "--link", path});
    EXPECT_EQ(program.line(), path);
    program.type("unplug replug\n");
    EXPECT_EQ(program.line_starting("port"), "port path=" + path);
    Program told({"--json", "--scenario", "/nowhere/\xE6\x97\xA5"});
    EXPECT_EQ(told.wait(), 1);
    EXPECT_EQ(told.errors(),
              "pinpad-sim: cannot read the scenario '/nowhere/\xE6\x97\xA5': No such "
              "file or directory\n");
}

TEST_F(ProgramTest, RefusesUnknownOptions) {
    Program program({"--nonsense"});
    EXPECT_GT(program.wait(), 0);
    EXPECT_THAT(program.errors(), HasSubstr("--nonsense"));
}

TEST_F(ProgramTest, ShowsVersionAndHelp) {
    Program version({"--version"});
    EXPECT_THAT(version.line(), StartsWith("pinpad-sim 0."));
    EXPECT_EQ(version.wait(), 0);
    Program help({"--help"});
    EXPECT_THAT(help.output(), HasSubstr("described in sim/README.md"));
    EXPECT_EQ(help.wait(), 0);
}

} // namespace
