#include "cli/trace/extension_decoder.h"

#include "cli/mifare_status.h"
#include "cli/text.h"
#include "cli/trace/body_reader.h"
#include "cli/trace/extension_table.h"

#include <algorithm>

namespace cli {

namespace {

constexpr std::size_t EXTENSION_ID_SIZE = 4;
constexpr std::size_t STATUS_SIZE = 2;
constexpr std::string_view ERROR_ID = "ERR ";
constexpr std::size_t ERROR_MAX = 3;

std::optional<std::size_t> numberIn(std::string_view digits) {
    const bool isNumber = !digits.empty() && std::all_of(digits.begin(), digits.end(), [](char c) {
        return c >= '0' && c <= '9';
    });
    return isNumber ? std::optional<std::size_t>(std::stoul(std::string(digits))) : std::nullopt;
}

void takeFields(BodyReader &reader, const std::vector<ExtensionField> &fields) {
    std::vector<std::string_view> values;
    for (const ExtensionField &field : fields) {
        std::optional<std::size_t> width = field.width;
        if (field.widthIn) {
            width = numberIn(values[*field.widthIn]);
        } else if (field.width == REST) {
            width = reader.left();
            if (*width == 0) {
                return;
            }
        }
        const auto value = width ? reader.take(*width) : std::nullopt;
        if (!value) {
            return;
        }
        reader.addRow(field.name, inWords(field.form, *value), field.secret, value->size());
        values.push_back(*value);
    }
}

// The status in the words of the head.
std::string takeStatus(BodyReader &reader) {
    const auto status = reader.take(STATUS_SIZE);
    if (!status) {
        return "";
    }
    const std::string shown = fromDeviceVisibly(*status);
    reader.addRow("status", shown);
    reader.trustRows();
    const std::string name = mifareStatusName(*status);
    return ", " + (name.empty() ? "status " + shown : name);
}

// The identifier of an error does not say which command it answers.
DecodedBody decodeError(BodyReader &reader) {
    reader.addRow("RSP_ID", "ERR");
    reader.trustRows();
    if (const std::size_t size = reader.left(); size > 0 && size <= ERROR_MAX) {
        reader.addRow("answer", fromDeviceVisibly(*reader.take(size)));
    }
    return reader.finish("ERR answer");
}

} // namespace

DecodedBody decodeExtensionRequest(std::string_view body) {
    BodyReader reader(body);
    const auto id = reader.take(EXTENSION_ID_SIZE);
    if (!id) {
        return reader.finish("command without an identifier");
    }
    const std::string shownId = fromDeviceVisibly(*id);
    reader.addRow("CMD_ID", shownId);
    reader.trustRows();
    const ExtensionMeaning *command = findExtension(*id);
    if (command == nullptr) {
        return reader.finish(shownId + " unknown command");
    }
    const ExtensionRequest *request = findRequest(*command, body);
    if (request == nullptr) {
        return reader.finish(shownId + " command of an unknown form");
    }
    takeFields(reader, request->fields);
    return reader.finish(shownId + " " + request->title);
}

DecodedBody decodeExtensionAnswer(std::string_view body) {
    BodyReader reader(body);
    const auto id = reader.take(EXTENSION_ID_SIZE);
    if (!id) {
        return reader.finish("answer without an identifier");
    }
    if (*id == ERROR_ID) {
        return decodeError(reader);
    }
    const ExtensionMeaning *command = findExtension(*id);
    if (command == nullptr) {
        reader.addRow("RSP_ID", "", true, EXTENSION_ID_SIZE);
        return reader.finish("unknown answer");
    }
    const std::string shownId(*id);
    reader.addRow("RSP_ID", shownId);
    reader.trustRows();
    const std::string status = command->hasStatus ? takeStatus(reader) : "";
    takeFields(reader, command->answer);
    return reader.finish(shownId + " answer" + status);
}

} // namespace cli
