#include "sim/console.h"
#include "sim/scenario.h"
#include "sim/scenario_file.h"
#include "sim/simulator.h"
#include "sim/text.h"
#include "sim/web/feed.h"
#include "sim/web/server.h"
#include "sim/web/station.h"

#include <CLI/CLI.hpp>

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <cmath>
#include <csignal>
#include <exception>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>

namespace {

struct Settings {
    std::string scenario_file;
    sim::SimulatorOptions options;
    bool json = false;
    bool quiet = false;
    bool wire = false;
    bool once = false;
    bool type = false;
    std::optional<std::uint16_t> web_port;
    std::string web_address = "127.0.0.1";
};

std::string scenario_of(const Settings &settings) {
    if (settings.scenario_file.empty()) {
        return {};
    }
    try {
        return sim::read_scenario(settings.scenario_file);
    } catch (const std::runtime_error &error) {
        throw std::runtime_error("cannot read the scenario '" + settings.scenario_file +
                                 "': " + error.what());
    }
}

// One line on standard error.
void tell(const std::string &text) {
    std::cerr << sim::visible(text) << std::endl;
}

// Makes termination signals a descriptor to poll. Blocks them for this thread and those started
// after it.
class TerminationSignals {
public:
    TerminationSignals() {
        sigset_t set;
        sigemptyset(&set);
        sigaddset(&set, SIGINT);
        sigaddset(&set, SIGTERM);
        pthread_sigmask(SIG_BLOCK, &set, nullptr);
        fd_ = signalfd(-1, &set, SFD_CLOEXEC);
        if (fd_ < 0) {
            throw std::runtime_error("cannot watch for signals");
        }
    }
    ~TerminationSignals() { ::close(fd_); }
    TerminationSignals(const TerminationSignals &) = delete;
    TerminationSignals &operator=(const TerminationSignals &) = delete;
    int fd() const { return fd_; }

private:
    int fd_;
};

// A flag that one thread sets and another polls for.
class Flag {
public:
    Flag() : fd_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
        if (fd_ < 0) {
            throw std::runtime_error("cannot make an event descriptor");
        }
    }
    ~Flag() { ::close(fd_); }
    Flag(const Flag &) = delete;
    Flag &operator=(const Flag &) = delete;
    void raise() { eventfd_write(fd_, 1); }
    int fd() const { return fd_; }

private:
    int fd_;
};

// Does what the lines typed at the terminal say.
class Typist {
public:
    explicit Typist(sim::web::Station &station) : station_(station) {}

    // Reads what there is. Returns whether there may be more to come.
    bool read_input() {
        std::array<char, 512> buffer{};
        const ssize_t count = ::read(STDIN_FILENO, buffer.data(), buffer.size());
        if (count <= 0) {
            return false;
        }
        for (char c : std::string(buffer.data(), static_cast<std::size_t>(count))) {
            if (c == '\n') {
                obey(std::exchange(line_, {}));
            } else {
                line_.push_back(c);
            }
        }
        return true;
    }

private:
    void obey(const std::string &line) {
        std::istringstream words(line);
        std::string word;
        while (words >> word) {
            if (word == "swipe") {
                words >> word;
                swipe(word);
            } else if (word == "button") {
                words >> word;
                press_buttons(word);
            } else if (!press(word) && !handle(word)) {
                tell("not understood: " + word);
            }
        }
    }

    void swipe(const std::string &name) {
        const auto cards = station_.scenario().cards;
        const auto found = cards.find(name);
        if (found == cards.end()) {
            tell("no such card: " + name);
        } else {
            station_.device()->swipe(found->second);
        }
    }

    void press_buttons(const std::string &buttons) {
        for (char button : buttons) {
            station_.device()->press_button(button);
        }
    }

    bool press(const std::string &word) {
        if (word.find_first_not_of("0123456789") == std::string::npos) {
            station_.device()->press(word);
            return true;
        }
        const auto key = sim::key_of_name(word);
        if (key) {
            station_.device()->press_key(*key);
        }
        return key.has_value();
    }

    bool handle(const std::string &word) {
        if (word == "insert") {
            station_.device()->insert_card();
        } else if (word == "remove") {
            station_.device()->remove_card();
        } else if (word == "tap") {
            station_.device()->tap_card();
        } else if (word == "hold") {
            station_.device()->hold_card();
        } else if (word == "take") {
            station_.device()->take_card();
        } else if (word == "unplug") {
            station_.device()->unplug();
        } else if (word == "replug") {
            station_.device()->replug();
        } else {
            return false;
        }
        return true;
    }

    sim::web::Station &station_;
    std::string line_;
};

bool session_was_closed(const sim::JournalEntry &entry) {
    return entry.kind == "response" && (entry.field("id") == "CLO" || entry.field("id") == "CLX");
}

// Returns when a signal comes, or when the flag is raised.
void serve(const TerminationSignals &signals, const Flag &finished, Typist *typist) {
    std::array<pollfd, 3> watched{{{signals.fd(), POLLIN, 0},
                                   {finished.fd(), POLLIN, 0},
                                   {typist != nullptr ? STDIN_FILENO : -1, POLLIN, 0}}};
    while (true) {
        if (::poll(watched.data(), watched.size(), -1) < 0) {
            continue;
        }
        if (watched[0].revents != 0 || watched[1].revents != 0) {
            return;
        }
        if (watched[2].revents != 0 && !typist->read_input()) {
            watched[2].fd = -1;
        }
    }
}

// Shows the station in browsers.
std::unique_ptr<sim::web::Server> serve_web(const Settings &settings, sim::web::Station &station,
                                            sim::web::Feed &feed) {
    sim::web::ServerOptions options;
    options.address = settings.web_address;
    options.port = settings.web_port.value_or(0);
    auto server = std::make_unique<sim::web::Server>(station, feed, options);
    if (!server->local()) {
        tell("warning: whoever reaches " + settings.web_address + " port " +
             std::to_string(server->port()) + " can see and use this PIN pad");
    }
    tell("open " + server->url());
    return server;
}

void run(const Settings &settings) {
    const std::string text = scenario_of(settings);
    const TerminationSignals signals;
    Flag finished;
    sim::Console console(std::cout,
                         settings.json ? sim::Console::Style::json : sim::Console::Style::text);
    sim::web::Feed feed;
    sim::web::Station station(
        text, settings.options,
        [&](const sim::JournalEntry &entry) {
            if (!settings.quiet) {
                console.entry(entry);
            }
            if (settings.once && session_was_closed(entry)) {
                finished.raise();
            }
            feed.touch();
        },
        [&](const sim::WireFrame &frame) {
            if (settings.wire) {
                console.frame(frame);
            }
            feed.add(frame);
        });
    std::unique_ptr<sim::web::Server> server;
    if (settings.web_port) {
        server = serve_web(settings, station, feed);
    }
    console.open(station.device()->port());
    std::optional<Typist> typist;
    if (settings.type) {
        typist.emplace(station);
    }
    serve(signals, finished, typist ? &*typist : nullptr);
    if (settings.once) {
        station.device()->wait_drained(std::chrono::seconds(2));
    }
}

// Why a time scale is refused; empty when it is not.
std::string time_scale_complaint(const std::string &text) {
    constexpr double least = 0.001;
    constexpr double greatest = 1000000;
    double scale = 0;
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, scale);
    // NaN passes any comparison with a range.
    const bool number = error == std::errc() && stop == end && std::isfinite(scale);
    return number && scale >= least && scale <= greatest
               ? std::string()
               : "'" + text + "' is no number of 0.001 to 1000000";
}

// A standard stream that is closed must not become the port, or what wakes the device.
void occupy_standard_streams() {
    int fd = 0;
    do {
        fd = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    } while (fd >= 0 && fd <= STDERR_FILENO);
    if (fd >= 0) {
        ::close(fd);
    }
}

int start(int argc, char **argv) {
    Settings settings;
    CLI::App app{"A PIN pad without the hardware, on a pseudo terminal"};
    app.set_version_flag("--version", std::string("pinpad-sim ") + PINPAD_SIM_VERSION);
    app.footer("The scenario language is described in sim/README.md.");
    app.add_option("--scenario", settings.scenario_file,
                   "What the customer does and which faults strike");
    app.add_option("--link", settings.options.link, "Keep a symbolic link to the port");
    app.add_option("--time-scale", settings.options.time_scale,
                   "Let the customer and the device's time limits run this many times faster")
        ->check(CLI::Validator(time_scale_complaint, ""));
    app.add_flag("--json", settings.json, "Tell what happens as JSON lines");
    app.add_flag("--quiet", settings.quiet, "Print the port only");
    app.add_flag("--wire", settings.wire, "Show the decoded frames as well");
    app.add_flag("--pace", settings.options.paced, "Move bytes at the rate of 19200 baud");
    app.add_flag("--once", settings.once, "End after CLO or CLX has been answered");
    app.add_flag("--type", settings.type,
                 "Read input lines even when standard input is not a terminal");
    app.add_option("--web", settings.web_port,
                   "Show the device to browsers, on this port (a free one when 0 or left out)")
        ->expected(0, 1)
        ->default_str("0");
    app.add_option("--web-address", settings.web_address,
                   "Bind that to this address; other machines may then use the device")
        ->needs("--web")
        ->capture_default_str();
    settings.options.keep_logs = false;
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success &request) {
        return app.exit(request);
    } catch (const CLI::ParseError &error) {
        tell(error.what());
        tell("Run with --help for more information.");
        return error.get_exit_code();
    }
    settings.type = settings.type || ::isatty(STDIN_FILENO) == 1;
    // Reading the terminal from the background then fails instead of stopping the process.
    ::signal(SIGTTIN, SIG_IGN);
    ::signal(SIGPIPE, SIG_IGN);
    try {
        run(settings);
    } catch (const sim::ScenarioError &error) {
        tell(settings.scenario_file + ": " + error.what());
        return 1;
    } catch (const std::exception &error) {
        tell(std::string("pinpad-sim: ") + error.what());
        return 1;
    }
    return 0;
}

} // namespace

int main(int argc, char **argv) {
    try {
        occupy_standard_streams();
        return start(argc, argv);
    } catch (...) {
        return 1;
    }
}
