#include "cli/trace/command_decoder.h"

#include "cli/text.h"
#include "cli/trace/body_reader.h"
#include "cli/trace/command_table.h"

#include <algorithm>

namespace cli {

namespace {

constexpr std::size_t ID_SIZE = 3;

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
