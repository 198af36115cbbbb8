// Measures the library beside its neighbours and writes one table of ratios.
//
// usage: ratios --out DIR [--rounds N] [--library FILE] [--long-load BYTES] [--only GROUPS]

#include "bench/exchanges.h"
#include "bench/stats.h"

#include "core/guard.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <string_view>

namespace {

struct Options {
    std::string out;
    std::string library;
    std::string only = "bytes,crypto,exchange,line,start,growth";
    std::size_t rounds = 11;
    std::size_t longLoad = 0;
};

bool wanted(const Options &options, const char *group) {
    return options.only.find(group) != std::string::npos;
}

void measure(const Options &options) {
    bench::Table table(options.rounds);
    if (wanted(options, "bytes")) {
        bench::measureBytes(table);
    }
    if (wanted(options, "crypto")) {
        bench::measureCrypto(table);
    }
    if (wanted(options, "exchange")) {
        bench::measureExchanges(table);
    }
    if (wanted(options, "start")) {
        bench::measureStart(table, options.library);
    }
    if (wanted(options, "line")) {
        bench::measureLine(table, options.longLoad);
    }
    table.writeMarkdown(options.out + "/ratios.md");
    table.writeJson(options.out + "/ratios.json");
    if (wanted(options, "growth")) {
        bench::measureGrowth(options.out + "/growth.csv");
    }
}

int usage() {
    std::fputs("usage: ratios --out DIR [--rounds N] [--library FILE] [--long-load BYTES]"
               " [--only GROUPS]\n       ratios --turns SIDE COUNT\n",
               stderr);
    return 2;
}

} // namespace

int main(int argc, char **argv) {
    Options options;
    if (argc == 4 && std::string_view(argv[1]) == "--turns") {
        return bench::takeTurns(argv[2], std::strtoul(argv[3], nullptr, 10)) ? 0 : usage();
    }
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string_view name = argv[i];
        if (name == "--out") {
            options.out = argv[i + 1];
        } else if (name == "--library") {
            options.library = argv[i + 1];
        } else if (name == "--only") {
            options.only = argv[i + 1];
        } else if (name == "--rounds") {
            options.rounds = std::strtoul(argv[i + 1], nullptr, 10);
        } else if (name == "--long-load") {
            options.longLoad = std::strtoul(argv[i + 1], nullptr, 10);
        } else {
            return usage();
        }
    }
    if (options.out.empty() || options.rounds == 0 || argc % 2 == 0) {
        return usage();
    }
    try {
        const PclException failure = pcl_attempt([&] { measure(options); });
        if (failure) {
            std::fprintf(stderr, "%s\n", failure.message);
            return 1;
        }
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return 0;
}
