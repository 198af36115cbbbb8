#include "tests/faults/commands.h"

#include "abecs/commands/capture.h"
#include "abecs/commands/close.h"
#include "abecs/commands/display.h"
#include "abecs/commands/event.h"
#include "abecs/commands/media.h"
#include "abecs/open.h"
#include "core/owned.h"
#include "core/string_list.h"

#include <array>

namespace faults {

namespace {

using ListPtr = PclOwned<PclList, pcl_list_destroy>;

constexpr std::array<std::uint8_t, 3> RECORD = {0x16, 0x13, 0x17};
constexpr std::uint16_t RECORD_CRC =
    0xC535; // python3: binascii.crc_hqx(bytes([0x16,0x13,0x17]), 0)

void startCapture(AbecsPinpad *pinpad) {
    abecs_gcd_start(pinpad, 1, 3, 6, 0);
}

std::int32_t pollCapture(AbecsPinpad *pinpad) {
    std::array<char, 1000> out{};
    return abecs_gcd_response(pinpad, out.data(), nullptr);
}

void startEvent(AbecsPinpad *pinpad) {
    abecsCheckEvent(pinpad, "100099", nullptr, nullptr);
}

std::int32_t pollEvent(AbecsPinpad *pinpad) {
    const AbecsParamMapPtr map(abecsParamMapCreate());
    return abecsCheckEventResponse(pinpad, map.get(), nullptr);
}

std::int32_t loadInit(AbecsPinpad *pinpad) {
    return abecsMediaLoadInit(pinpad, "NEW", RECORD.size(), RECORD_CRC, 1);
}

std::int32_t loadRecord(AbecsPinpad *pinpad) {
    return abecsMediaLoadRecord(pinpad, RECORD.data(), RECORD.size());
}

void prepareRecord(AbecsPinpad *pinpad) {
    loadInit(pinpad);
}

void prepareEnd(AbecsPinpad *pinpad) {
    loadInit(pinpad);
    loadRecord(pinpad);
}

} // namespace

const char *scenario() {
    return "media LOGO text \"picture\"\n"
           "capture * keys 1234 enter\n"
           "event * key f1\n"
           "mifare uid 11223344 value 4 1000\n"
           "qrcode * wait 50 enter\n"
           "survey * wait 50 press 7\n"
           "cxsurvey * wait 50 press 2\n";
}

const std::vector<Command> &commands() {
    static const std::vector<Command> all = {
        {"Open", "OPN", nullptr,
         [](AbecsPinpad *p) -> std::int32_t { return abecs_open(p, p->secure); }, 0, true, true,
         false, true},
        {"Close", "CLO", nullptr,
         [](AbecsPinpad *p) -> std::int32_t { return abecs_clo(p, "BYE"); }, 0, true, true, false,
         true},
        {"CloseExtended", "CLX", nullptr,
         [](AbecsPinpad *p) -> std::int32_t { return abecs_clx(p, "BYE", "LOGO"); }, 0, true, true,
         false, true},
        {"Display", "DEX", nullptr,
         [](AbecsPinpad *p) -> std::int32_t { return abecs_dex(p, "HELLO"); }},
        {"DisplayImage", "DSI", nullptr,
         [](AbecsPinpad *p) -> std::int32_t { return abecs_dsi(p, "LOGO"); }},
        {"DisplayMedia", "DMF", nullptr,
         [](AbecsPinpad *p) -> std::int32_t {
             const ListPtr files(pcl_string_list_create());
             pcl_list_append(files.get(), "LOGO");
             return abecs_dmf(p, files.get());
         }},
        {"ListMedia", "LMF", nullptr,
         [](AbecsPinpad *p) -> std::int32_t {
             const ListPtr names(pcl_string_list_create());
             return abecs_lmf(p, names.get());
         }},
        {"LoadInit", "MLI", nullptr, loadInit},
        {"LoadRecord", "MLR", prepareRecord, loadRecord},
        {"LoadEnd", "MLE", prepareEnd,
         [](AbecsPinpad *p) -> std::int32_t { return abecsMediaLoadEnd(p); }},
        {"CaptureStart", "GCD", nullptr,
         [](AbecsPinpad *p) -> std::int32_t {
             startCapture(p);
             return 0;
         },
         0, true, false},
        {"CapturePoll", "GCD", startCapture, pollCapture, 0, false, true, true},
        {"EventStart", "CEX", nullptr,
         [](AbecsPinpad *p) -> std::int32_t {
             startEvent(p);
             return 0;
         },
         0, true, false},
        {"EventPoll", "CEX", startEvent, pollEvent, 0, false, true, true},
    };
    return all;
}

} // namespace faults
