#pragma once

#include "sim/types.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace sim {

// A copy of all that can be seen of the device at one moment. Texts are bytes as the host sent
// them (Latin-1).
struct Snapshot {
    bool plugged = false;
    bool open = false;           // between OPN and CLO or CLX
    bool secure = false;         // holds a session key: the secure lamp
    bool waiting = false;        // a command waits for the customer: the pending lamp
    std::string pending_command; // its identifier, else empty

    ScreenKind screen = ScreenKind::blank;
    std::vector<std::string> display; // the lines as shown, without trailing blanks or empty lines
    std::vector<std::string> shown_media; // names on the screen, in the order of display
    std::string qr_text;                  // what the QR code on the screen says
    std::vector<std::string> qr_modules;  // its rows, '1' for dark, without the quiet zone
    std::string buttons;                  // the characters of the buttons on the screen
    std::string idle_message;             // the text left by CLO or CLX, padding removed
    std::string idle_media;               // the media left by CLX

    std::string typed;                        // digits of the capture that is going on
    std::optional<std::string> last_captured; // of the last capture that ended with Enter
    std::uint16_t last_prompt = 0;            // the prompt number of the last capture
    std::string last_event;                   // the event code last reported

    std::string last_answer; // of the last QR code or survey that the customer answered

    bool card_held = false; // the contactless card is in the field

    std::vector<MediaFile> media; // the store, in order of arrival
    std::string loading;          // the name of the load that is under way
    ChipSlot chip_slot = ChipSlot::empty;

    std::size_t beeps = 0;
    std::size_t commands = 0;       // good command frames taken
    std::size_t refused_frames = 0; // frames answered with NAK of the device's own accord
    std::size_t resends = 0;        // responses sent again because of a NAK of the host
    std::size_t aborts = 0;         // CAN bytes taken
    std::size_t overlaps = 0;       // commands that came while another one was waiting
    std::size_t faults_struck = 0;

    // Returns the named file of the store, or null.
    const MediaFile *find_media(const std::string &name) const;
};

} // namespace sim
