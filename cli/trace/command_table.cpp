#include "cli/trace/command_table.h"

#include <algorithm>

namespace cli {

namespace {

const std::vector<CommandMeaning> &table() {
    static const std::vector<CommandMeaning> commands = {
        {"OPN",
         "open the session",
         {{"length", 3, Form::Characters},
          {"mode", 1, Form::Characters},
          {"modulus length", 3, Form::Characters},
          {"modulus", 512, Form::Bytes},
          {"exponent length", 1, Form::Characters},
          {"exponent", 6, Form::Characters}},
         {}},
        {"CLO",
         "close the session",
         {{"length", 3, Form::Characters}, {"idle message", 0, Form::Text}},
         {}},
        {"CLX",
         "close the session, extended",
         {},
         {{0x001E, "media name", Form::Text}, {0x001B, "message", Form::Text}}},
        {"GCD",
         "capture digits in the clear",
         {},
         {{0x000B, "prompt", Form::Binary},
          {0x000D, "least digits", Form::Binary},
          {0x000E, "most digits", Form::Binary},
          {0x000C, "seconds", Form::Binary}}},
        {"CEX",
         "check for events",
         {},
         {{0x0006, "event options", Form::Text},
          {0x000C, "number", Form::Binary},
          {0x0023, "pair", Form::Text}}},
        {"DEX",
         "display a text",
         {{"length", 3, Form::Characters},
          {"text length", 3, Form::Characters},
          {"text", 0, Form::Text}},
         {}},
        {"DSI", "display an image", {}, {{0x001E, "media name", Form::Text}}},
        {"DMF", "display media files", {}, {{0x001E, "media name", Form::Text}}},
        {"LMF", "list media files", {}, {}},
        {"MLI",
         "begin to load a media file",
         {},
         {{0x001E, "media name", Form::Text}, {0x001F, "media info", Form::MediaInfo}}},
        {"MLR", "load a record", {}, {{0x000F, "record", Form::Bytes}}},
        {"MLE", "end the load", {}, {}},
    };
    return commands;
}

} // namespace

const CommandMeaning *findCommand(std::string_view id) {
    const auto found = std::find_if(table().begin(), table().end(),
                                    [id](const CommandMeaning &one) { return one.id == id; });
    return found == table().end() ? nullptr : &*found;
}

} // namespace cli
