#include "tests/soak/storm.h"

#include <CLI/CLI.hpp>

#include <exception>
#include <iostream>
#include <map>
#include <random>
#include <string>

namespace {

void print(const soak::StormReport &report) {
    for (const auto &[outcome, count] : report.outcomes) {
        std::cout << count << " x " << outcome << '\n';
    }
    std::cout << report.exchanges << " exchanges, " << report.frames << " frames, " << report.struck
              << " faults struck, " << report.failures << " failures, " << report.silentPolls
              << " polls without an answer, " << report.reopened << " times opened\n"
              << "largest delay beyond the documented waits: " << report.largestDelay.count()
              << " ms\n"
              << "from exchange " << report.earlyAt << " to the last: heap " << report.early.heap
              << " -> " << report.last.heap << " bytes, resident " << report.early.resident / 1024
              << " -> " << report.last.resident / 1024 << " KiB, files " << report.early.files
              << " -> " << report.last.files << '\n';
}

} // namespace

int main(int argc, char **argv) {
    soak::StormOptions options;
    options.seed = std::random_device{}();
    double slack = options.slack.count();
    const std::map<std::string, soak::Channel> channels = {{"plain", soak::Channel::PLAIN},
                                                           {"secure", soak::Channel::SECURE},
                                                           {"both", soak::Channel::BOTH}};
    CLI::App app("Random commands against the virtual PIN pad under random faults");
    app.add_option("--exchanges", options.exchanges, "how many")->capture_default_str();
    app.add_option("--seed", options.seed, "the same seed, the same commands and faults");
    app.add_option("--rate", options.rate, "percent of the frames that are struck")
        ->check(CLI::Range(0, 100))
        ->capture_default_str();
    app.add_option("--time-divisor", options.divisor, "what the waits are divided by")
        ->check(CLI::Range(1, 1000))
        ->capture_default_str();
    app.add_option("--secure", options.channel, "plain, secure or both")
        ->transform(CLI::CheckedTransformer(channels));
    app.add_option("--slack", slack, "milliseconds that the machine may add to a wait")
        ->capture_default_str();
    CLI11_PARSE(app, argc, argv);
    options.slack = soak::Milliseconds(slack);

    std::cout << "seed " << options.seed << ", rate " << options.rate << " %, waits divided by "
              << options.divisor << std::endl;
    try {
        soak::Storm storm(options, std::cout);
        print(storm.run());
    } catch (const std::exception &error) {
        std::cerr << "pinpad-soak: " << error.what() << '\n';
        return 1;
    }
    return 0;
}
