#include "cli/trace/extension_table.h"

#include <algorithm>

namespace cli {

namespace {

constexpr bool SECRET = true;
constexpr std::size_t KEY_SIZE = 12;

const ExtensionField BLOCK{"block", 4, Form::Characters};
const ExtensionField TARGET_BLOCK{"target block", 4, Form::Characters};
const ExtensionField OPERATION{"operation", 1, Form::Characters};
const ExtensionField FIRST_BYTE{"first byte", 2, Form::Characters};
const ExtensionField KEY_LETTER{"key letter", 1, Form::Characters};
const ExtensionField KEY_A{"key A", KEY_SIZE, Form::Characters, SECRET};
const ExtensionField KEY_B{"key B", KEY_SIZE, Form::Characters, SECRET};
const ExtensionField SERIAL_NUMBER{"serial number", REST, Form::Characters, SECRET};
const ExtensionField AMOUNT{"amount", REST, Form::Characters, SECRET};
const ExtensionField SECONDS{"seconds", 3, Form::Characters};

const std::vector<ExtensionMeaning> &table() {
    static const std::vector<ExtensionMeaning> commands = {
        {"MF01", {{"activate a MIFARE card", {}}}, true, {SERIAL_NUMBER}},
        {"MF02",
         {{"authenticate a MIFARE block",
           {BLOCK, KEY_LETTER, {"key", KEY_SIZE, Form::Characters, SECRET}, SERIAL_NUMBER}}},
         true,
         {}},
        {"MF03",
         {{"read a MIFARE block",
           {BLOCK, FIRST_BYTE, OPERATION, {"count", 3, Form::Characters}},
           "R",
           10},
          {"write a MIFARE block",
           {BLOCK, FIRST_BYTE, OPERATION, {"data", REST, Form::Characters, SECRET}},
           "W",
           10}},
         true,
         {{"data or count", REST, Form::Characters, SECRET}}},
        {"MF04",
         {{"get a MIFARE value", {BLOCK, OPERATION}, "R", 8},
          {"set a MIFARE value", {BLOCK, OPERATION, AMOUNT}, "W", 8},
          {"copy a MIFARE value", {BLOCK, TARGET_BLOCK, OPERATION}, "=", 12},
          {"change a MIFARE value", {BLOCK, TARGET_BLOCK, OPERATION, AMOUNT}, "+-", 12}},
         true,
         {{"value", REST, Form::Characters, SECRET}}},
        {"MF05",
         {{"get the configuration of a MIFARE block", {BLOCK, OPERATION}, "R", 8},
          {"set the configuration of a MIFARE block",
           {BLOCK, KEY_LETTER, KEY_A, KEY_LETTER, KEY_B, {"flags", 3, Form::Characters}},
           "A",
           8}},
         true,
         {{"flags", REST, Form::Characters}}},
        {"MF06", {{"change MIFARE keys", {BLOCK, KEY_LETTER, KEY_A, KEY_LETTER, KEY_B}}}, true, {}},
        {"QR01",
         {{"display a QR code",
           {SECONDS,
            {"line type", 1, Form::Characters},
            {"line length", 2, Form::Characters},
            {"QR code length", 4, Form::Characters},
            {"line", 0, Form::Text, false, 2},
            {"QR code", 0, Form::Text, false, 3}}}},
         false,
         {{"result", 1, Form::Characters}}},
        {"EX08",
         {{"start a survey",
           {{"code", 4, Form::Characters},
            SECONDS,
            {"style", 1, Form::Characters},
            {"top type", 1, Form::Characters},
            {"top length", 3, Form::Characters},
            {"top", 0, Form::Text, false, 4},
            {"bottom type", 1, Form::Characters},
            {"bottom length", 3, Form::Characters},
            {"bottom", 0, Form::Text, false, 7}}}},
         false,
         {{"answer", 2, Form::Characters}}},
        {"EX10",
         {{"start a customer-experience survey",
           {{"survey type", 1, Form::Characters},
            {"message type", 1, Form::Characters},
            {"score type", 1, Form::Characters},
            SECONDS,
            {"idle seconds", 3, Form::Characters},
            {"messages", REST, Form::Text}}}},
         false,
         {{"answer", REST, Form::Characters}}},
    };
    return commands;
}

} // namespace

const ExtensionMeaning *findExtension(std::string_view id) {
    const auto found = std::find_if(table().begin(), table().end(),
                                    [id](const ExtensionMeaning &one) { return one.id == id; });
    return found == table().end() ? nullptr : &*found;
}

const ExtensionRequest *findRequest(const ExtensionMeaning &command, std::string_view body) {
    const auto fits = [body](const ExtensionRequest &one) {
        return one.letters.empty() ||
               (one.letterAt < body.size() &&
                one.letters.find(body[one.letterAt]) != std::string_view::npos);
    };
    const auto found = std::find_if(command.requests.begin(), command.requests.end(), fits);
    return found == command.requests.end() ? nullptr : &*found;
}

} // namespace cli
