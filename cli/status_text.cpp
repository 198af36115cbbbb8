#include "cli/status_text.h"

#include "abecs/rsp_datid.h"
#include "abecs/rsp_stat.h"

#include <algorithm>
#include <array>

namespace cli {

namespace {

constexpr std::string_view DATA_PREFIX = "ABECS_RSP_DATID_";

struct Explanation {
    AbecsRspStat_e status;
    const char *text;
};

constexpr std::array EXPLANATIONS = {
    Explanation{ABECS_RSP_STAT_ST_OK, "Done."},
    Explanation{ABECS_RSP_STAT_ST_NOSEC,
                "The PIN pad takes this command on a secure session only. Run it with --secure."},
    Explanation{ABECS_RSP_STAT_ST_F1, "The customer pressed F1."},
    Explanation{ABECS_RSP_STAT_ST_F2, "The customer pressed F2."},
    Explanation{ABECS_RSP_STAT_ST_F3, "The customer pressed F3."},
    Explanation{ABECS_RSP_STAT_ST_F4, "The customer pressed F4."},
    Explanation{ABECS_RSP_STAT_ST_BACKSP, "The customer pressed Clear."},
    Explanation{ABECS_RSP_STAT_ST_ERRPKTSEC,
                "The PIN pad wanted an encrypted command, or could not decrypt this one. Run it "
                "again with --secure, which agrees on a new key."},
    Explanation{ABECS_RSP_STAT_ST_INVCALL,
                "The PIN pad does not know this command, or does not take it now."},
    Explanation{ABECS_RSP_STAT_ST_INVPARM,
                "The PIN pad does not take one of the values given. Check them; --trace shows what "
                "was sent."},
    Explanation{ABECS_RSP_STAT_ST_TIMEOUT, "The customer did nothing in time. Run it again."},
    Explanation{ABECS_RSP_STAT_ST_CANCEL, "The customer pressed Cancel."},
    Explanation{ABECS_RSP_STAT_ST_MANDAT,
                "The PIN pad misses a value that it needs. --trace shows what was sent."},
    Explanation{ABECS_RSP_STAT_ST_TABVERDIF, "The tables in the PIN pad have another version."},
    Explanation{ABECS_RSP_STAT_ST_TABERR, "The tables in the PIN pad cannot be used. Load them."},
    Explanation{ABECS_RSP_STAT_ST_INTERR,
                "The PIN pad had an internal error. Switch it off and on and run it again."},
    Explanation{ABECS_RSP_STAT_ST_MCDATAERR,
                "The magnetic stripe could not be read. Draw the card again."},
    Explanation{ABECS_RSP_STAT_ST_ERRKEY, "The PIN pad does not hold the key that this needs."},
    Explanation{ABECS_RSP_STAT_ST_NOCARD, "There is no card in the reader."},
    Explanation{ABECS_RSP_STAT_ST_PINBUSY,
                "The PIN pad cannot take a PIN now, because one was taken just before. Wait and "
                "run it again."},
    Explanation{ABECS_RSP_STAT_ST_RSPOVRFL, "The answer is too long for the PIN pad to send."},
    Explanation{ABECS_RSP_STAT_ST_ERRCRYPT, "The PIN pad could not check a cryptogram."},
    Explanation{ABECS_RSP_STAT_ST_NOSAM, "The security module is missing or does not answer."},
    Explanation{ABECS_RSP_STAT_ST_DUMBCARD, "The card does not answer. Is it the right way round?"},
    Explanation{ABECS_RSP_STAT_ST_ERRCARD,
                "Talking to the card failed. Take it out and insert it again."},
    Explanation{ABECS_RSP_STAT_ST_CARDINVALIDAT, "The card has been invalidated."},
    Explanation{ABECS_RSP_STAT_ST_CARDPROBLEMS,
                "The card does not behave as it should. Use another one."},
    Explanation{ABECS_RSP_STAT_ST_CARDINVDATA,
                "The card holds data that make no sense. Use another one."},
    Explanation{ABECS_RSP_STAT_ST_CARDAPPNAV,
                "The card has no application that the PIN pad accepts."},
    Explanation{ABECS_RSP_STAT_ST_CARDAPPNAUT,
                "The application of the card must not be used for this."},
    Explanation{ABECS_RSP_STAT_ST_ERRFALLBACK,
                "The chip failed, and the stripe must not stand in for it."},
    Explanation{ABECS_RSP_STAT_ST_INVAMOUNT, "The amount is not valid."},
    Explanation{ABECS_RSP_STAT_ST_ERRMAXAID, "There are more applications than the PIN pad takes."},
    Explanation{ABECS_RSP_STAT_ST_CARDBLOCKED, "The card is blocked."},
    Explanation{ABECS_RSP_STAT_ST_CTLSMULTIPLE,
                "More than one contactless card is in reach. Show one only."},
    Explanation{ABECS_RSP_STAT_ST_CTLSCOMMERR,
                "Talking to the contactless card failed. Hold it to the reader again."},
    Explanation{ABECS_RSP_STAT_ST_CTLSINVALIDAT, "The contactless card has been invalidated."},
    Explanation{ABECS_RSP_STAT_ST_CTLSPROBLEMS,
                "The contactless card does not behave as it should. Use another one."},
    Explanation{ABECS_RSP_STAT_ST_CTLSAPPNAV,
                "The contactless card has no application that the PIN pad accepts."},
    Explanation{ABECS_RSP_STAT_ST_CTLSAPPNAUT,
                "The application of the contactless card must not be used for this."},
    Explanation{ABECS_RSP_STAT_ST_CTLSEXTCVM,
                "The customer has to confirm on their own device. Let them, and run it again."},
    Explanation{ABECS_RSP_STAT_ST_CTLSIFCHG,
                "The contactless card asks for the chip reader or the stripe reader."},
    Explanation{ABECS_RSP_STAT_ST_MFNFOUND,
                "The PIN pad has no media file of this name. List them with: pinpad media list"},
    Explanation{ABECS_RSP_STAT_ST_MFERRFMT,
                "The PIN pad does not take the format of the media file."},
    Explanation{ABECS_RSP_STAT_ST_MFERR,
                "Loading the media file failed in the PIN pad. Is there room for it? Load it "
                "again."},
};

struct Event {
    std::int32_t code;
    const char *name;
};

constexpr std::array EVENTS = {
    Event{0, "Enter pressed"},        Event{2, "up key pressed"},
    Event{3, "down key pressed"},     Event{4, "F1 pressed"},
    Event{5, "F2 pressed"},           Event{6, "F3 pressed"},
    Event{7, "F4 pressed"},           Event{8, "Clear pressed"},
    Event{13, "Cancel pressed"},      Event{90, "card swiped"},
    Event{91, "chip card removed"},   Event{92, "chip card inserted"},
    Event{93, "no contactless card"}, Event{94, "contactless card shown"},
};

} // namespace

std::string statusName(std::int32_t status) {
    const char *name = abecsRspStatFindName(status);
    return name == nullptr ? std::to_string(status) : name;
}

std::string dataName(std::uint16_t id) {
    const char *name = abecsRspDatIdFindName(id);
    return name == nullptr ? "unknown" : name + DATA_PREFIX.size();
}

std::string statusExplanation(std::int32_t status) {
    const auto *entry =
        std::find_if(EXPLANATIONS.begin(), EXPLANATIONS.end(),
                     [status](const Explanation &one) { return one.status == status; });
    return entry == EXPLANATIONS.end() ? "" : entry->text;
}

std::optional<std::int32_t> statusNamedIn(std::string_view failureMessage) {
    constexpr std::string_view BEFORE = " returned ";
    const std::size_t at = failureMessage.rfind(BEFORE);
    if (at == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view name = failureMessage.substr(at + BEFORE.size());
    for (const Explanation &entry : EXPLANATIONS) {
        if (statusName(entry.status) == name) {
            return entry.status;
        }
    }
    return std::nullopt;
}

std::string eventName(std::int32_t code) {
    const auto *entry = std::find_if(EVENTS.begin(), EVENTS.end(),
                                     [code](const Event &one) { return one.code == code; });
    return entry == EVENTS.end() ? "unknown event" : entry->name;
}

} // namespace cli
