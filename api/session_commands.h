#pragma once

#include "abecs/commands/event.h"
#include "abecs/param_map.h"
#include "core/list.h"

#include <cstdint>

/// The commands that are not exported, on the global session. Failures are those of the command
/// modules; "'pinpad' is NULL" when there is no session.

/// Event check: start with options, start with the options "100099", poll into a map.
void pinpad_check_event(const char *cexOpt, const std::uint32_t *number,
                        const AbecsEventPair *pair);
void pinpad_check_event_default(const std::uint32_t *number);
std::int32_t pinpad_check_event_response(AbecsParamMap *out, char *notification);

/// Polls for the status only: the device's time-out (12) comes back as -1.
std::int32_t pinpad_check_event_status();

/// Display: a text, an empty text, a stored image, stored multimedia files, the list of them.
std::int32_t pinpad_display(const char *msg);
std::int32_t pinpad_display_clear();
std::int32_t pinpad_display_image(const char *filename);
std::int32_t pinpad_display_media(const PclList *files);
std::int32_t pinpad_list_media(PclList *out);

/// Loads a local file into the PIN pad under a name.
void pinpad_load_media(const char *path, const char *filename, std::uint8_t mediaType);
