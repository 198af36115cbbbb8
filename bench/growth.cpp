#include "abecs/open.h"
#include "bench/device.h"
#include "bench/media.h"
#include "bench/stats.h"

#include "abecs/cmd_builder.h"
#include "abecs/commands/display.h"
#include "abecs/param_map.h"
#include "abecs/pinpad.h"
#include "abecs/response_parser.h"
#include "core/owned.h"
#include "core/string_list.h"

#include <cstdio>
#include <memory>

namespace bench {

namespace {

constexpr int REPEATS = 11;

struct FileClose {
    void operator()(std::FILE *file) const { std::fclose(file); }
};
using Output = std::unique_ptr<std::FILE, FileClose>;
using ListPtr = PclOwned<PclList, pcl_list_destroy>;

// The median of several turns.
template <typename Body>
void put(const Output &out, const char *subject, std::size_t size, int repeats, Body body) {
    std::vector<double> times;
    for (int i = 0; i < repeats; ++i) {
        times.push_back(seconds(Clock::CPU, body));
    }
    std::fprintf(out.get(), "%s,%zu,%.9f\n", subject, size, spreadOf(times).median);
}

// The body of a response with that many parameters of 8 bytes.
std::string bodyOf(std::size_t parameters) {
    std::string block;
    for (std::size_t i = 0; i < parameters; ++i) {
        block += {'\x80', static_cast<char>(i + 1), '\0', '\x08'};
        block += "12345678";
    }
    const std::string digits = std::to_string(block.size());
    return "GIX000" + std::string(3 - digits.size(), '0') + digits + block;
}

void collect(const std::string &body) {
    const AbecsPacketPtr packet(abecsPacketCreate());
    abecsFieldPutBytes(packet.get(), body.data(), body.size());
    const AbecsResponseParserPtr parser(abecsParserCreate());
    abecsParserParse(parser.get(), packet.get());
    const AbecsParamMapPtr map(abecsParamMapCreate());
    abecsParamMapCollect(map.get(), parser.get());
}

} // namespace

void measureGrowth(const std::string &path) {
    const Output out(std::fopen(path.c_str(), "w"));
    if (out == nullptr) {
        throw std::runtime_error("cannot write " + path);
    }
    Device device(Device::Speaks::ABECS);
    const AbecsPinpadPtr pinpad(abecs_pinpad_create(device.port().c_str()));
    std::fputs("subject,size,cpu_seconds\n", out.get());
    for (std::size_t length = 1; length <= 160; length = length < 5 ? 5 : length * 2) {
        const std::string text(length, 'A');
        put(out, "message", length, 20 * REPEATS, [&] { abecs_dex(pinpad.get(), text.c_str()); });
    }
    for (std::size_t parameters = 1; parameters <= 64; parameters *= 2) {
        const std::string body = bodyOf(parameters);
        put(out, "parameters", parameters, 20 * REPEATS, [&] { collect(body); });
    }
    for (std::size_t count = 1; count <= 64; count *= 2) {
        const ListPtr files(pcl_string_list_create());
        for (std::size_t i = 0; i < count; ++i) {
            pcl_list_append(files.get(), "IMAGE001");
        }
        put(out, "files", count, 20 * REPEATS, [&] { abecs_dmf(pinpad.get(), files.get()); });
    }
    for (std::size_t size = 1024; size <= (std::size_t{1} << 24U); size *= 4) {
        const MediaFile file(size);
        const int repeats = size > (std::size_t{1} << 20U) ? 1 : REPEATS;
        put(out, "media", size, repeats, [&] { file.load(pinpad.get()); });
    }
}

} // namespace bench
