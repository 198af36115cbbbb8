#include "cli/trace/command_decoder.h"

#include "cli/text.h"
#include "cli/trace/body_reader.h"
#include "cli/trace/command_table.h"

#include <algorithm>
#include <cstdio>

namespace cli {

namespace {

constexpr std::size_t ID_SIZE = 3;
constexpr std::size_t MEDIA_INFO_SIZE = 10;

std::uint64_t bigEndian(std::string_view bytes) {
    std::uint64_t number = 0;
    for (const char byte : bytes) {
        number = number << 8U | static_cast<std::uint8_t>(byte);
    }
    return number;
}

std::string mediaInfo(std::string_view value) {
    char text[64];
    std::snprintf(text, sizeof text, "%llu bytes, CRC %04X, type %u",
                  static_cast<unsigned long long>(bigEndian(value.substr(0, 4))),
                  static_cast<unsigned>(bigEndian(value.substr(4, 2))),
                  static_cast<unsigned>(bigEndian(value.substr(6, 1))));
    return text;
}

// The blanks that fill a field up are beside it in hexadecimal.
std::string quotedText(std::string_view value) {
    return "\"" + fromDeviceVisibly(value.substr(0, value.find_last_not_of(' ') + 1)) + "\"";
}

std::string inWords(Form form, std::string_view value) {
    if (form == Form::Binary && value.size() <= 4) {
        return std::to_string(bigEndian(value));
    }
    if (form == Form::Characters) {
        return fromDeviceVisibly(value);
    }
    if (form == Form::Text) {
        return quotedText(value);
    }
    if (form == Form::MediaInfo && value.size() == MEDIA_INFO_SIZE) {
        return mediaInfo(value);
    }
    return byteCount(value.size());
}

void takeFields(BodyReader &reader, const CommandMeaning &command) {
    for (const FieldMeaning &field : command.fields) {
        const auto value = reader.take(field.width == 0 ? reader.left() : field.width);
        if (!value) {
            return;
        }
        reader.addRow(field.name, inWords(field.form, *value));
    }
}

void takeParams(BodyReader &reader, const CommandMeaning &command) {
    reader.takeBlocks("CMD_LEN", [&](std::uint16_t id, std::string_view value) {
        const auto meaning = std::find_if(command.params.begin(), command.params.end(),
                                          [id](const ParamMeaning &one) { return one.id == id; });
        if (meaning == command.params.end()) {
            reader.addRow(idText(id) + " unknown", byteCount(value.size()), true, value.size());
        } else {
            reader.addRow(idText(id) + " " + meaning->name, inWords(meaning->form, value));
        }
    });
}

} // namespace

DecodedBody decodeCommand(std::string_view body) {
    BodyReader reader(body);
    const auto id = reader.take(ID_SIZE);
    if (!id) {
        return reader.finish("command without an identifier");
    }
    const std::string shownId = fromDeviceVisibly(*id);
    reader.addRow("CMD_ID", shownId);
    reader.trustRows();
    const CommandMeaning *command = findCommand(*id);
    if (command == nullptr) {
        return reader.finish(shownId + " unknown command");
    }
    if (command->fields.empty()) {
        takeParams(reader, *command);
    } else if (reader.left() > 0) {
        takeFields(reader, *command);
    }
    return reader.finish(shownId + " " + command->title);
}

} // namespace cli
