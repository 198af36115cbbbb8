#pragma once

#include "sim/wire_log.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace sim {

// One thing that happened at the device, as somebody standing before it or watching its line
// would tell it. The kind is a short fixed word; the fields depend on it:
//
//   port       path                         the line is there under this name
//   unplugged  (none)                       the line is gone
//   display    kind, line1 .. lineN, media  the screen changed
//   key        key                          a key went down ("0".."9" or a key's name)
//   beep       why                          the device refused a key
//   card       action, slot                 swipe, insert, remove, tap, hold, take
//   command    id, encrypted                a good command frame was taken
//   refused    why                          a frame from the host was answered with NAK
//   response   id, status, encrypted        a response was handed to the line
//   notify     text                         a notification was handed to the line
//   resend     number                       the host asked for the last response again
//   abort      id                           CAN ended this command (empty when idle)
//   overlap    id, by                       a command came while another one was waiting
//   secure     state                        "on" or "off"
//   session    state                        "open" or "closed"
//   captured   value                        a capture ended with this value
//   qrcode     line, text                   a QR code is on the screen
//   survey     id, ..., buttons             a survey is on the screen
//   answered   id, value                    a QR code or survey ended with this answer
//   stop       id                           the host wants this survey's answer now
//   mifare     id, status                   what the contactless card was asked ended so
//   media      action, name, size           load, store, refuse
//   fault      stage, action                a fault struck, or a reply that was armed live
//   line-error text                         the line could not be read or written
struct JournalEntry {
    Clock::time_point time;
    std::string kind;
    std::vector<std::pair<std::string, std::string>> fields;

    // Returns the value of a field, or the empty text when the entry has none of this name.
    std::string field(const std::string &name) const;
};

using WireListener = std::function<void(const WireFrame &)>;
using JournalListener = std::function<void(const JournalEntry &)>;

} // namespace sim
